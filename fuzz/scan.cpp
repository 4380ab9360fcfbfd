// A message through the exports, and the community's answer to it: one byte that says how the server answers, one for
// the indicator, two for the length of the answer's payload, the payload, and the message.
#include "fuzz/support/expect.h"
#include "fuzz/support/input_reader.h"
#include "fuzz/support/scripted_peer.h"

#include <set>
#include <vector>

namespace {

using text = std::basic_string<brmx_char>;

scripted_peer& peer() {
    static auto* const only = new scripted_peer;
    return *only;
}

struct shown_line {
    std::uint32_t indent;
    text content;
    bool operator==(const shown_line&) const = default;
};

std::vector<shown_line> trace_of(std::uint32_t handle) {
    std::vector<shown_line> lines;
    for (std::uint32_t index = 0;; ++index) {
        std::uint32_t indent = 0, length = 0;
        const auto asked = BRMX_Session_GetLastTrace(handle, index, &indent, nullptr, &length);
        if (asked == index_out_of_range) return lines;
        EXPECT(asked == buffer_too_small);
        text content(length, 0);
        EXPECT(BRMX_Session_GetLastTrace(handle, index, &indent, content.data(), &length) == status_ok);
        EXPECT(length == content.size());
        lines.push_back({indent, std::move(content)});
    }
}

// What the message alone decides, without times and answers.
std::vector<shown_line> local_part(std::vector<shown_line> trace) {
    for (std::size_t i = 0; i < trace.size(); ++i)
        if (trace[i].indent == 0 && trace[i].content == u"Executing Request:") {
            trace.resize(i);
            break;
        }
    return trace;
}

bool is_of_the_community(engine_status status) {
    static const std::set<engine_status> known = {status_ok, community_discovery_pending, community_protocol_error,
                                                  community_timed_out, community_invalid_credentials};
    return known.contains(status);
}

engine_status scan(std::uint32_t handle, std::int32_t& probability) {
    probability = -1;
    const auto status = BRMX_Spam_GetProbability(handle, 0, &probability);
    EXPECT(is_of_the_community(status));
    EXPECT(probability >= 0 && probability <= 100);
    return status;
}

void ask_for_languages(std::uint32_t handle) {
    for (std::uint32_t index = 0, last = 0;; ++index) {
        std::uint32_t lcid = 0, relevance = 0;
        const auto status = BRMX_Language_GetLanguageRelevance(handle, index, &lcid, &relevance);
        EXPECT(status == status_ok || status == index_out_of_range || (status == status_failed && index == 0));
        if (status != status_ok) return;
        EXPECT(lcid > last && relevance > 0);
        last = lcid;
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    EXPECT(BRMX_Engine_Initialize() == status_ok);
    const auto& host = peer().host();
    EXPECT(BRMX_Spam_SetCommunityServerGroup(host.data(), static_cast<std::uint32_t>(host.size()), 0) == status_ok);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    input_reader input(data, size);
    const std::uint8_t choice = input.byte();
    scripted_answer answer;
    answer.how = static_cast<scripted_answer::form>(choice & 3);
    answer.indicator = input.byte() & 7;
    answer.payload = input.bytes(input.number(2));
    peer().answer_with(std::move(answer));
    const auto message = input.rest();

    std::uint32_t handle = 0;
    const auto opened =
        BRMX_Session_CreateFromMemory(message.data(), static_cast<std::uint32_t>(message.size()), &handle);
    if (opened != status_ok) {
        EXPECT(opened == message_too_deep || opened == status_failed);
        return 0;
    }
    const text secret(scripted_peer::secret.begin(), scripted_peer::secret.end());
    EXPECT(BRMX_Spam_SetCommunityCredentials(handle, choice >> 2 & 1, 300, secret.data(),
                                             static_cast<std::uint32_t>(secret.size())) == status_ok);
    std::int32_t first = 0, second = 0;
    const auto status = scan(handle, first);
    const auto trace = trace_of(handle);
    EXPECT(!trace.empty() && trace.front().indent == 0);
    if ((choice & 0x10) != 0 && scan(handle, second) == status) {
        EXPECT(first == second || status == community_protocol_error); // an answer too late is one cut short
        EXPECT(local_part(trace_of(handle)) == local_part(trace));
    }
    if ((choice & 0x20) != 0) ask_for_languages(handle);
    if ((choice & 0x40) != 0) {
        const auto reported = BRMX_Spam_CommunityReport2(handle, 0, 1);
        EXPECT(reported == status_failed || is_of_the_community(reported));
    }
    EXPECT(BRMX_Session_Destroy(handle) == status_ok);
    return 0;
}
