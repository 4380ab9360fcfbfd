#pragma once

#include "community/client/community_client.h"
#include "platform/process.h"

#include <memory>

namespace brimwarden::engine {

// Owns the community client until it is replaced. It needs no destructor: while there is a client its threads keep the
// library loaded.
//
// A child of fork inherits the object without its threads, and with a socket that the parent goes on using. So the
// child has no client until it makes its own, and never ends that of its parent.
class client_holder final {
public:
    constexpr client_holder() = default;
    [[nodiscard]] analysis::community::community_client* get() const { return is_own() ? client_ : nullptr; }
    // Ends the one held so far, and blocks for it.
    void reset(std::unique_ptr<analysis::community::community_client> next = nullptr) {
        std::unique_ptr<analysis::community::community_client> ended(client_);
        if (ended != nullptr && !is_own()) ended.release()->abandon();
        client_ = next.release();
        process_ = tackle::platform::process_id();
    }

private:
    [[nodiscard]] bool is_own() const { return process_ == tackle::platform::process_id(); }

    analysis::community::community_client* client_ = nullptr;
    std::uint32_t process_ = 0; // that made it
};

} // namespace brimwarden::engine
