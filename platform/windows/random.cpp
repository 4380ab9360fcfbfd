#include "platform/random.h"

#include <windows.h>

#include <wincrypt.h>

namespace tackle::platform {

bool fill_random(std::span<std::byte> out) noexcept {
    HCRYPTPROV source = 0;
    if (!CryptAcquireContextA(&source, nullptr, nullptr, PROV_RSA_FULL, CRYPT_VERIFYCONTEXT)) return false;
    const BOOL filled = CryptGenRandom(source, static_cast<DWORD>(out.size()), reinterpret_cast<BYTE*>(out.data()));
    CryptReleaseContext(source, 0);
    return filled != FALSE;
}

} // namespace tackle::platform
