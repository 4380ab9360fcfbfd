#include "tests/engine_load/metronome.h"

#include "community/wire/packet.h"
#include "foundation/exception.h"
#include "network/tcp_raw.h"

namespace {

void converse(const tackle::internet::address::ip4& server) {
    tackle::internet::transport::tcp::raw socket;
    try {
        socket.create(server);
        socket.connect(server);
        socket.write(brimwarden::analysis::community::packet{}.render());
        socket.shutdown_send();
        for (tackle::string answer;;)
            socket.read_some(answer);
    } catch (const tackle::exception&) { // the end of the answer, for one
    }
}

} // namespace

metronome::metronome(const tackle::internet::address::ip4& server, std::chrono::milliseconds patience)
    : slow_from_(patience * 6 / 10), thread_([this, server](const std::stop_token& stop) {
          while (!stop.stop_requested()) {
              ask(server);
              std::this_thread::sleep_for(std::chrono::milliseconds(2));
          }
      }) {}

void metronome::ask(const tackle::internet::address::ip4& server) {
    const auto start = clock::now();
    asked_at_ = start.time_since_epoch().count();
    converse(server);
    const auto end = clock::now();
    if (end - start > slow_from_) {
        last_slow_end_ = end.time_since_epoch().count();
        ++slow_;
    }
    asked_at_ = 0;
    ++questions_;
    const auto took = std::chrono::duration_cast<std::chrono::milliseconds>(end - start).count();
    if (took > slowest_ms_) slowest_ms_ = took;
}

bool metronome::was_slow_since(clock::time_point start) const {
    const clock::time_point asked{clock::duration{asked_at_}};
    if (asked.time_since_epoch().count() != 0 && clock::now() - asked > slow_from_) return true;
    return clock::time_point{clock::duration{last_slow_end_}} > start;
}
