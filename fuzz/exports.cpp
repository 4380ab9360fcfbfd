// Sequences of calls with handles that are open, closed or were never given out, with lengths of all kinds, and with
// null pointers wherever the interface promises an answer to them. Each buffer is exactly as large as is said. The end
// of the engine is left out: it would be the end of the target.
#include "fuzz/support/expect.h"
#include "fuzz/support/input_reader.h"
#include "fuzz/support/scripted_peer.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>

namespace {

using text = std::basic_string<brmx_char>;

constexpr std::size_t most_calls = 64;
constexpr std::size_t most_sessions = 16;

scripted_peer& peer() {
    static auto* const only = new scripted_peer;
    return *only;
}

// Units on the heap, without room for one more.
std::unique_ptr<brmx_char[]> exactly(const text& content) {
    auto block = std::make_unique<brmx_char[]>(content.size());
    std::ranges::copy(content, block.get());
    return block;
}

// The name of a file in memory, of which nothing is left however the process ends.
text message_file() {
    constexpr std::string_view message = "Subject: x\n\nbody\n";
    const int file = memfd_create("message", MFD_CLOEXEC);
    EXPECT(file >= 0 && write(file, message.data(), message.size()) == static_cast<ssize_t>(message.size()));
    const std::string name = "/proc/self/fd/" + std::to_string(file);
    return {name.begin(), name.end()};
}

bool among(engine_status status, std::initializer_list<engine_status> allowed) {
    return std::ranges::find(allowed, status) != allowed.end();
}

class player {
public:
    explicit player(input_reader& input) : input_(input) {}
    ~player() {
        for (const auto handle : open_)
            EXPECT(BRMX_Session_Destroy(handle) == status_ok);
    }
    player(const player&) = delete;
    player& operator=(const player&) = delete;

    void play() {
        using call = void (player::*)();
        constexpr call calls[] = {&player::create,        &player::create_from_file,
                                  &player::destroy,       &player::trace,
                                  &player::scan,          &player::languages,
                                  &player::supported,     &player::credentials,
                                  &player::report,        &player::statistics,
                                  &player::virus,         &player::get_state,
                                  &player::set_state,     &player::version,
                                  &player::compatibility, &player::information,
                                  &player::health,        &player::group,
                                  &player::answer};
        for (std::size_t count = 0; count < most_calls && !input_.empty(); ++count)
            (this->*calls[input_.byte() % std::size(calls)])();
    }

private:
    bool flip() { return (input_.byte() & 1) != 0; }
    text some_text() {
        const auto bytes = input_.bytes(input_.byte());
        text result;
        for (const char byte : bytes)
            result += static_cast<std::uint8_t>(byte);
        return result;
    }
    std::uint32_t any_handle() {
        const auto choice = input_.byte();
        if (choice < 0xC0 && !open_.empty()) return *std::next(open_.begin(), choice % open_.size());
        if (choice < 0xE0 && !closed_.empty()) return closed_[choice % closed_.size()];
        return input_.number(4);
    }
    // `allowed` if the session is there.
    void expect(std::uint32_t handle, engine_status status, std::initializer_list<engine_status> allowed) {
        if (open_.contains(handle))
            EXPECT(among(status, allowed));
        else
            EXPECT(status == unknown_session);
    }

