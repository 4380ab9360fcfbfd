#pragma once

#include <atomic>
#include <cstddef>

namespace tackle::platform {

// The destructors of this library's objects with static storage. The linker sends every registration here instead of to
// the run-time (engine/CMakeLists.txt), which would run them when the process ends as well: other threads are still
// inside the library then, and everything that they use has to stay. So run() is for an unloading of the library alone.
// Has no destructor itself and takes no memory: a registration must not fail. Any thread may add.
class destructor_list final {
public:
    constexpr destructor_list() = default;

    // False if all places are taken: the object is then never destroyed.
    [[nodiscard]] bool add(void (*destroy)(void*), void* object) noexcept {
        const std::size_t place = count_.fetch_add(1);
        if (place >= places) return false;
        entries_[place] = {destroy, object};
        return true;
    }

    // The newest first, also those that are added meanwhile. By one thread, when no other is inside the library.
    void run() noexcept {
        if (count_ > places) count_ = places;
        while (const std::size_t count = count_) {
            const entry newest = entries_[count - 1];
            --count_;
            newest.destroy(newest.object);
        }
    }

private:
    static constexpr std::size_t places = 128; // 18 are taken after a scan on Linux
    struct entry {
        void (*destroy)(void*);
        void* object;
    };
    std::atomic<std::size_t> count_{0};
    entry entries_[places] = {};
};

} // namespace tackle::platform
