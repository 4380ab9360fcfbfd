#pragma once

#include "community/wire/reply_body.h"
#include "community/wire/signature.h"
#include "server/handler/clock.h"
#include "server/handler/settings.h"
#include "server/knowledge/table.h"

#include <string>
#include <vector>

namespace brimwarden::server::handler {

// What the server says of one signature, and why.
struct finding {
    judgement::judged result;
    judgement::evidence known;              // of the beginning that was judged
    analysis::community::known_entry entry; // what a client gets, unless the result is unknown
    std::string matched;                    // the beginning, or the whole value
};

// Answers from memory: reads the table and nothing else. Any thread.
class questions {
public:
    questions(const settings& chosen, knowledge::table& known, const knowledge::identity_key& key,
              const server_clock& clock)
        : settings_(chosen), table_(known), key_(key), clock_(clock) {}

    // One finding for each signature, in their order. No identity occurs twice, as a client throws the whole answer
    // away then: the second link that is known by the same beginning is answered by a longer one.
    [[nodiscard]] std::vector<finding> answer(const std::vector<analysis::community::wire_signature>& asked) const;

    // Notes that a mailbox has asked, for how widely a signature is seen.
    void note(const std::vector<analysis::community::wire_signature>& asked, std::uint32_t mailbox);

private:
    class used_identities;
    [[nodiscard]] judgement::evidence look_up(knowledge::identity id, judgement::signature_code kind,
                                              knowledge::record& record) const;
    [[nodiscard]] finding judge_plain(const analysis::community::wire_signature& asked) const;
    [[nodiscard]] finding judge_link(const analysis::community::wire_signature& asked, used_identities& used) const;
    void fill(finding& found, const knowledge::record& record, knowledge::identity id, std::size_t length) const;

    const settings& settings_;
    knowledge::table& table_;
    const knowledge::identity_key& key_;
    const server_clock& clock_;
};

} // namespace brimwarden::server::handler