    void enter(engine_status status, std::uint32_t handle) {
        if (status == status_ok) {
            EXPECT(open_.insert(handle).second);
            std::erase(closed_, handle);
        } else {
            EXPECT(handle == 77);
        }
    }
    void create() {
        const bool none = input_.byte() == 0xFF, nowhere = input_.byte() == 0xFF;
        const auto message = input_.bytes(input_.number(2) % 4096);
        const auto block = std::make_unique<char[]>(message.size());
        std::ranges::copy(message, block.get());
        std::uint32_t handle = 77;
        if (open_.size() >= most_sessions) return;
        const auto status = BRMX_Session_CreateFromMemory(
            none ? nullptr : block.get(), static_cast<std::uint32_t>(message.size()), nowhere ? nullptr : &handle);
        if (none || nowhere) EXPECT(status == null_argument);
        // Out of memory: the count of sessions has met one that lives.
        EXPECT(among(status, {status_ok, null_argument, message_too_deep, status_failed, status_out_of_memory}));
        enter(status, handle);
    }
    void create_from_file() {
        static const text path = message_file();
        const text names[] = {path, text(u"/nowhere/") + some_text(), u"", u"/", u"/dev/null"};
        const auto choice = input_.byte();
        const auto& name = names[choice % std::size(names)];
        const auto block = exactly(name);
        std::uint32_t handle = 77;
        if (open_.size() >= most_sessions) return;
        const auto status = BRMX_Session_CreateFromFile(choice == 0xFF ? nullptr : block.get(),
                                                        static_cast<std::uint32_t>(name.size()), &handle);
        EXPECT(among(status, {status_ok, null_argument, file_not_loaded, status_failed, status_out_of_memory}));
        enter(status, handle);
    }
    void destroy() {
        const auto handle = any_handle();
        expect(handle, BRMX_Session_Destroy(handle), {status_ok});
        if (open_.erase(handle) == 0) return;
        if (closed_.size() < 256) closed_.push_back(handle);
    }

    void trace() {
        const auto handle = any_handle();
        const std::uint32_t line = flip() ? input_.byte() : input_.number(4);
        std::uint32_t indent = 77, length = input_.byte();
        const std::uint32_t room = length;
        const auto buffer = std::make_unique<brmx_char[]>(room);
        const bool no_buffer = flip();
        const auto status =
            BRMX_Session_GetLastTrace(handle, line, &indent, no_buffer ? nullptr : buffer.get(), &length);
        expect(handle, status, {status_ok, buffer_too_small, index_out_of_range});
        if (status == status_ok) EXPECT(length <= room && indent != 77 && !no_buffer);
        if (status == buffer_too_small) EXPECT((no_buffer || length > room) && indent == 77);
        if (status == index_out_of_range) EXPECT(length == room && indent == 77);
        EXPECT(BRMX_Session_GetLastTrace(handle, line, nullptr, buffer.get(), &length) == null_argument);
        EXPECT(BRMX_Session_GetLastTrace(handle, line, &indent, buffer.get(), nullptr) == null_argument);
    }
    void scan() {
        const auto handle = any_handle();
        std::int32_t probability = -1;
        const auto status = BRMX_Spam_GetProbability(handle, 0, &probability);
        expect(handle, status,
               {status_ok, community_unavailable, community_discovery_pending, community_protocol_error,
                community_timed_out, community_invalid_credentials});
        EXPECT(status == unknown_session ? probability == -1 : probability >= 0 && probability <= 100);
        EXPECT(BRMX_Spam_GetProbability(handle, 0, nullptr) == null_argument);
    }
    void languages() {
        const auto handle = any_handle();
        const std::uint32_t index = input_.byte();
        std::uint32_t lcid = 77, relevance = 77;
        const auto status = BRMX_Language_GetLanguageRelevance(handle, index, &lcid, &relevance);
        expect(handle, status, {status_ok, index_out_of_range});
        EXPECT((status == status_ok) == (lcid != 77));
        EXPECT(BRMX_Language_GetLanguageRelevance(handle, index, nullptr, &relevance) == null_argument);
    }
    void supported() {
        const std::uint32_t index = flip() ? input_.byte() : input_.number(4);
        std::uint32_t lcid = 77;
        EXPECT(BRMX_Language_GetSupportedLanguages(index, &lcid) == (index < 31 ? status_ok : index_out_of_range));
        EXPECT(BRMX_Language_GetSupportedLanguages(index, nullptr) == null_argument);
        EXPECT(BRMX_Language_SetConfigurationPath(flip() ? nullptr : "x") != status_failed);
    }
    void credentials() {
        const auto handle = any_handle();
        const bool right = flip();
        const auto secret = right ? text(scripted_peer::secret.begin(), scripted_peer::secret.end()) : some_text();
        const auto block = exactly(secret);
        const auto length = static_cast<std::uint32_t>(secret.size());
        EXPECT(BRMX_Spam_SetCommunityCredentials(handle, 1, 1, nullptr, length) == null_argument);
        const auto mode = input_.number(4), id = input_.number(4);
        expect(handle, BRMX_Spam_SetCommunityCredentials(handle, mode, id, block.get(), length), {status_ok});
    }
    void report() {
        const auto handle = any_handle();
        using function = engine_status (*)(std::uint32_t, std::uint32_t, std::uint8_t);
        constexpr function with_all[] = {BRMX_Spam_CommunityReport2, BRMX_Spam_CommunityRevoke2};
        const auto choice = input_.byte();
        const auto status = (choice & 2) == 0   ? with_all[choice & 1](handle, 1000, input_.byte())
                            : (choice & 1) == 0 ? BRMX_Spam_CommunityReport(handle)
                                                : BRMX_Spam_CommunityRevoke(handle);
        if (!grouped_) {
            EXPECT(status == community_unavailable);
            return;
        }
        expect(handle, status,
               {status_ok, community_discovery_pending, community_protocol_error, community_timed_out,
                community_invalid_credentials, status_failed}); // failed: a Content-Type that cannot be written
    }
    void statistics() {
        const auto handle = any_handle();
        std::array<std::uint32_t, 7> s{};
        const auto at = [&](std::size_t i) { return flip() ? &s[i] : nullptr; };
        expect(handle, BRMX_Spam_GetCommunityStatistics2(handle, at(0), at(1), at(2), at(3), at(4), at(5), at(6)),
               {status_ok});
        expect(handle, BRMX_Spam_GetCommunityStatistics(handle, at(0), at(1), at(2), at(3), at(4)), {status_ok});
    }
    void virus() {
        const auto handle = any_handle();
        for (const auto get :
             {BRMX_Virus_GetInfected, BRMX_Virus_GetEncrypted, BRMX_Virus_GetCorrupted, BRMX_Virus_GetSuspiciousParts})
            expect(handle, get(handle), {not_implemented});
        EXPECT(BRMX_Virus_GetDefinitions() == not_implemented);
    }

