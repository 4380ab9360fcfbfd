#include "network/transport.h"

#include "network/connection_rows.h"

namespace tackle::internet::transport {

namespace {

using platform::socket_cause;

constexpr failure_row binding_rows[] = {
    {socket_cause::address_in_use, throw_as<address_in_use>},
    {socket_cause::address_not_valid, throw_as<address_not_valid>},
};
constexpr failure_row connect_rows[] = {
    {socket_cause::interrupted, throw_as<operation_interrupted>},
    {socket_cause::address_in_use, throw_as<address_in_use>},
    {socket_cause::address_not_valid, throw_as<address_not_valid>},
    {socket_cause::timed_out, throw_as<tcp::base::host_unreachable>}, // silence tells no more than that
};
constexpr failure_row accept_rows[] = {
    {socket_cause::interrupted, throw_as<operation_interrupted>},
    {socket_cause::connection_reset, throw_as<tcp::base::connection_closed>},
};
constexpr failure_row name_rows[] = {{socket_cause::not_connected, throw_as<tcp::base::connection_failed>}};

void check_size(const char* call, const char* what, std::uint32_t size, std::uint32_t expected) {
    if (size == expected) return;
    throw generic(format("%s() returned %s of incorrect size %i (expected %i)", call, what, size, expected));
}

} // namespace

base::use::use(const base& owner) : owner_(owner) {
    owner.calls_.fetch_add(1); // before the handle is read: close_socket takes the handle away before it looks here
    handle_ = owner.socket_.load();
}

base::use::~use() {
    if (owner_.calls_.fetch_sub(1) == 1) owner_.calls_.notify_all();
}

base::~base() {
    try {
        close_socket();
    } catch (const exception&) { // nobody can do anything about it at this point
    }
}

void base::create(const address::base& address, platform::socket_type type) {
    std::uint16_t family = 0; // the first two bytes of every socket address, in native order
    __builtin_memcpy(&family, address.data(), sizeof family);
    platform::socket_handle made = platform::no_socket;
    const auto status = platform::open_socket(family, type, made);
    if (status.cause == socket_cause::not_a_socket)
        throw generic(format("socket() returned status 0x%.8x", status.number)); // none here that could be a wrong one
    check("socket", status);
    take(made);
}

void base::take(platform::socket_handle made) {
    try {
        close_socket();
    } catch (...) {
        std::atomic<std::uint32_t> nobody{0};
        (void)platform::close_socket(made, nobody);
        throw;
    }
    socket_ = made;
}

void base::swap_sockets(base& other) { other.socket_ = socket_.exchange(other.socket_); }

void base::bind(const address::base& address) {
    const use call(*this);
    check("bind", platform::bind_socket(call.handle(), address.data(), address.size()), binding_rows);
}

void base::listen() {
    const use call(*this);
    check("listen", platform::listen_socket(call.handle(), 0x7FFFFFFF), binding_rows);
}

void base::connect(const address::base& address) {
    const use call(*this);
    check("connect", platform::connect_socket(call.handle(), address.data(), address.size()), connect_rows,
          tcp::connection_rows);
}

void base::accept(base& listener) {
    platform::socket_handle made = platform::no_socket;
    {
        const use call(listener);
        check("accept", platform::accept_socket(call.handle(), made), accept_rows);
    }
    take(made);
}

void base::peer_address(address::base& out) const {
    const use call(*this);
    std::uint32_t size = out.size();
    check("getpeername", platform::peer_address(call.handle(), out.data(), size), name_rows);
    check_size("getpeername", "address", size, out.size());
}

void base::local_address(address::base& out) const {
    const use call(*this);
    std::uint32_t size = out.size();
    check("getsockname", platform::local_address(call.handle(), out.data(), size), name_rows);
    check_size("getsockname", "address", size, out.size());
}

std::uint32_t base::max_message_size() const {
    const use call(*this);
    std::uint32_t value = 0;
    std::uint32_t size = 0;
    check("getsockopt", platform::max_message_size(call.handle(), value, size));
    check_size("getsockopt", "result", size, sizeof value);
    return value;
}

void base::set_send_buffer(std::uint32_t bytes) {
    const use call(*this);
    check("setsockopt", platform::set_send_buffer(call.handle(), bytes));
}

void base::set_receive_timeout(std::uint32_t milliseconds) {
    const use call(*this);
    check("setsockopt", platform::set_receive_timeout(call.handle(), milliseconds), tcp::connection_rows);
}

void base::set_send_timeout(std::uint32_t milliseconds) {
    const use call(*this);
    check("setsockopt", platform::set_send_timeout(call.handle(), milliseconds));
}

void base::close_socket() {
    const platform::socket_handle closing = socket_.exchange(platform::no_socket);
    if (closing == platform::no_socket) return;
    const auto status = platform::close_socket(closing, calls_);
    if (status.cause != socket_cause::not_a_socket) check("closesocket", status);
}

void base::close_inherited_socket() {
    std::atomic<std::uint32_t> nobody{0};
    (void)platform::close_socket(socket_.exchange(platform::no_socket), nobody);
}

void base::count_received(std::size_t bytes) {
    received_total_.fetch_add(static_cast<std::uint32_t>(bytes), std::memory_order_relaxed);
}

void base::count_sent(std::size_t bytes) {
    sent_total_.fetch_add(static_cast<std::uint32_t>(bytes), std::memory_order_relaxed);
}

} // namespace tackle::internet::transport
