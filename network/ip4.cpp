#include "network/ip4.h"

#include "network/address_errors.h"
#include "network/environment.h"
#include "network/numeric_address.h"
#include "platform/resolver.h"

#include <cstring>
#include <vector>

namespace tackle::internet::address {

namespace {

constexpr std::uint16_t family_ip4 = 2; // everywhere, and in native byte order
constexpr std::size_t port_offset = 2;
constexpr std::size_t address_offset = 4;

using platform::resolver_cause;

} // namespace

ip4::ip4(std::uint32_t address, std::uint16_t port) : raw_{} {
    std::memcpy(raw_.data(), &family_ip4, sizeof family_ip4);
    raw_[port_offset] = static_cast<std::uint8_t>(port >> 8);
    raw_[port_offset + 1] = static_cast<std::uint8_t>(port);
    for (std::size_t i = 0; i < 4; ++i)
        raw_[address_offset + i] = static_cast<std::uint8_t>(address >> (24 - 8 * i));
}

ip4::ip4(string_view host, std::uint16_t port) {
    take_first(string(host), nullptr);
    raw_[port_offset] = static_cast<std::uint8_t>(port >> 8);
    raw_[port_offset + 1] = static_cast<std::uint8_t>(port);
}

ip4::ip4(string_view host, string_view service) { take_first(string(host), string(service).c_str()); }

ip4 ip4::from_numeric(string_view text, std::uint16_t port) {
    const auto address = parse_numeric(text);
    if (!address) throw host_not_found("GetAddrInfoA() failed"); // what a lookup without a name service would say
    return ip4(*address, port);
}

void ip4::take_first(const string& host, const char* service) {
    std::vector<platform::raw_address> found;
    const auto status = platform::look_up(host.c_str(), service, found);
    switch (status.cause) {
    case resolver_cause::none:
        break;
    case resolver_cause::not_started:
        throw environment::subsystem_not_ready("GetAddrInfoA() failed");
    case resolver_cause::unknown_service:
        throw service_not_found("GetAddrInfoA() failed");
    case resolver_cause::unknown_host:
        throw host_not_found("GetAddrInfoA() failed");
    case resolver_cause::other:
        throw generic(format("GetAddrInfoA() returned status 0x%.8x", status.number));
    }
    if (found.empty()) throw generic("GetAddrInfoA() walk failed"); // a host of IPv6 alone
    raw_ = found.front();
}

void ip4::assign(const void* raw, std::uint32_t length) {
    if (length != raw_size) throw invalid_address_format("Size mismatch");
    std::memcpy(raw_.data(), raw, raw_size);
}

string ip4::to_string(std::uint32_t flags) const {
    platform::name_style style{(flags & no_domain) != 0, (flags & numeric_host) != 0, (flags & name_required) != 0};
    string host;
    if (!platform::name_of(raw_.data(), raw_size, style, host).failed()) return host;
    const auto status = platform::name_of(raw_.data(), raw_size, {false, true, false}, host);
    switch (status.cause) {
    case resolver_cause::none:
        return host;
    case resolver_cause::not_started:
        throw environment::subsystem_not_ready("GetNameInfoA() failed");
    case resolver_cause::unknown_host:
        throw host_not_found("GetNameInfoA() failed");
    default:
        throw generic(format("GetAddrInfoA() returned status 0x%.8x", status.number));
    }
}

std::uint16_t ip4::port() const { return static_cast<std::uint16_t>(raw_[port_offset] << 8 | raw_[port_offset + 1]); }

std::uint32_t ip4::address() const {
    std::uint32_t address = 0;
    for (std::size_t i = 0; i < 4; ++i)
        address = address << 8 | raw_[address_offset + i];
    return address;
}

bool ip4::operator==(const base& other) const {
    return other.size() == raw_size && std::memcmp(raw_.data(), other.data(), raw_size) == 0;
}

bool ip4::operator!=(const base& other) const { return !(*this == other); }

bool ip4::operator<(const base& other) const {
    if (other.size() != raw_size) return raw_size < other.size();
    return std::memcmp(raw_.data(), other.data(), raw_size) < 0;
}

} // namespace tackle::internet::address
