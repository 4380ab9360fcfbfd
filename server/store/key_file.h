#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace brimwarden::server::store {

// The key under which secrets lie in the store: a file of 32 random bytes, readable by its owner alone, that is kept
// apart from the store and its backups. Sealing is AES-256-GCM with a fresh nonce, so that each sealed text is another
// one and a changed one is refused.
class key_file {
public:
    // Makes the file if there is none. Throws failure if it cannot be read or made, or if others may read it.
    explicit key_file(const std::string& path);

    // `name` says what the secret is for: a sealed text is only good under the name it was sealed with.
    [[nodiscard]] std::string seal(std::string_view name, std::string_view secret) const;
    // Throws failure for anything but the result of `seal` with this key and name.
    [[nodiscard]] std::string open(std::string_view name, std::string_view sealed) const;

private:
    std::array<std::uint8_t, 32> key_;
    std::string path_;
};

} // namespace brimwarden::server::store
