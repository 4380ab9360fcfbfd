#pragma once

#include "network/environment.h"
#include "network/ip4.h"
#include "network/tcp_raw.h"
#include "network/udp_raw.h"

// Real sockets on loopback for tests.
namespace tackle::internet {

inline const address::ip4 any_loopback_port(0x7F000001, 0);

inline address::ip4 local_address(const transport::base& socket) {
    address::ip4 address;
    socket.local_address(address);
    return address;
}

struct listener {
    listener() {
        socket.create(any_loopback_port);
        socket.bind(any_loopback_port);
        socket.listen();
    }
    transport::tcp::raw socket;
};

// A connected pair.
struct connection {
    connection() {
        client.create(any_loopback_port);
        client.connect(local_address(door.socket));
        server.accept(door.socket);
    }
    environment layer;
    listener door;
    transport::tcp::raw client;
    transport::tcp::raw server;
};

inline void open_datagram(transport::udp::raw& socket) {
    socket.create(any_loopback_port);
    socket.bind(any_loopback_port);
}

} // namespace tackle::internet
