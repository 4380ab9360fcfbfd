#include "tests/network/tls_peers.h"

#include "foundation/text/format.h"

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <utility>

#ifdef _WIN32
#include <windows.h>
#else
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace tackle::internet {

namespace {

using transport::tcp::raw;

#ifdef _WIN32
const char* const host_root = "Z:";
void trust(const string&) {} // Wine's Schannel verifies nothing

void start(const string& script) {
    string line = "bash -c \"" + script + "\""; // so no quotation marks in scripts
    STARTUPINFOA startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION made = {};
    if (!CreateProcessA("Z:\\bin\\bash", line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &made))
        throw std::runtime_error("no shell");
}
#else
const char* const host_root = "";
void trust(const string& root) { setenv("SSL_CERT_FILE", root.c_str(), 1); }

void start(const string& script) {
    // The shell leaves the command to an orphan, so that there is nobody to wait for but the shell itself.
    string orphan = "{ " + script + "; } &";
    const char* const arguments[] = {"bash", "-c", orphan.c_str(), nullptr};
    pid_t shell = 0;
    if (posix_spawn(&shell, "/bin/bash", nullptr, nullptr, const_cast<char**>(arguments), environ) != 0)
        throw std::runtime_error("no shell");
    waitpid(shell, nullptr, 0);
}
#endif

// No quotation marks here, see start().
const char* const recipe = R"(set -e; umask 077; d=$(mktemp -d); cd $d
printf '[req]\ndistinguished_name=dn\n[dn]\n[root]\nbasicConstraints=critical,CA:TRUE\n' >cnf
printf '[names]\nsubjectAltName=DNS:mail.example,IP:127.0.0.1\n' >>cnf
new='openssl req -config cnf -newkey rsa:2048 -nodes -sha256'
$new -x509 -days 2 -extensions root -subj /O=Brimwarden/CN=root -keyout root.key -out root.pem
$new -subj /C=DE/O=Brimwarden/CN=mail.example -keyout mail.key -out mail.csr
openssl x509 -req -sha256 -in mail.csr -CA root.pem -CAkey root.key -CAcreateserial -days 2 -extfile cnf -extensions names -out bare.pem
$new -x509 -days 2 -extensions names -subj /CN=mail.example -keyout stranger.key -out stranger.crt
cat bare.pem mail.key >mail.pem; cat root.pem mail.pem >upside.pem; rm mail.key; cat stranger.crt stranger.key >stranger.pem
mkdir split; cp bare.pem split/a.pem; cp mail.pem split/a.key; echo junk >split/junk.pem
echo; echo made:$d:)";

struct made_certificates {
    made_certificates() {
        const string said = program(string("{ ") + recipe + "; } 2>&1").read_all();
        const auto mark = said.rfind("made:");
        if (mark == string::npos) throw std::runtime_error("no certificates: " + said);
        directory = said.substr(mark + 5, said.rfind(':') - mark - 5);
        trust(directory + "/root.pem");
    }
    ~made_certificates() {
        std::error_code unimportant;
        std::filesystem::remove_all(host_root + directory, unimportant);
    }
    environment layer;
    string directory;
};

} // namespace

program::program(const string& command) {
    const listener door;
    start(format("exec 0<>/dev/tcp/127.0.0.1/%i 1>&0; %s", local_address(door.socket).port(), command));
    io_.accept(const_cast<raw&>(door.socket));
}

string program::read_until(string_view mark) {
    std::size_t found = 0;
    while ((found = unread_.find(mark)) == string::npos)
        io_.read_some(unread_);
    const string all = unread_.substr(0, found + mark.size());
    unread_.erase(0, all.size());
    return all;
}

string program::read_all() {
    try {
        for (;;)
            io_.read_some(unread_);
    } catch (const transport::tcp::base::connection_failed&) { // the end, or an abrupt one
    }
    return std::exchange(unread_, {});
}

const string& certificates() {
    static const made_certificates made;
    return made.directory;
}

server_program::server_program(const string& certificate, const string& options)
    : run(format(
          "cd %s; exec stdbuf -oL openssl s_server -accept 127.0.0.1:0 -naccept 1 -cert %s.pem -key %s.pem %s 2>&1",
          certificates(), certificate, certificate, options)) {
    run.read_until("ACCEPT 127.0.0.1:");
    address = address::ip4(0x7F000001, static_cast<std::uint16_t>(std::stoi(run.read_until("\n"))));
}

} // namespace tackle::internet