    void get_state() {
        const brmx_char* state = nullptr;
        std::uint32_t length = 0;
        EXPECT(BRMX_Engine_GetState(&state, &length) == status_ok && state[length - 1] == u'\r');
        EXPECT(BRMX_Engine_GetState(nullptr, &length) == null_argument);
        EXPECT(BRMX_Engine_GetState(&state, nullptr) == null_argument);
        // What has been handed out may come back, and any front of it; but not the name of a stranger.
        const text back(state, std::min<std::uint32_t>(length, input_.number(2)));
        if (third_field(back).empty() || third_field(back) == peer().host())
            EXPECT(among(BRMX_Engine_SetState(state, static_cast<std::uint32_t>(back.size())),
                         {status_ok, status_failed}));
    }
    static text third_field(const text& state) {
        std::size_t first = 0;
        for (int field = 0; field < 2; ++field) {
            first = state.find(u'\r', first);
            if (first++ == text::npos) return {};
        }
        return state.substr(first, state.find(u'\r', first) - first);
    }
    void set_state() {
        EXPECT(BRMX_Engine_SetState(nullptr, input_.byte()) == null_argument);
        text state = some_text();
        std::erase(state, u'\r');
        state = (flip() ? text(u"1\r") : text()) + state + u'\r';
        if (flip()) (state += some_text()) += u'\r'; // without a group, or with no more than a part of it
        if (std::ranges::count(state, u'\r') > 2) return;
        const auto block = exactly(state);
        EXPECT(among(BRMX_Engine_SetState(block.get(), static_cast<std::uint32_t>(state.size())),
                     {status_ok, status_failed}));
        if (!flip()) return;
        text count = some_text();
        std::erase(count, u'\r');
        state = u"1\r" + count + u"\r\rA\r";
        const auto whole = exactly(state);
        EXPECT(among(BRMX_Engine_SetState(whole.get(), static_cast<std::uint32_t>(state.size())),
                     {status_ok, status_failed}));
    }

