#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <utility>

#include "community/client/statistics.h"
#include "community/wire/credentials.h"
#include "findings/trace_line.h"
#include "foundation/sync/real_mutex.h"
#include "include/brmx.h"
#include "language/plugins/generic.h"
#include "message/part.h"

namespace brimwarden::engine {

// One open message. Everything but the lock is used only by the thread that holds the lock.
struct session {
    explicit session(tackle::internet::message2::part parsed) : message(std::move(parsed)) {}

    tackle::real_mutex lock;
    const tackle::internet::message2::part message;
    analysis::trace_list last_trace; // of the last operation that came to its end; lists the parts of the message
    analysis::community::community_credentials credentials;
    analysis::community::community_statistics statistics; // of the last operation with a community
    language::result_map language_results;                // empty until asked for, and if there are none
};

// By handle. Ends with the library and without its sessions: a thread of the client that still runs then may be inside
// one, and the process gives the memory back anyway.
class session_map final : public std::map<std::uint32_t, std::unique_ptr<session>> {
public:
    session_map() = default;
    session_map(const session_map&) = delete;
    session_map& operator=(const session_map&) = delete;
    ~session_map() {
        for (auto& entry : *this)
            static_cast<void>(entry.second.release());
    }
};

// A session held by the calling thread until the end of this object. Throws at its end if the system refuses.
class held_session final {
public:
    held_session() = default;
    held_session(const held_session&) = delete;
    held_session& operator=(const held_session&) = delete;
    ~held_session() noexcept(false);

    session* operator->() const { return session_; }
    session& operator*() const { return *session_; }

private:
    friend engine_status find_session(std::uint32_t handle, held_session& found);
    session* session_ = nullptr; // the table owns it, and keeps it while it is held
};

// Looks a session up and takes its lock without waiting; the caller is inside session_gate and holds nothing yet in
// `found`. Returns status_ok, unknown_session or session_busy.
[[nodiscard]] engine_status find_session(std::uint32_t handle, held_session& found);

} // namespace brimwarden::engine
