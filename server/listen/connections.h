#pragma once

#include "server/handler/handler.h"
#include "server/listen/address.h"

#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/thread_pool.hpp>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <memory>

namespace brimwarden::server::listen {

struct connection_limits {
    std::size_t connections = 1000;
    std::size_t request = (std::size_t{32} << 20) + 4096; // bytes of one request
    std::size_t buffered = std::size_t{256} << 20;        // bytes of all requests that are under way
    std::chrono::seconds time{60};                        // for one request and its answer
};

// Takes connections at one address. The client sends one packet and ends its direction, the server answers and closes.
// Everything but the answering itself runs in the thread of the io_context. A request that is too large is read to its
// end and refused then: a client whose connection is closed earlier would send all of it again, eight times.
class connections {
public:
    connections(asio::io_context& loop, asio::thread_pool& workers, const address& here, handler::handler& answering,
                const connection_limits& limits);
    ~connections();
    connections(const connections&) = delete;
    connections& operator=(const connections&) = delete;

private:
    struct shared; // outlives this object as long as a connection is there
    void accept();

    asio::ip::tcp::acceptor acceptor_;
    std::shared_ptr<shared> shared_;
};

} // namespace brimwarden::server::listen
