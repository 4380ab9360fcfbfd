#pragma once

#include <asio/io_context.hpp>
#include <asio/local/stream_protocol.hpp>
#include <nlohmann/json_fwd.hpp>
#include <stdexcept>
#include <string>
#include <string_view>

namespace brimwarden::server::tool {

// What the operator is told, as it is.
class failure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// The server has refused the command; the next one may do better.
class refusal : public failure {
public:
    using failure::failure;
};

// The tool's end of a server's socket file. One thread.
class operator_link {
public:
    // Throws failure, with what to do about it, if no server answers there.
    explicit operator_link(const std::string& path);

    // Sends a command and waits for its answer. Throws refusal with the server's own words, and failure if it has gone.
    nlohmann::json ask(nlohmann::json request, std::string_view message = {});

private:
    asio::io_context loop_;
    asio::local::stream_protocol::socket socket_;
    std::string read_;
};

} // namespace brimwarden::server::tool
