#pragma once

#include "foundation/text/text.h"
#include "foundation/text/wipe.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace brimwarden::analysis::community {

// Who asks. The numbers mean something to the servers only; the secret is shared with them and never sent.
struct community_credentials {
    std::uint32_t credential_mode = 0;
    std::uint32_t credential_id = 0;
    tackle::wstring credential_secret;

    // Wiped, since the memory of a session that is gone may come out of the process, in a crash report for example.
    ~community_credentials() { tackle::wipe(credential_secret); }

    // Wipes the earlier secret. Throws std::bad_alloc; the earlier one then stays.
    template <typename unit>
    void set_secret(const unit* text, std::size_t length) {
        tackle::wstring room;
        if (length > credential_secret.capacity()) room.reserve(length); // not by growing, which leaves copies
        tackle::wipe(credential_secret);
        if (length > credential_secret.capacity()) credential_secret.swap(room);
        credential_secret.resize(length);
        std::copy_n(text, length, credential_secret.begin());
    }
};

} // namespace brimwarden::analysis::community
