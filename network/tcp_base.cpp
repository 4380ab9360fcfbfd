#include "network/tcp_base.h"

#include "network/connection_rows.h"

#include <algorithm>

namespace tackle::internet::transport::tcp {

namespace {

using platform::socket_cause;

// The text of an aborted send names the neighbouring call, as clients know it.
constexpr failure_row transfer_rows[] = {
    {socket_cause::interrupted, throw_as<operation_interrupted>},
    {socket_cause::connection_aborted, throw_as<base::connection_aborted>, "recv"},
};

bool is_line_end(char c) { return c == '\r' || c == '\n'; }

} // namespace

void base::create(const address::base& address) { transport::base::create(address, platform::socket_type::stream); }

void base::consume(std::size_t count) {
    taken_ += count;
    if (taken_ < receive_buffer_.size()) return;
    receive_buffer_.clear();
    taken_ = 0;
}

void base::take_queued(base& other, string& out) {
    out.append(other.queued());
    other.consume(other.queued().size());
}

void base::read_some(string& out) {
    if (queued().empty()) fill();
    out.append(queued());
    consume(queued().size());
}

void base::read_up_to(string& out, std::size_t count) {
    if (queued().empty()) fill();
    const string_view taken = queued().substr(0, count);
    out.append(taken);
    consume(taken.size());
}

void base::read_line(string& out) {
    out.clear();
    std::size_t looked_at = 0; // relative to what is taken: fill() may move the bytes, but not their order
    for (;;) {
        const string_view bytes = queued();
        const auto* const end = std::find_if(bytes.begin() + looked_at, bytes.end(), is_line_end);
        if (end != bytes.end()) {
            const char terminator = *end;
            out.append(bytes.begin(), end);
            consume(out.size() + 1);
            if (queued().empty()) fill();
            if (is_line_end(queued().front()) && queued().front() != terminator) consume(1);
            return;
        }
        looked_at = bytes.size();
        fill();
    }
}

void base::write(string_view bytes) {
    send_buffer_.append(bytes);
    flush();
}

void base::write_line(string_view bytes, bool flush_now) {
    send_buffer_.append(bytes).append("\r\n");
    if (flush_now) flush();
}

void base::shutdown_send() {
    const use call(*this);
    const auto status = platform::shutdown_send(call.handle());
    if (status.cause == socket_cause::not_a_socket) return;
    if (status.cause != socket_cause::not_connected) check("shutdown", status, connection_rows);
    send_buffer_.clear();
}

std::size_t base::receive(std::span<char> buffer) {
    const use call(*this);
    const auto got = platform::receive(call.handle(), buffer.data(), buffer.size());
    check("recv", got.status, transfer_rows, connection_rows);
    if (got.count == 0) throw connection_closed("recv() failed");
    count_received(got.count);
    return got.count;
}

void base::send_all(string_view bytes) {
    while (!bytes.empty())
        bytes.remove_prefix(send_some(bytes));
}

std::size_t base::send_some(string_view bytes) {
    const use call(*this);
    const auto sent = platform::send(call.handle(), bytes.data(), bytes.size());
    check("send", sent.status, transfer_rows, connection_rows);
    if (sent.count == 0) throw connection_closed("send() failed");
    count_sent(sent.count);
    return sent.count;
}

} // namespace tackle::internet::transport::tcp
