#include "network/environment.h"

#include "platform/socket.h"

namespace tackle::internet {

using platform::socket_cause;

environment::environment() {
    const auto status = platform::start_sockets();
    if (status.cause == socket_cause::not_ready) throw subsystem_not_ready("WSAStartup() failed");
    if (status.cause == socket_cause::version_not_supported) throw version_not_supported("WSAStartup() failed");
    if (status.failed()) throw generic(format("WSAStartup() returned status 0x%.8x", status.number));
    started_ = true;
}

environment::~environment() {
    try {
        close();
    } catch (const generic&) { // nobody can do anything about it at this point
    }
}

void environment::close() {
    if (!started_) return;
    started_ = false;
    const auto status = platform::stop_sockets();
    if (!status.failed() || status.cause == socket_cause::not_started) return;
    if (status.cause == socket_cause::network_down) throw subsystem_failed("WSACleanup() failed");
    throw generic(format("WSACleanup() returned status 0x%.8x", status.number));
}

void environment::host_name(string& out) const {
    char name[2048] = {};
    const auto status = platform::own_host_name(name);
    switch (status.cause) {
    case socket_cause::none:
        out = name;
        return;
    case socket_cause::network_down:
        throw subsystem_failed("gethostname() failed");
    case socket_cause::not_ready:
    case socket_cause::not_started:
        throw subsystem_not_ready("gethostname() failed");
    default:
        throw generic(format("gethostname() returned status 0x%.8x", status.number));
    }
}

} // namespace tackle::internet
