#pragma once

#include <atomic>
#include <new>

namespace tackle::platform {

// The destructors of this library's objects with static storage. The linker sends every registration here instead of to
// the run-time (engine/CMakeLists.txt), which would run them when the process ends as well: other threads are still
// inside the library then, and everything that they use has to stay. So run() is for an unloading of the library alone.
// Has no destructor itself. Any thread may add.
class destructor_list final {
public:
    constexpr destructor_list() = default;

    // False if there is no memory: the object is then never destroyed.
    [[nodiscard]] bool add(void (*destroy)(void*), void* object) noexcept {
        auto* const added = new (std::nothrow) entry{destroy, object, newest_.load()};
        if (added == nullptr) return false;
        while (!newest_.compare_exchange_weak(added->older, added)) {
        }
        return true;
    }

    // The newest first, also those that are added meanwhile. By one thread, when no other is inside the library.
    void run() noexcept {
        while (auto* const next = newest_.load()) {
            newest_ = next->older;
            next->destroy(next->object);
            delete next;
        }
    }

private:
    struct entry {
        void (*destroy)(void*);
        void* object;
        entry* older;
    };
    std::atomic<entry*> newest_{nullptr};
};

} // namespace tackle::platform
