#pragma once

#include "server/store/key_file.h"
#include "server/store/store.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace brimwarden::server::handler {

namespace role {
inline constexpr std::uint32_t ask = 1;
inline constexpr std::uint32_t report = 2;
inline constexpr std::uint32_t operate = 4;
} // namespace role

struct member {
    std::uint32_t id = 0;
    std::uint32_t roles = 0;
    std::string secret;     // UTF-8
    std::string old_secret; // while it is still valid; else empty
};

// Who may do what. Any thread may look up while one other changes the table: a look-up sees the table before or after
// the change.
class members {
public:
    // `keys` has to outlive the object. Throws store::failure if a secret cannot be opened.
    members(const store::key_file& keys, const std::vector<store::credential>& rows);

    // nullopt for an id that nobody has or that is disabled. Modes 1 and 2 of one id are one member, since a client in
    // a filter sends 2 where its program says 1; no other mode has members.
    [[nodiscard]] std::optional<member> find(std::uint64_t mode, std::uint64_t id, std::int64_t now) const;

    // Adds or replaces a row, once the store has it. Throws as the constructor, and changes nothing then.
    void put(const store::credential& row);

    // The secret that belongs to one mailbox of a range.
    [[nodiscard]] static std::string mailbox_secret(std::string_view site_key, std::uint32_t id);
    // The name under which the secrets of a row are sealed.
    [[nodiscard]] static std::string seal_name(std::uint32_t first);

private:
    struct opened {
        store::credential row; // its secrets in clear
    };
    using opened_map = std::map<std::uint32_t, opened>; // by first id

    [[nodiscard]] opened open(const store::credential& row) const;

    const store::key_file& keys_;
    std::atomic<std::shared_ptr<const opened_map>> rows_;
};

} // namespace brimwarden::server::handler
