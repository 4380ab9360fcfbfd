#include "network/udp_raw.h"

#include "network/raise.h"

#include <algorithm>

namespace tackle::internet::transport::udp {

namespace {

using platform::socket_cause;

// The text of an interrupted sendto names the neighbouring call, as clients know it.
constexpr failure_row transfer_rows[] = {
    {socket_cause::interrupted, throw_as<operation_interrupted>, "recvfrom"},
    {socket_cause::message_too_long, throw_as<raw::message_truncated>},
    {socket_cause::network_unreachable, throw_as<raw::network_unreachable>},
    {socket_cause::connection_reset, throw_as<raw::port_unreachable>},
    {socket_cause::timed_out, throw_as<raw::operation_timed_out>},
    {socket_cause::host_unreachable, throw_as<raw::host_unreachable>},
};

constexpr std::uint32_t largest_datagram = 65507; // bytes, over IPv4

} // namespace

void raw::create(const address::base& address) {
    if (!block_) block_ = std::make_unique_for_overwrite<char[]>(largest_datagram);
    base::create(address, platform::socket_type::datagram);
}

void raw::send_to(const address::base& address, string_view bytes) {
    const use call(*this);
    const auto sent = platform::send_to(call.handle(), address.data(), address.size(), bytes.data(), bytes.size());
    check("sendto", sent.status, transfer_rows);
    if (sent.count != bytes.size()) throw message_truncated("sendto() failed");
    count_sent(sent.count);
}

void raw::receive_from(address::base& sender, string& buffer, std::uint32_t size) {
    const use call(*this);
    const auto got = platform::receive_from(call.handle(), sender.data(), sender.size(), block_.get(),
                                            std::min(size, largest_datagram));
    check("recvfrom", got.status, transfer_rows);
    buffer.assign(block_.get(), got.count);
    if (got.address_size != sender.size())
        throw generic(
            format("recvfrom() returned address of incorrect size %i (expected %i)", got.address_size, sender.size()));
    count_received(got.count);
}

} // namespace tackle::internet::transport::udp
