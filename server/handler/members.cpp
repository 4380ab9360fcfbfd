#include "server/handler/members.h"

#include "foundation/coding/coding.h"

#include <openssl/evp.h>
#include <openssl/hmac.h>

namespace brimwarden::server::handler {

members::members(const store::key_file& keys, const std::vector<store::credential>& rows) : keys_(keys) {
    auto all = std::make_shared<opened_map>();
    for (const auto& row : rows)
        all->insert_or_assign(row.first, open(row));
    rows_ = std::move(all);
}

members::opened members::open(const store::credential& row) const {
    opened clear{row};
    clear.row.secret = keys_.open(seal_name(row.first), row.secret);
    if (!row.old_secret.empty()) clear.row.old_secret = keys_.open(seal_name(row.first), row.old_secret);
    return clear;
}

std::string members::seal_name(std::uint32_t first) { return "credential " + std::to_string(first); }

std::optional<member> members::find(std::uint64_t mode, std::uint64_t id, std::int64_t now) const {
    if (mode != 1 && mode != 2) return std::nullopt;
    const auto rows = rows_.load();
    auto above = rows->upper_bound(static_cast<std::uint32_t>(id));
    if (id > UINT32_MAX || above == rows->begin()) return std::nullopt;
    const store::credential& row = std::prev(above)->second.row;
    if (id - row.first >= row.count || row.disabled) return std::nullopt;
    const auto number = static_cast<std::uint32_t>(id);
    member found{number, row.roles, row.secret, now < row.old_until ? row.old_secret : std::string()};
    if (row.count > 1) {
        found.secret = mailbox_secret(found.secret, number);
        if (!found.old_secret.empty()) found.old_secret = mailbox_secret(found.old_secret, number);
    }
    return found;
}

void members::put(const store::credential& row) {
    auto changed = std::make_shared<opened_map>(*rows_.load());
    changed->insert_or_assign(row.first, open(row));
    rows_ = std::move(changed);
}

std::string members::mailbox_secret(std::string_view site_key, std::uint32_t id) {
    constexpr std::size_t kept = 18; // 144 bits, 24 digits
    const std::string name = "mailbox " + std::to_string(id);
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned size = 0;
    if (HMAC(EVP_sha256(), site_key.data(), static_cast<int>(site_key.size()),
             reinterpret_cast<const unsigned char*>(name.data()), name.size(), digest, &size) == nullptr)
        throw store::failure("cannot derive the secret of a mailbox");
    return tackle::coding::translate::base64_encode({reinterpret_cast<const char*>(digest), kept}, false);
}

} // namespace brimwarden::server::handler
