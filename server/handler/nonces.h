#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <unordered_map>

namespace brimwarden::server::handler {

// Remembers which requests were seen, for as long as there is room: two generations of entries, the older of which is
// dropped when the younger is full, so that an entry stays for at least `room` later ones. Keys are keyed hashes. Any
// thread.
class nonces {
public:
    explicit nonces(std::size_t room) : room_(room) {}

    // The operation that came first with this key: `operation` itself if the key is new.
    struct known {
        std::uint32_t first;
        bool is_new;
    };
    known note(std::uint64_t key, std::uint32_t operation) {
        const std::lock_guard lock(lock_);
        if (const auto old = older_.find(key); old != older_.end()) return {old->second, false};
        const auto [entry, added] = younger_.try_emplace(key, operation);
        const known result{entry->second, added};
        if (younger_.size() >= room_) {
            older_ = std::move(younger_);
            younger_.clear();
        }
        return result;
    }

private:
    const std::size_t room_;
    std::mutex lock_;
    std::unordered_map<std::uint64_t, std::uint32_t> younger_, older_;
};

} // namespace brimwarden::server::handler
