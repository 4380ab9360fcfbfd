#include "fuzz/support/scripted_peer.h"

#include "community/wire/rc4.h"
#include "foundation/coding/md5.h"
#include "foundation/exception.h"
#include "foundation/sync/scope.h"
#include "platform/random.h"
#include "platform/thread.h"

#include <span>
#include <utility>

using tackle::scope;
using tackle::string;
using tackle::internet::address::ip4;
namespace transport = tackle::internet::transport;

namespace {

// Targets run side by side, and the port is the same for all.
ip4 own_address() {
    std::uint32_t host = 0;
    (void)tackle::platform::fill_random(std::as_writable_bytes(std::span(&host, 1)));
    return {0x7F010000 + host % 0xFE0000, 2409};
}

} // namespace

scripted_peer::scripted_peer() {
    const ip4 address = own_address();
    const string numeric = address.to_string(tackle::internet::address::numeric_host);
    host_.assign(numeric.begin(), numeric.end());
    datagrams_.create(address);
    datagrams_.bind(address);
    door_.create(address);
    door_.bind(address);
    door_.listen();
    // An answer that waits for its turn on a busy machine is time without tests.
    tackle::platform::thread_handle thread = 0;
    (void)tackle::platform::start_urgent_thread(
        [](void* peer) { static_cast<scripted_peer*>(peer)->serve_datagrams(); }, this, thread);
    (void)tackle::platform::start_urgent_thread(
        [](void* peer) { static_cast<scripted_peer*>(peer)->serve_connections(); }, this, thread);
}

void scripted_peer::answer_with(scripted_answer answer) {
    const scope lock(&lock_);
    answer_ = std::move(answer);
}

string scripted_peer::reply_to(const packet& request, bool by_connection) {
    constexpr std::uint32_t status = 0, update = 3;
    packet reply = request;
    reply.reply_mark = true;
    reply.encrypted = false;
    reply.body.clear();
    if (request.operation == status) {
        for (const auto* const text : {"Test", "Loopback", "scripted"})
            reply.write_text(text);
        for (int counter = 0; counter < 4; ++counter)
            reply.write_number(1);
        return reply.render();
    }
    if (request.operation == update) return reply.render();
    const scope lock(&lock_);
    const bool refused =
        answer_.how == scripted_answer::form::over_connections || answer_.how == scripted_answer::form::raw;
    if (refused && !by_connection) {
        reply.indicator = 1;
        return reply.render();
    }
    if (answer_.how == scripted_answer::form::raw) return answer_.payload;
    reply.indicator = answer_.indicator;
    reply.body = answer_.payload;
    if (answer_.how == scripted_answer::form::enciphered) {
        reply.encrypted = true;
        brimwarden::analysis::community::rc4 stream(
            tackle::coding::md5_digest(string(request.nonce.data(), request.nonce.size()).append(secret)));
        stream.discard(4096);
        stream.apply(reply.body);
    }
    return reply.render();
}

void scripted_peer::serve_datagrams() {
    ip4 sender;
    string bytes;
    for (;;) {
        try {
            datagrams_.receive_from(sender, bytes, 65507);
            packet request;
            if (request.parse(bytes)) datagrams_.send_to(sender, reply_to(request, false));
        } catch (const tackle::exception&) { // the client is gone, or the answer too long
        }
    }
}

void scripted_peer::serve_connections() {
    for (;;) {
        try {
            transport::tcp::raw connection;
            connection.accept(door_);
            string bytes;
            try {
                for (;;)
                    connection.read_some(bytes);
            } catch (const transport::tcp::base::connection_closed&) { // the request is complete
            }
            packet request;
            if (request.parse(bytes)) connection.write(reply_to(request, true));
        } catch (const tackle::exception&) { // the client is gone
        }
    }
}
