#pragma once

#include "server/admin/console.h"

#include <asio/io_context.hpp>
#include <asio/local/stream_protocol.hpp>
#include <asio/thread_pool.hpp>
#include <string>

namespace brimwarden::server::admin {

// The socket file of the operator's tool. A request is a line with a JSON object; one with "bytes" has so many bytes of
// a message after it. Each is answered by a line, in order. Only the owner of the server and its group can connect:
// that is the whole permission.
class control {
public:
    // Replaces a socket file that a server left behind, and refuses one that is in use. Throws std::system_error.
    control(asio::io_context& loop, asio::thread_pool& workers, const std::string& path, console& commands);
    ~control(); // takes the file away
    control(const control&) = delete;
    control& operator=(const control&) = delete;

private:
    class visit;
    void accept();

    asio::thread_pool& workers_;
    console& commands_;
    std::string path_;
    asio::local::stream_protocol::acceptor acceptor_;
};

} // namespace brimwarden::server::admin
