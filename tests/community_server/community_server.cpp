#include "tests/community_server/community_server.h"

#include "community/wire/rc4.h"
#include "foundation/coding/md5.h"
#include "foundation/exception.h"
#include "foundation/sync/scope.h"
#include "platform/random.h"

#include <chrono>
#include <span>
#include <utility>

namespace brimwarden::community_server {

using tackle::scope;
namespace transport = tackle::internet::transport;

namespace {

constexpr std::uint16_t community_port = 2409;

std::uint64_t now_ms() {
    const auto since = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::milliseconds>(since).count());
}

string key_of(const packet& header, const string& secret) {
    return tackle::coding::md5_digest(string(header.nonce.data(), header.nonce.size()) + secret);
}

string ciphered(const string& key, string text) {
    analysis::community::rc4 stream(key);
    stream.discard(4096);
    stream.apply(text);
    return text;
}

// How many bytes the value of a signature takes behind its code, without a count; 0 for a counted one.
std::size_t fixed_size(std::uint64_t code) { return code == 0 ? 4 : code < 64 ? 16 : 0; }

} // namespace

std::vector<asked_signature> signatures_of(const seen_request& query) {
    packet payload;
    payload.body = query.payload;
    std::uint64_t count = 0;
    (void)payload.read_number(count);
    std::vector<asked_signature> all;
    for (; count > 0; --count) {
        auto& [code, value] = all.emplace_back();
        if (!payload.read_number(code)) return all;
        if (const std::size_t size = fixed_size(code); size != 0) {
            value = payload.body.substr(payload.read_position, size);
            payload.read_position += value.size();
        } else {
            (void)payload.read_text(value);
        }
    }
    return all;
}

namespace {

ip4 next_address(std::uint16_t port) {
    // Test programs run side by side on one machine, so each starts at a place of its own.
    static const std::uint32_t start = [] {
        std::uint32_t number = 0;
        (void)tackle::platform::fill_random(std::as_writable_bytes(std::span(&number, 1)));
        return number;
    }();
    static std::atomic<std::uint32_t> count{0};
    const std::uint32_t host = (start + count++ * 7) % 0xFE0000;
    return {0x7F010000 + host, port};
}

// One port at two addresses of the loopback range is two places, but not for Wine: it takes all of that range but
// 127.0.0.1 for the address of every network.
bool loopback_is_a_range() {
    static const bool result = [] {
        const tackle::internet::environment layer;
        transport::udp::raw first;
        transport::udp::raw second;
        const ip4 address = next_address(0);
        first.create(address);
        first.bind(address);
        ip4 bound;
        first.local_address(bound);
        try {
            second.create(address);
            second.bind(next_address(bound.port()));
        } catch (const transport::address_in_use&) {
            return false;
        }
        return true;
    }();
    return result;
}

} // namespace

ip4 server::fresh_address() {
    return loopback_is_a_range() ? next_address(community_port) : ip4(0x7F000001, community_port);
}

struct server::visit {
    transport::tcp::raw socket;
    std::atomic<bool> ended = false;
    std::jthread thread;
};

server::server(const ip4& address, string secret, script what_to_do)
    : secret_(std::move(secret)), script_(std::move(what_to_do)) {
    datagrams_.create(address);
    datagrams_.bind(address);
    const ip4 other(0x7F000001, 0);
    elsewhere_.create(other);
    elsewhere_.bind(other);
    door_.create(address);
    door_.bind(address);
    door_.listen();
    datagram_thread_ = std::jthread([this] { serve_datagrams(); });
    connection_thread_ = std::jthread([this] { serve_connections(); });
    late_thread_ = std::jthread([this] { send_late_answers(); });
}

server::~server() {
    ending_.set();
    datagrams_.close_socket();
    door_.close_socket();
    datagram_thread_.join();
    connection_thread_.join();
    late_news_.set();
    late_thread_.join();
    for (auto& open : visits_)
        open.socket.close_socket();
    visits_.clear();
}

void server::learn(string wire_value, std::vector<std::uint64_t> entry) {
    const scope lock(&lock_);
    knowledge_[std::move(wire_value)] = std::move(entry);
}

void server::keep_nothing() {
    const scope lock(&lock_);
    keeps_requests_ = false;
}

void server::receive_with(welcome kind) {
    if (kind == welcome::refuse) {
        door_closed_ = true;
        door_.close_socket();
    }
    const scope lock(&lock_);
    welcome_ = kind;
}

string server::reply_to(const seen_request& request, std::uint32_t indicator, string_view payload) {
    packet reply = request.header;
    reply.reply_mark = true;
    reply.encrypted = false;
    reply.indicator = indicator;
    reply.body = payload;
    return reply.render();
}

string server::enciphered_reply_to(const seen_request& request, string_view payload, std::uint32_t indicator) const {
    packet reply = request.header;
    reply.reply_mark = true;
    reply.encrypted = true;
    reply.indicator = indicator;
    reply.body = ciphered(key_of(request.header, secret_), string(payload));
    return reply.render();
}

string server::describe(string_view name, string_view location, string_view info) {
    packet body;
    for (const auto text : {name, location, info})
        body.write_text(text);
    for (const std::uint64_t counter : {1, 2, 3, 4})
        body.write_number(counter);
    return body.body;
}

behaviour server::honest(const seen_request& request) {
    constexpr std::uint32_t query = 2;
    if (request.header.operation == 0) return {{{reply_to(request, 0, describe("Test", "Loopback", "honest"))}}};
    if (!request.digest_good) return {{{reply_to(request, 2, "")}}};
    if (request.header.operation != query) return {{{reply_to(request, 0, "")}}};
    packet entries;
    for (const auto& asked : signatures_of(request)) {
        const scope lock(&lock_);
        const auto known = knowledge_.find(asked.value);
        if (known == knowledge_.end())
            entries.write_number(0);
        else
            for (const auto number : known->second)
                entries.write_number(number);
    }
    return {{{enciphered_reply_to(request, entries.body)}}};
}

