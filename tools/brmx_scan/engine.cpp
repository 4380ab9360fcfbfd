#include "tools/brmx_scan/engine.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <stdexcept>

namespace brmx_scan {

namespace {

struct named_status {
    engine_status status;
    const char* name;
};

#define BRMX_SCAN_STATUS(name)                                                                                         \
    { name, #name }
constexpr named_status status_names[] = {
    BRMX_SCAN_STATUS(status_ok),
    BRMX_SCAN_STATUS(status_failed),
    BRMX_SCAN_STATUS(status_out_of_memory),
    BRMX_SCAN_STATUS(buffer_too_small),
    BRMX_SCAN_STATUS(index_out_of_range),
    BRMX_SCAN_STATUS(null_argument),
    BRMX_SCAN_STATUS(file_not_loaded),
    BRMX_SCAN_STATUS(engine_not_initialized),
    BRMX_SCAN_STATUS(engine_already_initialized),
    BRMX_SCAN_STATUS(engine_shut_down),
    BRMX_SCAN_STATUS(build_mismatch),
    BRMX_SCAN_STATUS(message_too_deep),
    BRMX_SCAN_STATUS(unknown_session),
    BRMX_SCAN_STATUS(session_busy),
    BRMX_SCAN_STATUS(community_unavailable),
    BRMX_SCAN_STATUS(community_discovery_pending),
    BRMX_SCAN_STATUS(community_protocol_error),
    BRMX_SCAN_STATUS(community_timed_out),
    BRMX_SCAN_STATUS(community_invalid_credentials),
    BRMX_SCAN_STATUS(not_implemented),
};
#undef BRMX_SCAN_STATUS

struct tagged_language {
    std::uint32_t lcid;
    const char* tag;
};
constexpr tagged_language language_tags[] = {
    {1025, "ar"}, {1028, "zh-Hant"}, {1029, "cs"}, {1030, "da"},    {1031, "de"},      {1032, "el"},
    {1035, "fi"}, {1036, "fr"},      {1037, "he"}, {1038, "hu"},    {1040, "it"},      {1041, "ja"},
    {1042, "ko"}, {1043, "nl"},      {1044, "nb"}, {1045, "pl"},    {1046, "pt-BR"},   {1049, "ru"},
    {1053, "sv"}, {1054, "th"},      {1055, "tr"}, {1066, "vi"},    {1067, "hy"},      {1114, "syr"},
    {1118, "am"}, {2052, "zh-Hans"}, {2057, "en"}, {2070, "pt-PT"}, {2128, "mn-Mong"}, {2129, "bo"},
    {3082, "es"},
};

// A failure of the community leaves the probability of the local tests and of what was answered before.
bool has_probability(engine_status status) {
    return status == status_ok || (status >= community_unavailable && status <= community_invalid_credentials);
}

// The interface's units are wchar_t on one target and char16_t on the other; both are UTF-16.
std::u16string from_interface(const brmx_char* text, std::size_t length) { return {text, text + length}; }

std::basic_string<brmx_char> for_interface(const std::u16string& text) { return {text.begin(), text.end()}; }

class session {
public:
    session(const std::string& message, engine_status& status) {
        status = BRMX_Session_CreateFromMemory(message.data(), static_cast<std::uint32_t>(message.size()), &handle);
        open = status == status_ok;
    }
    ~session() {
        if (open) BRMX_Session_Destroy(handle);
    }
    session(const session&) = delete;
    session& operator=(const session&) = delete;

    template <typename line_writer>
    void read_trace(const line_writer& write) const {
        std::basic_string<brmx_char> buffer(256, 0); // most lines fit at the first try
        for (std::uint32_t line = 0;; ++line) {
            std::uint32_t indent = 0;
            auto length = static_cast<std::uint32_t>(buffer.size());
            auto status = BRMX_Session_GetLastTrace(handle, line, &indent, buffer.data(), &length);
            if (status == buffer_too_small) {
                buffer.resize(length);
                status = BRMX_Session_GetLastTrace(handle, line, &indent, buffer.data(), &length);
            }
            if (status != status_ok) return;
            write(indent, from_interface(buffer.data(), length));
        }
    }

    [[nodiscard]] std::vector<language_share> read_languages() const {
        std::vector<language_share> shares;
        for (language_share share;; shares.push_back(share)) {
            const auto index = static_cast<std::uint32_t>(shares.size());
            if (BRMX_Language_GetLanguageRelevance(handle, index, &share.lcid, &share.relevance) != status_ok) {
                return shares;
            }
        }
    }

    [[nodiscard]] community_statistics read_statistics() const {
        community_statistics s;
        BRMX_Spam_GetCommunityStatistics2(handle, &s.bytes_sent, &s.bytes_received, &s.datagrams_sent,
                                          &s.datagrams_received, &s.connections_made, &s.connections_failed,
                                          &s.latency_ms);
        return s;
    }

    void introduce(const credentials& identity) const {
        const auto secret = for_interface(identity.secret);
        BRMX_Spam_SetCommunityCredentials(handle, identity.mode, identity.id, secret.data(),
                                          static_cast<std::uint32_t>(secret.size()));
    }

    std::uint32_t handle = 0;

private:
    bool open = false;
};

} // namespace

engine::engine() {
    const auto status = BRMX_Engine_Initialize();
    if (status != status_ok) throw std::runtime_error(std::string("the engine did not start: ") + status_name(status));
}

engine::~engine() { BRMX_Engine_Shutdown(); }

scan_result engine::work_on(const std::string& message, const questions& asked) const {
    scan_result result;
    const session opened(message, result.status);
    if (result.status != status_ok) return result;
    if (asked.identity) opened.introduce(*asked.identity);
    if (asked.what == action::scan) {
        std::int32_t probability = 0;
        result.status = BRMX_Spam_GetProbability(opened.handle, asked.timeout_ms, &probability);
        if (!has_probability(result.status)) return result;
        result.probability = probability;
    } else {
        const auto tell = asked.what == action::report ? BRMX_Spam_CommunityReport2 : BRMX_Spam_CommunityRevoke2;
        result.status = tell(opened.handle, asked.timeout_ms, 0);
    }
    if (asked.statistics) result.statistics = opened.read_statistics();
    const auto write = [&](std::uint32_t indent, const std::u16string& text) {
        asked.trace(result.trace, indent, text);
    };
    if (asked.trace) opened.read_trace(write);
    if (!asked.languages) return result;
    result.languages = opened.read_languages();
    if (asked.trace) {
        write(0, {});
        opened.read_trace(write); // it has replaced the scan's
    }
    return result;
}

engine_status engine::join_community(const std::u16string& group, std::uint32_t rediscovery_seconds) const {
    const auto name = for_interface(group);
    return BRMX_Spam_SetCommunityServerGroup(name.data(), static_cast<std::uint32_t>(name.size()), rediscovery_seconds);
}

community_health engine::health() const {
    community_health result;
    result.status = BRMX_Spam_GetCommunityHealth(0, &result.reachable, &result.unreachable, &result.latency_ms);
    return result;
}

engine_status set_state(const std::u16string& text) {
    const auto units = for_interface(text);
    return BRMX_Engine_SetState(units.data(), static_cast<std::uint32_t>(units.size()));
}

std::u16string last_state() {
    const brmx_char* text = nullptr;
    std::uint32_t length = 0;
    const auto status = BRMX_Engine_GetLastState(&text, &length);
    if (status != status_ok) throw std::runtime_error(std::string("the engine gives no state: ") + status_name(status));
    return from_interface(text, length);
}

std::optional<std::u16string> to_units(const std::string& text) {
    try {
        return std::filesystem::path(std::u8string(text.begin(), text.end())).u16string();
    } catch (const std::filesystem::filesystem_error&) {
        return {};
    }
}

const char* status_name(engine_status status) noexcept {
    const auto* found = std::ranges::find(status_names, status, &named_status::status);
    return found == std::end(status_names) ? "unknown_status" : found->name;
}

const char* language_tag(std::uint32_t lcid) noexcept {
    const auto* found = std::ranges::find(language_tags, lcid, &tagged_language::lcid);
    return found == std::end(language_tags) ? "und" : found->tag;
}

std::string version_text() {
    std::basic_string<brmx_char> version(64, 0);
    std::basic_string<brmx_char> build(256, 0);
    auto version_length = static_cast<std::uint32_t>(version.size());
    auto build_length = static_cast<std::uint32_t>(build.size());
    const auto status = BRMX_Engine_GetVersion(version.data(), &version_length, build.data(), &build_length);
    if (status != status_ok) return status_name(status);
    const auto narrow = [](const std::basic_string<brmx_char>& text, std::uint32_t length) {
        std::string result;
        for (std::uint32_t i = 0; i < length; ++i)
            result += static_cast<char>(text[i]); // both are ASCII
        return result;
    };
    return narrow(version, version_length) + " (" + narrow(build, build_length) + ")";
}

} // namespace brmx_scan
