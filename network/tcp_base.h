#pragma once

#include "network/transport.h"

#include <cstddef>
#include <span>

namespace tackle::internet::transport::tcp {

// A stream socket with a queue of bytes in each direction; how the queues meet the wire is for the derived class. The
// queues outlive the socket.
class base : public transport::base {
public:
    class connection_failed : public generic {
    public:
        explicit connection_failed(const string& text) : generic(text) { append_code("connection_failed"); }
    };
    class connection_aborted : public connection_failed {
    public:
        explicit connection_aborted(const string& text) : connection_failed(text) { append_code("connection_aborted"); }
    };
    // Also the orderly end of what the peer had to say.
    class connection_closed : public connection_failed {
    public:
        explicit connection_closed(const string& text) : connection_failed(text) { append_code("connection_closed"); }
    };
    class connection_refused : public connection_failed {
    public:
        explicit connection_refused(const string& text) : connection_failed(text) { append_code("connection_refused"); }
    };
    class connection_reset : public connection_failed {
    public:
        explicit connection_reset(const string& text) : connection_failed(text) { append_code("connection_reset"); }
    };
    class connection_timed_out : public connection_failed {
    public:
        explicit connection_timed_out(const string& text) : connection_failed(text) {
            append_code("connection_timed_out");
        }
    };
    class network_unreachable : public connection_failed {
    public:
        explicit network_unreachable(const string& text) : connection_failed(text) {
            append_code("network_unreachable");
        }
    };
    class host_unreachable : public connection_failed {
    public:
        explicit host_unreachable(const string& text) : connection_failed(text) { append_code("host_unreachable"); }
    };

    void create(const address::base& address) override;
    virtual void flush() = 0; // sends what is queued
    virtual void fill() = 0;  // waits for more bytes and queues them; throws connection_closed at their end

    // Appends all that is queued to `out`, or what comes next if nothing is.
    void read_some(string& out);
    // The same, but at most `count` bytes; waits for no more than the first of them.
    void read_up_to(string& out, std::size_t count);
    // `out` becomes the bytes up to the next CR or LF. CRLF and LFCR count as one end; so at the end of what has come
    // it waits to see whether the other half follows.
    void read_line(string& out);
    void write(string_view bytes);
    void write_line(string_view bytes, bool flush_now);
    // Tells the peer that no more comes, and forgets what is queued. No connection is no failure.
    void shutdown_send();

protected:
    // One receive of up to the span's size. Throws connection_closed for the orderly end.
    [[nodiscard]] std::size_t receive(std::span<char> buffer);
    void send_all(string_view bytes);
    // One send. Returns how many bytes went, at least one.
    [[nodiscard]] std::size_t send_some(string_view bytes);
    // Moves what `other` has received, and nobody has read, to the end of `out`.
    static void take_queued(base& other, string& out);

    string send_buffer_;
    string receive_buffer_; // consumed from the front, up to taken_
    std::size_t taken_ = 0;

private:
    [[nodiscard]] string_view queued() const { return string_view(receive_buffer_).substr(taken_); }
    void consume(std::size_t count);
};

} // namespace tackle::internet::transport::tcp
