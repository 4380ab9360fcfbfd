#include "tests/community_server/community_server.h"

#include <algorithm>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

// The test server as a program, for scripts: community_server SECRET [hang] [VALUE=NUMBER,...]...
//
// Listens at an address of the loopback range, prints it, and then each request but probes as a line of JSON, until
// standard input ends. A VALUE is what a signature has on the wire after its code, in hexadecimal; the seven numbers are
// the entry that it is answered with. A query of another secret is refused; a message with the word "silence" is not
// answered. With "hang" it asks for connections, on which its answers never end.
namespace {

using brimwarden::community_server::behaviour;
using brimwarden::community_server::seen_request;
using brimwarden::community_server::server;

bool learn(server& self, const std::string& argument) {
    const auto equals = argument.find('=');
    if (equals == argument.npos || equals % 2 != 0) return false;
    std::string value;
    for (std::size_t at = 0; at < equals; at += 2)
        value += static_cast<char>(std::stoi(argument.substr(at, 2), nullptr, 16));
    std::vector<std::uint64_t> entry;
    for (std::size_t at = equals; at != argument.npos; at = argument.find(',', at + 1))
        entry.push_back(std::stoull(argument.substr(at + 1)));
    self.learn(value, entry);
    return entry.size() == 7;
}

behaviour hang(server& self, const seen_request& request) {
    if (request.header.operation == 0) return self.honest(request);
    if (!request.by_connection) return {{{server::reply_to(request, 1, {})}}};
    return {{{std::string(1 << 20, 'x')}}, true, true, 0, 20};
}

behaviour answer(server& self, const seen_request& request) {
    if (request.header.operation != 0) {
        std::printf("{\"operation\": %u, \"attempt\": %u, \"connection\": %s, \"mode\": %llu, \"id\": %llu, "
                    "\"good\": %s, \"bytes\": %zu, \"payload\": \"",
                    request.header.operation, request.header.attempt, request.by_connection ? "true" : "false",
                    static_cast<unsigned long long>(request.credential_mode),
                    static_cast<unsigned long long>(request.credential_id), request.digest_good ? "true" : "false",
                    request.header.body.size() + request.header.header_size);
        for (const char byte : request.payload)
            std::printf("%02x", static_cast<unsigned>(static_cast<unsigned char>(byte)));
        std::puts("\"}");
        std::fflush(stdout);
    }
    return request.payload.find("silence") == std::string::npos ? self.honest(request) : behaviour{};
}

} // namespace

int main(int count, char** arguments) {
    if (count < 2) return 2;
    const auto address = server::fresh_address();
    const bool hangs = count > 2 && std::string_view(arguments[2]) == "hang";
    server peer(address, arguments[1], hangs ? hang : answer);
    if (!std::all_of(arguments + (hangs ? 3 : 2), arguments + count,
                     [&](const char* known) { return learn(peer, known); }))
        return 2;
    std::printf("%s\n", address.to_string(tackle::internet::address::numeric_host).c_str());
    std::fflush(stdout);
    while (std::getchar() != EOF) {
    }
    return 0;
}
