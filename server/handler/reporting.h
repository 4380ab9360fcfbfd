#pragma once

#include "server/handler/clock.h"
#include "server/handler/questions.h"
#include "server/handler/settings.h"
#include "server/knowledge/table.h"
#include "server/store/store.h"

#include <cstdint>
#include <map>
#include <mutex>
#include <stdexcept>
#include <string>
#include <string_view>

namespace brimwarden::server::handler {

// Raised for a mark that needs to be forced; the text says why.
class mark_refused : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Takes reports and revokes: reads the message, writes what it says to the store, and then lets the table know. Any
// thread; messages are read side by side, and what they say is written one after the other.
class reporting {
public:
    // Fills the table from the store.
    reporting(const settings& chosen, knowledge::table& known, store::store& kept, const knowledge::identity_key& key,
              const server_clock& clock);

    struct told {
        store::reporter_id reporter = 0;
        bool wanted = false;    // a revoke
        bool by_person = false; // flag 1
        float weight = 1;       // an operator's word weighs more
        bool rendered = true;   // by a client; false for a message as it was sent
    };
    // Returns when the statement is durable. Told twice it is a success that changes nothing. Throws store::failure,
    // and what the message's loader throws for a message that it refuses: nothing has been changed then.
    void take(const told& how, std::string_view message);

    // Undoes everything that a reporter ever said.
    void forget(store::reporter_id who);
    // Sets an operator's mark. Throws mark_refused for white on anything but an address, unless `force`: a link, a text
    // or a file can be put into any message, and white then declares that message clean, whatever else is in it.
    void set_mark(knowledge::identity signature, judgement::signature_code kind, judgement::mark marked, bool force);

    // Writes what may be written late: widths and touches. From a timer and at the end.
    void flush();

    [[nodiscard]] std::vector<store::reporter> reporters() const;
    // The store for everything else, under the writer's lock.
    template <typename function>
    auto with_store(const function& use) {
        const std::lock_guard lock(writer_);
        return use(store_);
    }

    // An operator's word: no mailbox has this id.
    static constexpr store::reporter_id operator_id = 0;

private:
    struct pending;
    [[nodiscard]] std::vector<store::statement> statements_in(const told& how, std::string_view message) const;
    void load();
    [[nodiscard]] float trust_of(store::reporter_id who) const;
    store::reporter& reporter_of(store::reporter_id who);
    void set_trust(store::reporter_id who, float trust);
    void plan(const told& how, store::message_state before, const std::vector<store::statement>& said, pending& out);
    void write(const told& how, const pending& next);
    void confirm(const told& how, const std::vector<store::statement>& said, pending& out);
    void contradict(const told& how, const std::vector<store::statement>& said, pending& out);
    // Adds a statement to the sums of its signature, or takes it out again.
    void count(const store::statement& said, store::reporter_id who, bool in, std::int64_t now);
    [[nodiscard]] float strength(const store::statement& said, store::reporter_id who, std::int64_t now) const;

    const settings& settings_;
    knowledge::table& table_;
    store::store& store_;
    const knowledge::identity_key& key_;
    const server_clock& clock_;
    mutable std::mutex writer_; // guards the store and the reporters
    std::map<store::reporter_id, store::reporter> reporters_;
    std::string saved_questions_;
};

} // namespace brimwarden::server::handler
