#pragma once

#include "network/address.h"
#include "network/transport_errors.h"
#include "platform/socket.h"

#include <atomic>
#include <cstdint>

namespace tackle::internet::transport {

// A blocking socket that raises by cause: every failed call throws a class that says what went wrong, with a text that
// names the call. An unlisted failure is transport::generic with the system's number in its text. An environment has to
// be alive. No locks: one thread at a time, but for what udp::raw allows, and for close_socket, which any thread may
// call to end a call of another one.
class base {
public:
    base(const base&) = delete;
    base& operator=(const base&) = delete;
    virtual ~base(); // closes, and keeps quiet about it
    // Makes the socket, for addresses of this one's family. An earlier socket of the object is closed.
    virtual void create(const address::base& address) = 0;

    void bind(const address::base& address);
    void listen();
    // Blocks for as long as the system tries. Throws classes of tcp::base where the peer or the network is the cause.
    void connect(const address::base& address);
    // Waits for a peer at the listener; the new socket becomes this object's.
    void accept(base& listener);
    void peer_address(address::base& out) const;
    void local_address(address::base& out) const;
    [[nodiscard]] std::uint32_t max_message_size() const; // of a datagram, in bytes
    void set_send_buffer(std::uint32_t bytes);
    // Milliseconds that a later receive waits at most; 0 is for ever.
    void set_receive_timeout(std::uint32_t milliseconds);
    // The same for a later send, counted from the last bytes that the system took.
    void set_send_timeout(std::uint32_t milliseconds);
    // May be called any number of times. A call that another thread has under way ends with an exception.
    void close_socket();
    // Closes it in this process alone, which has it from its parent: another process goes on using it. The calls under
    // way at the fork do not count, as their threads are not here.
    void close_inherited_socket();

    // Bytes so far, wrapping. Threads that send at once may lose a count; nobody's work depends on it.
    [[nodiscard]] std::uint32_t received_total() const { return received_total_.load(std::memory_order_relaxed); }
    [[nodiscard]] std::uint32_t sent_total() const { return sent_total_.load(std::memory_order_relaxed); }
    [[nodiscard]] bool has_socket() const { return socket_.load() != platform::no_socket; }

protected:
    base() = default;

    // The handle for the length of one call; whoever closes the socket meanwhile waits for the call to end, so that the
    // system cannot have given the number to somebody else.
    class use {
    public:
        explicit use(const base& owner);
        ~use();
        use(const use&) = delete;
        use& operator=(const use&) = delete;
        [[nodiscard]] platform::socket_handle handle() const { return handle_; }

    private:
        const base& owner_;
        platform::socket_handle handle_;
    };

    void create(const address::base& address, platform::socket_type type);
    void take(platform::socket_handle made);
    // Neither object may have a call under way, nor be closed meanwhile.
    void swap_sockets(base& other);
    void count_received(std::size_t bytes);
    void count_sent(std::size_t bytes);

private:
    std::atomic<std::uint32_t> received_total_{0};
    std::atomic<std::uint32_t> sent_total_{0};
    std::atomic<platform::socket_handle> socket_{platform::no_socket};
    mutable std::atomic<std::uint32_t> calls_{0};
};

} // namespace tackle::internet::transport
