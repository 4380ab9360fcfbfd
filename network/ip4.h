#pragma once

#include "network/address.h"

#include <array>
#include <cstdint>

namespace tackle::internet::address {

// An IPv4 socket address as a value, kept in the 16-byte layout that socket calls take: family (always 2, native byte
// order), port and address (network byte order), eight zero bytes.
class ip4 final : public base {
public:
    static constexpr std::uint32_t raw_size = 16;

    // Port 0 and the all-ones address, which is nobody's.
    ip4() : ip4(0xFFFFFFFF, 0) {}
    // Both in host byte order: ip4(0x7F000001, 2409) is 127.0.0.1, port 2409.
    ip4(std::uint32_t address, std::uint16_t port);
    // Asks the system's resolver, blocks until it has answered, and takes the first IPv4 address of the answer.
    // Throws host_not_found or subsystem_not_ready; generic for any other cause, and for a host that has only IPv6.
    ip4(string_view host, std::uint16_t port);
    // The same, and the port comes from the name or the digits of a service. Throws service_not_found too.
    ip4(string_view host, string_view service);

    // Reads a dotted address (see numeric_address.h) and never asks a resolver. Throws host_not_found for any other
    // text.
    [[nodiscard]] static ip4 from_numeric(string_view text, std::uint16_t port);

    // Throws invalid_address_format unless length is 16; the value then stays what it was.
    void assign(const void* raw, std::uint32_t length) override;
    [[nodiscard]] void* data() override { return raw_.data(); }
    [[nodiscard]] const void* data() const override { return raw_.data(); }
    [[nodiscard]] std::uint32_t size() const override { return raw_size; }
    [[nodiscard]] string to_string(std::uint32_t flags) const override;
    [[nodiscard]] std::uint16_t port() const override;
    [[nodiscard]] std::uint32_t address() const; // in host byte order

    [[nodiscard]] bool operator==(const base& other) const override;
    [[nodiscard]] bool operator!=(const base& other) const override;
    // By raw bytes, so the port counts before the address: an order for maps, without meaning to people.
    [[nodiscard]] bool operator<(const base& other) const override;
    [[nodiscard]] bool operator==(const ip4& other) const { return raw_ == other.raw_; }

private:
    void take_first(const string& host, const char* service);

    alignas(4) std::array<std::uint8_t, raw_size> raw_;
};

} // namespace tackle::internet::address
