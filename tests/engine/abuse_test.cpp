#include "tests/engine/life.h"

// Every export in each state of the engine, with a handle that nobody has, and with nulls.
namespace {

constexpr std::uint32_t nobodys = 0xFFFFFFF0;
constexpr brmx_char unit = 'x';
constexpr brmx_char state[] = {'1', '\r', 'A', '\r', '\r', 'A', '\r'};

struct abused_call {
    const char* label;
    engine_status (*call)();
    engine_status loaded, running, shut_down;
};

// What the calls would write to.
std::uint32_t out = 77;
std::int32_t probability = 77;
const brmx_char* text = nullptr;

constexpr auto early = engine_not_initialized;
constexpr auto late = engine_shut_down;

const abused_call calls[] = {
    {"version", [] { return BRMX_Engine_GetVersion(nullptr, &(out = 0), nullptr, &out); }, buffer_too_small,
     buffer_too_small, buffer_too_small},
    {"compatibility", [] { return BRMX_Engine_VerifyCompatibility(&unit, 1); }, build_mismatch, build_mismatch,
     build_mismatch},
    {"heap", [] { return BRMX_Engine_GetHeapInformation(nullptr, nullptr, nullptr, nullptr); }, status_ok, status_ok,
     status_ok},
    {"sessions", [] { return BRMX_Engine_GetSessionInformation(nullptr, nullptr); }, early, status_ok, late},
    {"get state", [] { return BRMX_Engine_GetState(&text, &out); }, status_ok, status_ok, status_ok},
    {"set state", [] { return BRMX_Engine_SetState(state, 7); }, status_ok, status_ok, status_ok},
    {"set a bad state", [] { return BRMX_Engine_SetState(&unit, 1); }, status_failed, status_failed, status_failed},
    {"set a cut state", [] { return BRMX_Engine_SetState(state, 4); }, status_failed, status_failed, status_failed},
    {"create", [] { return BRMX_Session_CreateFromMemory("", 0, &out); }, early, status_ok, late},
    {"create from a file", [] { return BRMX_Session_CreateFromFile(&unit, 0, &out); }, early, file_not_loaded, late},
    {"destroy", [] { return BRMX_Session_Destroy(nobodys); }, early, unknown_session, late},
    {"trace", [] { return BRMX_Session_GetLastTrace(nobodys, 0, &out, nullptr, &out); }, unknown_session,
     unknown_session, unknown_session},
    {"scan", [] { return BRMX_Spam_GetProbability(nobodys, 0, &probability); }, unknown_session, unknown_session,
     unknown_session},
    {"path", [] { return BRMX_Language_SetConfigurationPath("x"); }, early, status_ok, late},
    {"language", [] { return BRMX_Language_GetSupportedLanguages(0, &out); }, status_ok, status_ok, status_ok},
    {"relevance", [] { return BRMX_Language_GetLanguageRelevance(nobodys, 0, &out, &out); }, unknown_session,
     unknown_session, unknown_session},
    {"credentials", [] { return BRMX_Spam_SetCommunityCredentials(nobodys, 1, 1, &unit, 0); }, unknown_session,
     unknown_session, unknown_session},
    {"health", [] { return BRMX_Spam_GetCommunityHealth(1, &out, &out, &out); }, early, community_unavailable, late},
    {"report", [] { return BRMX_Spam_CommunityReport(nobodys); }, community_unavailable, community_unavailable,
     community_unavailable},
    {"revoke", [] { return BRMX_Spam_CommunityRevoke2(nobodys, 1, 1); }, community_unavailable, community_unavailable,
     community_unavailable},
    {"statistics", [] { return BRMX_Spam_GetCommunityStatistics(nobodys, &out, &out, &out, &out, &out); },
     unknown_session, unknown_session, unknown_session},
    {"infected", [] { return BRMX_Virus_GetInfected(nobodys, nullptr); }, unknown_session, unknown_session,
     unknown_session},
    {"definitions", [] { return BRMX_Virus_GetDefinitions(); }, early, not_implemented, late},
};

using null_call = engine_status (*)();
const null_call null_calls[] = {
    [] { return BRMX_Engine_GetVersion(nullptr, nullptr, nullptr, &out); },
    [] { return BRMX_Engine_GetVersion(nullptr, &out, nullptr, nullptr); },
    [] { return BRMX_Engine_VerifyCompatibility(nullptr, 0); },
    [] { return BRMX_Engine_GetState(nullptr, &out); },
    [] { return BRMX_Engine_GetState(&text, nullptr); },
    [] { return BRMX_Engine_SetState(nullptr, 0); },
    [] { return BRMX_Session_CreateFromMemory(nullptr, 0, &out); },
    [] { return BRMX_Session_CreateFromMemory("", 0, nullptr); },
    [] { return BRMX_Session_CreateFromFile(nullptr, 0, &out); },
    [] { return BRMX_Session_CreateFromFile(&unit, 1, nullptr); },
    [] { return BRMX_Session_GetLastTrace(nobodys, 0, nullptr, nullptr, &out); },
    [] { return BRMX_Session_GetLastTrace(nobodys, 0, &out, nullptr, nullptr); },
    [] { return BRMX_Spam_GetProbability(nobodys, 0, nullptr); },
    [] { return BRMX_Language_SetConfigurationPath(nullptr); },
    [] { return BRMX_Language_GetSupportedLanguages(0, nullptr); },
    [] { return BRMX_Language_GetLanguageRelevance(nobodys, 0, nullptr, &out); },
    [] { return BRMX_Language_GetLanguageRelevance(nobodys, 0, &out, nullptr); },
    [] { return BRMX_Spam_SetCommunityServerGroup(nullptr, 0, 0); },
    [] { return BRMX_Spam_SetCommunityCredentials(nobodys, 0, 0, nullptr, 0); },
};

// True if all calls answer as they have to, and none of those refused has written anything.
bool abuse(engine_status abused_call::*expected) {
    bool right = true;
    for (const auto& c : calls) {
        out = 77;
        const auto status = c.call();
        const bool untouched = (out == 77 && probability == 77) || status == status_ok || status == buffer_too_small;
        if (status == c.*expected && untouched) continue;
        std::fprintf(stderr, "%s: %u, not %u\n", c.label, status, c.*expected);
        right = false;
    }
    out = 77;
    for (const auto& call : null_calls)
        right = call() == null_argument && out == 77 && right;
    return right;
}

void answers_in_every_state() {
    EXPECT_TRUE(BRMX_Engine_Shutdown() == engine_not_initialized);
    EXPECT_TRUE(abuse(&abused_call::loaded));
    EXPECT_TRUE(BRMX_Spam_SetCommunityServerGroup(&unit, 1, 0) == engine_not_initialized);
    EXPECT_TRUE(BRMX_Engine_Initialize() == status_ok);
    EXPECT_TRUE(abuse(&abused_call::running));
    EXPECT_TRUE(BRMX_Engine_Initialize() == engine_already_initialized);
    EXPECT_TRUE(BRMX_Engine_Shutdown() == status_ok);
    EXPECT_TRUE(abuse(&abused_call::shut_down));
    EXPECT_TRUE(BRMX_Spam_SetCommunityServerGroup(&unit, 1, 0) == engine_shut_down);
}

// A handle from the run before means nothing until the count, which goes on, has given it out; and it does not have to.
void knows_no_handle_of_another_run() {
    EXPECT_TRUE(BRMX_Engine_Initialize() == status_ok);
    constexpr brmx_char five_made[] = {'1', '\r', 'F', '\r', '\r', 'A', '\r'};
    EXPECT_TRUE(BRMX_Engine_SetState(five_made, 7) == status_ok);
    for (std::uint32_t handle = 0; handle < 8; ++handle) {
        EXPECT_TRUE(BRMX_Spam_GetProbability(handle, 0, &probability) == unknown_session);
        EXPECT_TRUE(BRMX_Session_Destroy(handle) == unknown_session);
    }
    const auto handle = client::open("");
    EXPECT_TRUE(handle == 6);
    // Set back, the count comes by a session that lives. It is passed over, once.
    EXPECT_TRUE(BRMX_Engine_SetState(five_made, 7) == status_ok);
    EXPECT_TRUE(BRMX_Session_CreateFromMemory("", 0, &(out = 77)) == status_out_of_memory && out == 77);
    EXPECT_TRUE(BRMX_Session_CreateFromMemory("", 0, &out) == status_ok && out == 7);
    EXPECT_TRUE(BRMX_Session_Destroy(handle) == status_ok && BRMX_Session_Destroy(handle) == unknown_session);
}

TEST(lifecycle, answers_in_every_state) { EXPECT_LIFE(answers_in_every_state); }
TEST(lifecycle, knows_no_handle_of_another_run) { EXPECT_LIFE(knows_no_handle_of_another_run); }

} // namespace
