#pragma once

#include "server/knowledge/record.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

// What has to outlive the process. One interface, so that a community can grow beyond one machine.
namespace brimwarden::server::store {

using identity = std::uint64_t;
using reporter_id = std::uint32_t;
using judgement::mark;
using judgement::signature_code;
using knowledge::seconds;

// Raised by every operation; the text is for an operator. What was asked for has then not been done.
class failure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// What one mailbox says of one signature. It has one word on each: a later one replaces it.
struct statement {
    identity signature = 0;
    signature_code kind{};
    bool whole = false;
    bool wanted = false;        // a revoke
    float weight = 1;           // before trust
    std::uint32_t messages = 0; // how many reported messages stand for it
    seconds at = 0;             // of the first of them
};

struct statement_by {
    reporter_id reporter = 0;
    statement said;
};

// Everything that one report or revoke changes, to be written in one piece.
struct change {
    reporter_id reporter = 0;
    std::uint64_t message = 0; // keyed hash of the message
    bool reported = false;     // whether the message counts as reported by this mailbox from now on
    bool wanted = false;       // whether it counts as revoked
    std::uint32_t recipe = 0;  // version of the rules that made the signatures
    seconds at = 0;
    std::vector<statement> said;     // new or replaced
    std::vector<identity> withdrawn; // this mailbox has no word on these any more
};

struct reporter {
    reporter_id id = 0;
    float trust = 1;
    std::uint32_t reports = 0; // messages
    std::uint32_t revokes = 0;
    std::uint32_t confirmed = 0; // its reports that others confirmed
    std::uint32_t contradicted = 0;
};

// A credential, or a range of them. Secrets are sealed: the store never sees them in clear.
struct credential {
    std::uint32_t first = 0; // the id, or the first of the mailboxes
    std::uint32_t count = 1; // above 1, the secret of each id derives from the site key that is sealed here
    std::uint32_t roles = 0;
    bool disabled = false;
    std::string name;
    std::string secret;     // sealed
    std::string old_secret; // sealed; empty without one
    seconds old_until = 0;
    seconds created = 0;
};

// What of a signature is kept besides the statements about it.
struct signature_row {
    identity id = 0;
    signature_code kind{};
    bool whole = false;
    mark marked = mark::none;
    std::uint32_t first = 0;
    std::uint32_t touches = 0;
    std::uint64_t seen[2] = {0, 0};
};

struct audit_line {
    seconds at = 0;
    std::string who;
    std::string what;
    std::string why;
};

// What another server of the community knows.
struct merged {
    std::vector<statement_by> statements;
    std::vector<reporter> reporters;
    std::vector<signature_row> marks;
};

enum class message_state : std::uint8_t { none, reported, revoked };

// One thread at a time; the handler sees to it. An operation that changes something returns when the change is durable,
// save for those that say otherwise.
class store {
public:
    virtual ~store() = default;

    // Both in any order; statements come signature by signature.
    virtual void load_signatures(const std::function<void(const signature_row&)>& visit) = 0;
    virtual void load_statements(const std::function<void(const statement_by&)>& visit) = 0;
    virtual std::vector<reporter> load_reporters() = 0;
    virtual std::vector<credential> load_credentials() = 0;

    virtual message_state state_of(reporter_id who, std::uint64_t message) = 0;
    // The word of a mailbox on a signature.
    virtual std::optional<statement> statement_of(reporter_id who, identity signature) = 0;
    // The words on a signature, at most so many.
    virtual std::vector<statement_by> statements_on(identity signature, std::size_t most) = 0;
    virtual std::vector<statement> statements_of(reporter_id who) = 0;
    // All statements in pages: those after a signature and a reporter, in this order, at most so many.
    virtual std::vector<statement_by> statements_after(identity signature, reporter_id who, std::size_t most) = 0;

    virtual void append(const change& made, const std::vector<reporter>& reporters) = 0;
    // Everything that this mailbox ever said.
    virtual void forget(reporter_id who) = 0;
    // In one piece. Statements replace; reporters and marks that are here already stay.
    virtual void merge(const merged& other) = 0;
    // May be lost with the last seconds before a crash.
    virtual void save_signatures(const std::vector<signature_row>& rows) = 0;

    virtual void save_credential(const credential& row) = 0;
    virtual void set_mark(const signature_row& row) = 0;
    virtual void audit(const audit_line& line) = 0;
    virtual std::vector<audit_line> last_audited(std::size_t most) = 0;

    // Small values by name, such as the sealed identity key; nullopt if it was never set.
    virtual std::optional<std::string> value(std::string_view name) = 0;
    virtual void set_value(std::string_view name, std::string_view bytes) = 0;

    // Copies everything into one file while the store is in use.
    virtual void back_up(const std::string& path) = 0;
};

} // namespace brimwarden::server::store
