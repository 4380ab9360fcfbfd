#pragma once

#include "analysis/plugins/generic.h"
#include "network/ip4.h"

#include <set>

namespace brimwarden::analysis::plugins::header_analysis {

// The header fields, and the root of the message as a whole. Good for one message. A field that cannot be decoded
// silences the one test that reads it.
class plugin final : public generic::plugin {
public:
    void generate(const tackle::internet::message2::part& root, signature_list& signatures,
                  test_result_list& test_results, trace_list& trace) override;
    void apply(const tackle::internet::message2::part& root, signature_list& signatures, test_result_list& test_results,
               trace_list& trace) override;

private:
    void walk_received(const tackle::internet::message2::part& root, signature_list& signatures);
    void test_client(const tackle::internet::message2::part& root, signature_list& signatures,
                     test_result_list& test_results);
    void test_message_id(const tackle::internet::message2::part& root, signature_list& signatures,
                         test_result_list& test_results);
    void test_from(const tackle::internet::message2::part& root, test_result_list& test_results) const;
    [[nodiscard]] bool came_through_trusted_network() const;

    std::set<tackle::internet::address::ip4> received_addresses; // every public sender that a Received field names
};

} // namespace brimwarden::analysis::plugins::header_analysis
