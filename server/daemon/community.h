#pragma once

#include "server/daemon/configuration.h"
#include "server/handler/handler.h"
#include "server/store/sqlite/sqlite_store.h"

namespace brimwarden::server::daemon {

// A whole server but for its sockets. Makes folder, key file, store and identity key where there are none. Throws
// store::failure.
class community {
public:
    explicit community(const configuration& chosen);

    const configuration chosen;
    handler::server_clock clock;
    store::key_file keys;
    store::sqlite::sqlite_store kept;
    knowledge::identity_key identity_key;
    knowledge::table known;
    handler::members members;
    handler::questions questions;
    handler::reporting reporting;
    handler::handler handler;
};

} // namespace brimwarden::server::daemon
