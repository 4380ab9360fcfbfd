#include "tools/brmx_scan/engine.h"

#include <algorithm>
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

// A failure of the community leaves the probability of the local tests.
bool has_probability(engine_status status) {
    return status == status_ok || (status >= community_unavailable && status <= community_invalid_credentials);
}

// The interface's units are wchar_t on one target and char16_t on the other; both are UTF-16.
std::u16string to_units(const std::basic_string<brmx_char>& text, std::size_t length) {
    return {text.begin(), text.begin() + static_cast<std::ptrdiff_t>(length)};
}

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

    [[nodiscard]] std::vector<trace_line> read_trace() const {
        std::vector<trace_line> lines;
        std::basic_string<brmx_char> buffer(256, 0); // most lines fit at the first try
        for (std::uint32_t line = 0;; ++line) {
            std::uint32_t indent = 0;
            auto length = static_cast<std::uint32_t>(buffer.size());
            auto status = BRMX_Session_GetLastTrace(handle, line, &indent, buffer.data(), &length);
            if (status == buffer_too_small) {
                buffer.resize(length);
                status = BRMX_Session_GetLastTrace(handle, line, &indent, buffer.data(), &length);
            }
            if (status != status_ok) return lines;
            lines.push_back({indent, to_units(buffer, length)});
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

scan_result engine::scan(const std::string& message, questions asked) const {
    scan_result result;
    const session opened(message, result.status);
    if (result.status != status_ok) return result;
    std::int32_t probability = 0;
    result.status = BRMX_Spam_GetProbability(opened.handle, 0, &probability);
    if (!has_probability(result.status)) return result;
    result.probability = probability;
    if (asked.trace) result.trace = opened.read_trace();
    if (!asked.languages) return result;
    result.languages = opened.read_languages();
    if (asked.trace) {
        result.trace.push_back({0, {}});
        for (auto& line : opened.read_trace())
            result.trace.push_back(std::move(line)); // it has replaced the scan's
    }
    return result;
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
