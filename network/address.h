#pragma once

#include "foundation/text/text.h"

#include <cstdint>

namespace tackle::internet::address {

// For base::to_string. Values of this library; the resolver behind it has its own.
inline constexpr std::uint32_t no_domain = 1;     // a host of the own domain without the domain
inline constexpr std::uint32_t numeric_host = 2;  // digits, without asking anybody
inline constexpr std::uint32_t name_required = 4; // fail when the host has no name

// A socket address of any family, in the layout that socket calls take. A plain value for its owner; no locks.
class base {
public:
    // Copies a socket address in; `length` in bytes. Throws invalid_address_format when it does not fit the family:
    // the value then stays what it was.
    virtual void assign(const void* raw, std::uint32_t length) = 0;
    // The bytes of the socket address, good as long as the object. Who writes there keeps to size().
    [[nodiscard]] virtual void* data() = 0;
    [[nodiscard]] virtual const void* data() const = 0;
    [[nodiscard]] virtual std::uint32_t size() const = 0;
    // The host as text. Without numeric_host the system's resolver is asked, which may block; an unknown host comes
    // out in digits all the same. Throws host_not_found, subsystem_not_ready or generic.
    [[nodiscard]] virtual string to_string(std::uint32_t flags) const = 0;
    [[nodiscard]] virtual std::uint16_t port() const = 0; // in host byte order

    // Size and bytes, nothing else.
    [[nodiscard]] virtual bool operator==(const base& other) const = 0;
    [[nodiscard]] virtual bool operator!=(const base& other) const = 0;
    // The smaller size first, then by raw bytes: an order for maps, without meaning to people.
    [[nodiscard]] virtual bool operator<(const base& other) const = 0;

protected:
    base() = default;
    base(const base&) = default;
    base& operator=(const base&) = default;
    ~base() = default; // nobody owns an address through its base
};

} // namespace tackle::internet::address