seen_request server::take_apart(const packet& header) const {
    seen_request request;
    request.header = header;
    if (header.operation == 0) return request;
    packet body = header;
    constexpr std::size_t digest_size = 16;
    if (!body.read_number(request.credential_mode) || !body.read_number(request.credential_id)) return request;
    if (body.body.size() - body.read_position < digest_size) return request;
    const string digest = body.body.substr(body.read_position, digest_size);
    const string payload = body.body.substr(body.read_position + digest_size);
    const string nonce(header.nonce.data(), header.nonce.size());
    request.digest_good = tackle::coding::md5_digest(nonce + secret_ + payload) == digest;
    if (request.digest_good) request.payload = ciphered(key_of(header, secret_), payload);
    return request;
}

behaviour server::decide(const seen_request& request) {
    note(request);
    return script_ ? script_(*this, request) : honest(request);
}

void server::note(const seen_request& request) {
    constexpr std::uint32_t report = 4;
    const scope lock(&lock_);
    if (request.header.operation == 0) {
        ++probes_;
        return;
    }
    if (!keeps_requests_) return;
    requests_.push_back(request);
    if (request.header.operation == report && request.digest_good) reports_.push_back(request.payload);
    news_.set();
}

std::vector<seen_request> server::wait_for(std::size_t count) {
    for (;;) {
        {
            const scope lock(&lock_);
            if (requests_.size() >= count) return requests_;
            news_.reset();
        }
        (void)news_.wait();
    }
}

std::size_t server::probes() {
    const scope lock(&lock_);
    return probes_;
}

std::vector<string> server::reports() {
    const scope lock(&lock_);
    return reports_;
}

void server::serve_datagrams() {
    while (!ending_.wait(0)) {
        try {
            ip4 peer;
            string bytes;
            datagrams_.receive_from(peer, bytes, 65507);
            packet header;
            if (!header.parse(bytes)) continue;
            const seen_request request = take_apart(header);
            behaviour reply = decide(request);
            if (reply.delay_ms == 0) {
                send(reply.answers, peer);
                continue;
            }
            const scope lock(&lock_);
            late_.emplace(now_ms() + reply.delay_ms, late_answers{std::move(reply.answers), peer});
            late_news_.set();
        } catch (const tackle::exception&) { // the end, or a client that is gone
        }
    }
}

void server::send(const std::vector<answer>& answers, const ip4& peer) {
    for (const auto& reply : answers)
        (reply.from_elsewhere ? elsewhere_ : datagrams_).send_to(peer, reply.bytes);
}

void server::send_late_answers() {
    while (!ending_.wait(0)) {
        std::multimap<std::uint64_t, late_answers>::node_type due;
        std::uint32_t wait_ms = tackle::infinite;
        {
            const scope lock(&lock_);
            late_news_.reset();
            if (const auto first = late_.begin(); first != late_.end()) {
                const auto now = now_ms();
                if (first->first > now)
                    wait_ms = static_cast<std::uint32_t>(first->first - now);
                else
                    due = late_.extract(first);
            }
        }
        if (due.empty()) {
            if (!ending_.wait(0)) (void)late_news_.wait(wait_ms);
            continue;
        }
        try {
            send(due.mapped().answers, due.mapped().peer);
        } catch (const tackle::exception&) { // the end, or a client that is gone
        }
    }
}

// The ends of threads that nobody has joined keep their stacks.
void server::drop_ended_visits() {
    std::erase_if(visits_, [](const visit& one) { return one.ended.load(); });
}

void server::serve_connections() {
    while (!ending_.wait(0)) {
        try {
            drop_ended_visits();
            auto& next = visits_.emplace_back();
            next.ended = true; // until it has a thread
            next.socket.accept(door_);
            next.ended = false;
            next.thread = std::jthread([this, &next] {
                serve_connection(next.socket);
                next.ended = true;
            });
        } catch (const tackle::exception&) { // the end, of all or of connections
            if (door_closed_) (void)ending_.wait();
        }
    }
}

void server::serve_connection(transport::tcp::raw& connection) {
    auto kind = welcome::read;
    {
        const scope lock(&lock_);
        kind = welcome_;
    }
    try {
        string bytes;
        if (kind == welcome::ignore) (void)ending_.wait();
        if (kind != welcome::read) return connection.close_socket(); // one may come in while the door closes
        try {
            for (;;)
                connection.read_some(bytes);
        } catch (const transport::tcp::base::connection_closed&) { // the request is complete
        }
        packet header;
        if (!header.parse(bytes)) return connection.close_socket();
        seen_request request = take_apart(header);
        request.by_connection = true;
        const behaviour reply = decide(request);
        if (reply.delay_ms != 0) (void)ending_.wait(reply.delay_ms);
        for (const auto& part : reply.answers)
            for (unsigned sent = 0; sent < part.times; ++sent)
                for (string_view rest = part.bytes; !rest.empty();) {
                    if (reply.gap_ms != 0 && ending_.wait(reply.gap_ms)) return;
                    const std::size_t count = reply.byte_by_byte ? 1 : rest.size();
                    connection.write(rest.substr(0, count));
                    rest.remove_prefix(count);
                }
        if (reply.left_open) (void)ending_.wait();
        connection.close_socket();
    } catch (const tackle::exception&) { // the client is gone, or this server ends
    }
}

} // namespace brimwarden::community_server
