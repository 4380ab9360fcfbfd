#include "server/tool/operator_link.h"

#include <array>
#include <asio/buffer.hpp>
#include <asio/read_until.hpp>
#include <asio/write.hpp>
#include <nlohmann/json.hpp>

namespace brimwarden::server::tool {

using json = nlohmann::json;

operator_link::operator_link(const std::string& path) : socket_(loop_) {
    asio::error_code error;
    try {
        socket_.connect(asio::local::stream_protocol::endpoint(path), error);
    } catch (const std::system_error& problem) { // the path is longer than a socket address can hold
        error = problem.code();
    }
    if (!error) return;
    const char* advice = error == asio::error::access_denied
                             ? "only the server's user and group may operate it"
                             : "is brmx-communityd running, and is this its socket file (--state, --socket)?";
    throw failure(path + ": " + error.message() + "; " + advice);
}

json operator_link::ask(json request, std::string_view message) {
    if (!message.empty()) request["bytes"] = message.size();
    const std::string line = request.dump(-1, ' ', false, json::error_handler_t::replace) + "\n";
    asio::error_code error;
    const std::array<asio::const_buffer, 2> all{asio::buffer(line), asio::buffer(message)};
    asio::write(socket_, all, error);
    std::size_t count = 0;
    if (!error) count = asio::read_until(socket_, asio::dynamic_buffer(read_), '\n', error);
    if (error) throw failure("the server has gone: " + error.message());
    json answer = json::parse(read_.begin(), read_.begin() + static_cast<std::ptrdiff_t>(count), nullptr, false);
    read_.erase(0, count);
    if (!answer.is_object()) throw failure("what answers there is no community server");
    if (const auto refused = answer.find("error"); refused != answer.end()) throw refusal(refused->get<std::string>());
    return answer;
}

} // namespace brimwarden::server::tool
