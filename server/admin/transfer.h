#pragma once

#include "server/knowledge/identity.h"
#include "server/store/store.h"

#include <nlohmann/json_fwd.hpp>
#include <stdexcept>
#include <vector>

namespace brimwarden::server::admin {

class bad_transfer : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// The lines of an export, one JSON value each.
[[nodiscard]] nlohmann::json head_line(const knowledge::identity_key& key);
[[nodiscard]] nlohmann::json line_of(const store::signature_row& marked);
[[nodiscard]] nlohmann::json line_of(const store::reporter& one);
[[nodiscard]] nlohmann::json line_of(const store::statement_by& one);

// Reads them again. Throws bad_transfer, or json::exception for what is no such line. The first line has to be the head
// of a server with the same identity key.
class transfer {
public:
    explicit transfer(const knowledge::identity_key& key) : key_(key) {}
    void take(const nlohmann::json& line);
    [[nodiscard]] const store::merged& taken() const { return taken_; }

private:
    const knowledge::identity_key& key_;
    bool begun_ = false;
    store::merged taken_;
};

} // namespace brimwarden::server::admin
