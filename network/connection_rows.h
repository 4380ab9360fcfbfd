#pragma once

#include "network/raise.h"
#include "network/tcp_base.h"

namespace tackle::internet::transport::tcp {

// What the peer and the network can do to a connection, whichever call tells it: always a class of connection_failed, so
// that whoever talks to a server can go on with another one. A call's own table goes before this one.
inline constexpr failure_row connection_rows[] = {
    {platform::socket_cause::connection_refused, throw_as<base::connection_refused>},
    {platform::socket_cause::connection_reset, throw_as<base::connection_reset>},
    {platform::socket_cause::network_reset, throw_as<base::connection_reset>},
    {platform::socket_cause::connection_aborted, throw_as<base::connection_aborted>},
    {platform::socket_cause::not_connected, throw_as<base::connection_failed>},
    {platform::socket_cause::shut_down, throw_as<base::connection_closed>},
    {platform::socket_cause::timed_out, throw_as<base::connection_timed_out>},
    {platform::socket_cause::network_unreachable, throw_as<base::network_unreachable>},
    {platform::socket_cause::host_unreachable, throw_as<base::host_unreachable>},
    {platform::socket_cause::no_resources, throw_as<base::connection_failed>},
};

} // namespace tackle::internet::transport::tcp
