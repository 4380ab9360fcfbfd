#pragma once

#include <cstddef>

namespace tackle::platform {

// A lock without time limit, recursive for the thread that holds it. It fits into the object: entering one that nobody
// holds costs no call into the system. Destroying it while somebody holds it or waits is the caller's fault.
class critical_section final {
public:
    critical_section() noexcept;
    ~critical_section();
    critical_section(const critical_section&) = delete;
    critical_section& operator=(const critical_section&) = delete;

    void enter() noexcept;
    // Only by the thread that holds it, once for each enter.
    void leave() noexcept;

private:
    alignas(std::max_align_t) std::byte storage_[64]; // the system's own object, whose type stays out of headers
};

} // namespace tackle::platform
