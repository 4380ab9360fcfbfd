#pragma once

#include "community/community_client.h"

#include <memory>

namespace brimwarden::engine {

// Owns the community client until it is replaced. It needs no destructor: while there is a client its threads keep the
// library loaded.
class client_holder final {
public:
    constexpr client_holder() = default;
    [[nodiscard]] analysis::community::community_client* get() const { return client_; }
    // Ends the one held so far, and blocks for it.
    void reset(std::unique_ptr<analysis::community::community_client> next = nullptr) {
        const std::unique_ptr<analysis::community::community_client> ended(client_);
        client_ = next.release();
    }

private:
    analysis::community::community_client* client_ = nullptr;
};

} // namespace brimwarden::engine
