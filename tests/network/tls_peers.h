#pragma once

#include "network/tls.h"
#include "tests/network/loopback.h"

// The openssl program as a peer, and certificates to show it.
namespace tackle::internet {

// A shell command with its input and output on a socket of ours: reading to the end waits for it to end. Works from
// Wine as well, which starts programs of the host but gives them no pipes.
class program {
public:
    explicit program(const string& command);
    void write(string_view bytes) { io_.write(bytes); }
    string read_until(string_view mark); // all up to the mark and with it; throws connection_closed if none comes
    string read_all();

private:
    transport::tcp::raw io_;
    string unread_;
};

// Made once a run in a directory of its own, which the process removes at its end:
//   root.pem               trusted by clients of this process
//   mail.pem               of mail.example and 127.0.0.1, signed by the root, with its key
//   stranger.pem           the same names, signed by itself
//   split/a.pem, a.key     as mail.pem, but the key on its own; beside it junk.pem, no certificate at all
//   upside.pem             the root's certificate, then what mail.pem has
//   bare.pem               the certificate of mail.pem without its key
const string& certificates(); // the path, as the host knows it

// openssl s_server on a free port with a certificate from above.
struct server_program {
    explicit server_program(const string& certificate, const string& options);
    program run;
    address::ip4 address;
};

// Up to the line feed and with it; unlike read_line it does not wait for what may follow.
inline string line_from(transport::tcp::base& socket) {
    string line;
    while (line.empty() || line.back() != '\n')
        socket.read_up_to(line, 1);
    return line;
}

#ifdef _WIN32
inline constexpr bool has_server_role = false; // Wine's Schannel has none
#else
inline constexpr bool has_server_role = true;
#endif

} // namespace tackle::internet