    void version() {
        std::uint32_t version_length = input_.byte(), build_length = input_.byte();
        const auto version = std::make_unique<brmx_char[]>(version_length);
        const auto build = std::make_unique<brmx_char[]>(build_length);
        const bool fits = version_length >= 7 && build_length >= 22;
        const bool none = flip();
        EXPECT(BRMX_Engine_GetVersion(none ? nullptr : version.get(), &version_length, build.get(), &build_length) ==
               (fits && !none ? status_ok : buffer_too_small));
        EXPECT(version_length == 7 && build_length == 22);
        EXPECT(BRMX_Engine_GetVersion(nullptr, nullptr, nullptr, &build_length) == null_argument);
    }
    void compatibility() {
        const auto build = some_text();
        const auto block = exactly(build);
        EXPECT(BRMX_Engine_VerifyCompatibility(block.get(), static_cast<std::uint32_t>(build.size())) ==
               (build == u"TRUNK X64 RELEASE SRTL" ? status_ok : build_mismatch));
        EXPECT(BRMX_Engine_VerifyCompatibility(nullptr, 22) == null_argument);
    }
    void information() {
        std::uint32_t open = 77;
        EXPECT(BRMX_Engine_GetSessionInformation(&open, nullptr) == status_ok && open == open_.size());
        EXPECT(BRMX_Engine_GetSessionInformation(nullptr, nullptr) == status_ok);
        EXPECT(BRMX_Engine_GetHeapInformation(flip() ? &open : nullptr, nullptr, nullptr, nullptr) == status_ok);
        EXPECT(BRMX_Engine_Initialize() == engine_already_initialized);
    }
    void health() {
        std::uint32_t reachable = 77, unreachable = 77, latency = 77;
        const auto status = BRMX_Spam_GetCommunityHealth(input_.byte() == 0xFF ? 1 : 0, &reachable,
                                                         flip() ? &unreachable : nullptr, &latency);
        EXPECT(status == (grouped_ ? status_ok : community_unavailable));
        if (grouped_)
            EXPECT(reachable <= 1);
        else
            EXPECT(reachable == 77);
    }
    // A new client costs two threads, so not more than one for an input.
    void group() {
        EXPECT(BRMX_Spam_SetCommunityServerGroup(nullptr, input_.byte(), 0) == null_argument);
        if (std::exchange(grouped_here_, true)) return;
        const auto block = exactly(peer().host());
        EXPECT(BRMX_Spam_SetCommunityServerGroup(block.get(), static_cast<std::uint32_t>(peer().host().size()),
                                                 input_.number(4)) == status_ok);
        grouped_ = true;
    }
    void answer() {
        scripted_answer answer;
        answer.how = static_cast<scripted_answer::form>(input_.byte() & 3);
        answer.indicator = input_.byte() & 7;
        answer.payload = input_.bytes(input_.byte());
        peer().answer_with(std::move(answer));
    }

    static inline bool grouped_ = false; // from then on for the whole process
    input_reader& input_;
    std::set<std::uint32_t> open_;
    std::vector<std::uint32_t> closed_;
    bool grouped_here_ = false;
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    EXPECT(BRMX_Engine_Initialize() == status_ok);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    input_reader input(data, size);
    player(input).play();
    // The text grows with each call that asks for it, and the count is not to depend on earlier inputs.
    EXPECT(BRMX_Engine_SetState(u"1\rA\r\rA\r", 7) == status_ok);
    return 0;
}
