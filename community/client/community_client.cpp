#include "community/client/community_client.h"

#include "foundation/sync/scope.h"
#include "platform/error.h"

namespace brimwarden::analysis::community {

using tackle::scope;
using tackle::internet::transport::udp::raw;

namespace {

void start(void (*body)(void*), void* client, tackle::platform::thread_handle& out) {
    if (!tackle::platform::start_urgent_thread(body, client, out))
        throw tackle::exception("CreateThread returned 0x%08x", tackle::platform::last_error());
}

} // namespace

community_client::community_client(const ip4& bind_address, string_view group_host, std::uint32_t rediscovery_seconds)
    : group_host_(group_host), rediscovery_seconds_(rediscovery_seconds) {
    socket_.create(bind_address);
    socket_.bind(bind_address);
    largest_datagram_ = socket_.max_message_size();
    // Or a receive that has no memory would try again at once, and for ever, before all other threads of the machine.
    datagram_.reserve(largest_datagram_);
    try {
        start([](void* client) { static_cast<community_client*>(client)->receive_all(); }, this, receive_thread_);
        receiver_ready_.wait();
        start([](void* client) { static_cast<community_client*>(client)->discover_until_closed(); }, this,
              discovery_thread_);
        wake_discovery_.set();
        discovery_done_.wait();
    } catch (...) {
        stop(); // the threads work on this object
        throw;
    }
}

community_client::~community_client() {
    try {
        stop();
    } catch (const tackle::exception&) { // a lock that the system refuses: nobody can do anything about it here
    }
}

void community_client::abandon() { socket_.close_inherited_socket(); }

void community_client::stop() {
    turnstile_.close(0);
    socket_.close_socket(); // ends the receive, and no probe can be sent any more
    {
        const scope lock(this);
        for (const auto& entry : pending_)
            entry.waiting->done.set(); // a probe need not wait for an answer that nobody receives
    }
    wake_discovery_.set();
    turnstile_.close(tackle::infinite);
    // Both have left the turnstile, but for their last few instructions.
    for (const auto thread : {receive_thread_, discovery_thread_})
        if (thread != 0) tackle::platform::join_thread(thread);
}

void community_client::receive_all() {
    try {
        const scope inside(&turnstile_);
        ip4 sender; // as the last receive has left it, also where a failing one is concerned
        while (!turnstile_.closing()) {
            receiver_ready_.set();
            receive_one(sender);
        }
    } catch (const std::exception&) { // requests now find no answer by datagram, and change to connections
        return;
    }
}

void community_client::receive_one(ip4& sender) {
    try {
        socket_.receive_from(sender, datagram_, largest_datagram_);
        packet reply;
        if (reply.parse(datagram_)) answer_arrived(sender, reply, datagram_.size());
    } catch (const raw::port_unreachable&) {
        refusal_arrived(sender);
    } catch (const raw::host_unreachable&) {
        refusal_arrived(sender);
    } catch (const tackle::internet::transport::not_a_socket&) {
        throw; // ends the thread: a receive without a socket fails at once, now and at every other try
    } catch (const std::exception&) { // a datagram lost: who waits runs out of time by itself
        return;
    }
}

void community_client::answer_arrived(const ip4& sender, const packet& reply, std::size_t size) {
    const scope lock(this);
    for (const auto& [waiting, asked] : pending_) {
        if (waiting->done.wait(0) || !(*asked == sender)) continue;
        if (reply.nonce != waiting->outgoing.nonce || reply.attempt != waiting->outgoing.attempt) continue;
        waiting->response = reply;
        waiting->answered = true;
        ++waiting->statistics->datagrams_received;
        waiting->statistics->bytes_received += static_cast<std::uint32_t>(size);
        waiting->done.set();
    }
}

void community_client::refusal_arrived(const ip4& sender) {
    const scope lock(this);
    for (const auto& entry : pending_)
        if (*entry.asked == sender) entry.waiting->done.set();
}

void community_client::server_snapshot(server_map& out) {
    const scope lock(this);
    out = servers_;
}

void community_client::trigger_discovery() { wake_discovery_.set(); }

void community_client::wait_round_complete() { round_complete_.wait(); }

} // namespace brimwarden::analysis::community
