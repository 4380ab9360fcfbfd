/*
 * The interface of brmx.h for C++17 and later, in one header on the standard library alone: objects that clean up after
 * themselves, results as values, failures as exceptions.
 *
 *     brmx::engine running;                           once in a process
 *     brmx::session opened(running, message);         any number, in any threads
 *     const auto result = opened.scan();
 *     std::cout << result.probability << '\n';
 *     for (const auto& line : opened.trace()) std::cout << std::string(4 * line.indent, ' ') << line.text << '\n';
 *
 * What brmx.h says about threads, blocking and the traps holds here, too. All text is UTF-8 in std::string; what cannot
 * be converted becomes U+FFFD.
 */
#ifndef BRMX_HPP
#define BRMX_HPP

#include <brmx.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace brmx {

/** Any failure that the library has told by a status. */
class error : public std::runtime_error {
public:
    /** `name` is that of the status. */
    error(engine_status status, const char* name) : std::runtime_error(name), status_(status) {}
    /** The status; `what` is its name. */
    [[nodiscard]] engine_status status() const noexcept { return status_; }

private:
    engine_status status_;
};

/** The groups of statuses, named by their high 16 bits. */
enum class error_group : std::uint32_t { general = 0, lifecycle = 1, session = 2, community = 3, interface_place = 4 };

/** A failure of one group, as in catch (const brmx::group_error<brmx::error_group::community>&). */
template <error_group group>
class group_error : public error {
public:
    /** As of error. */
    group_error(engine_status status, const char* name) : error(status, name) {}
};

/** The failure with one status, as in catch (const brmx::status_error<file_not_loaded>&). */
template <engine_status status>
class status_error final : public group_error<static_cast<error_group>(static_cast<std::uint32_t>(status) >> 16)> {
public:
    /** `name` is that of the status. */
    explicit status_error(const char* name)
        : group_error<static_cast<error_group>(static_cast<std::uint32_t>(status) >> 16)>(status, name) {}
};

/** True if a scan with this status has given a probability: a failure of the community leaves that of the message's own
 * tests, and of what was answered before the failure. */
[[nodiscard]] inline bool has_probability(engine_status status) noexcept {
    return status == status_ok || (status >= community_unavailable && status <= community_invalid_credentials);
}

/** The name that brmx.h gives a status, or "unknown_status". */
[[nodiscard]] inline const char* status_name(engine_status status) noexcept;

/** Throws the status_error of a status, or error for one that this header does not know. Nothing for status_ok. */
inline void check(engine_status status);

namespace detail {

#define BRMX_EACH_FAILURE(DO)                                                                                          \
    DO(status_failed)                                                                                                  \
    DO(status_out_of_memory)                                                                                           \
    DO(buffer_too_small)                                                                                               \
    DO(index_out_of_range)                                                                                             \
    DO(null_argument)                                                                                                  \
    DO(file_not_loaded)                                                                                                \
    DO(engine_not_initialized)                                                                                         \
    DO(engine_already_initialized)                                                                                     \
    DO(engine_shut_down)                                                                                               \
    DO(build_mismatch)                                                                                                 \
    DO(message_too_deep)                                                                                               \
    DO(unknown_session)                                                                                                \
    DO(session_busy)                                                                                                   \
    DO(community_unavailable)                                                                                          \
    DO(community_discovery_pending)                                                                                    \
    DO(community_protocol_error)                                                                                       \
    DO(community_timed_out)                                                                                            \
    DO(community_invalid_credentials)                                                                                  \
    DO(not_implemented)

using units = std::basic_string<brmx_char>;

inline void append_utf8(std::string& out, std::uint32_t character) {
    const auto put = [&out](std::uint32_t byte) { out.push_back(static_cast<char>(byte)); };
    if (character < 0x80) return put(character);
    if (character < 0x800) {
        put(0xC0 | character >> 6);
    } else {
        if (character < 0x10000) {
            put(0xE0 | character >> 12);
        } else {
            put(0xF0 | character >> 18);
            put(0x80 | (character >> 12 & 0x3F));
        }
        put(0x80 | (character >> 6 & 0x3F));
    }
    put(0x80 | (character & 0x3F));
}

inline std::string to_utf8(const brmx_char* text, std::size_t length) {
    std::string out;
    out.reserve(length);
    for (std::size_t i = 0; i < length; ++i) {
        const std::uint32_t unit = text[i];
        const std::uint32_t next = i + 1 < length ? text[i + 1] : 0;
        if (unit < 0xD800 || unit >= 0xE000) {
            append_utf8(out, unit);
        } else if (unit < 0xDC00 && next >= 0xDC00 && next < 0xE000) {
            append_utf8(out, 0x10000 + ((unit - 0xD800) << 10) + (next - 0xDC00));
            ++i;
        } else {
            append_utf8(out, 0xFFFD); // half a character
        }
    }
    return out;
}

// Takes one character, or one byte that belongs to none.
inline std::uint32_t take_character(std::string_view& text) {
    const auto first = static_cast<unsigned char>(text.front());
    const std::size_t size = first < 0x80   ? 1
                             : first < 0xC2 ? 0
                             : first < 0xE0 ? 2
                             : first < 0xF0 ? 3
                             : first < 0xF5 ? 4
                                            : 0;
    std::uint32_t character = size < 2 ? first : first & (0x7FU >> size);
    for (std::size_t i = 1; i < size; ++i) {
        const auto byte = i < text.size() ? static_cast<unsigned char>(text[i]) : 0U;
        if ((byte & 0xC0) != 0x80) {
            text.remove_prefix(1);
            return 0xFFFD;
        }
        character = character << 6 | (byte & 0x3F);
    }
    constexpr std::uint32_t least[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool good =
        size != 0 && character >= least[size] && character <= 0x10FFFF && (character < 0xD800 || character >= 0xE000);
    text.remove_prefix(good ? size : 1);
    return good ? character : 0xFFFD;
}

inline units to_units(std::string_view text) {
    units out;
    out.reserve(text.size());
    while (!text.empty()) {
        const std::uint32_t character = take_character(text);
        if (character < 0x10000) {
            out.push_back(static_cast<brmx_char>(character));
        } else {
            out.push_back(static_cast<brmx_char>(0xD800 + ((character - 0x10000) >> 10)));
            out.push_back(static_cast<brmx_char>(0xDC00 + (character & 0x3FF)));
        }
    }
    return out;
}

// The interface counts in 32 bits.
inline std::uint32_t length_of(std::size_t size) {
    if (size > (std::numeric_limits<std::uint32_t>::max)()) throw std::length_error("brmx: beyond 32 bits");
    return static_cast<std::uint32_t>(size);
}

inline std::uint32_t milliseconds(std::chrono::milliseconds time) {
    constexpr std::int64_t longest = (std::numeric_limits<std::uint32_t>::max)();
    return static_cast<std::uint32_t>(std::clamp<std::int64_t>(time.count(), 0, longest));
}

} // namespace detail

inline const char* status_name(engine_status status) noexcept {
#define BRMX_NAME(name)                                                                                                \
    case name:                                                                                                         \
        return #name;
    switch (status) {
    case status_ok:
        return "status_ok";
        BRMX_EACH_FAILURE(BRMX_NAME)
    }
#undef BRMX_NAME
    return "unknown_status";
}

inline void check(engine_status status) {
#define BRMX_RAISE(name)                                                                                               \
    case name:                                                                                                         \
        throw status_error<name>(#name);
    switch (status) {
    case status_ok:
        return;
        BRMX_EACH_FAILURE(BRMX_RAISE)
    }
#undef BRMX_RAISE
    throw error(status, "unknown_status");
}

#undef BRMX_EACH_FAILURE

/** How long a call may wait for the community if the caller says nothing. Not 0, see the trap at
 * BRMX_Spam_GetProbability. */
inline constexpr std::chrono::milliseconds usual_timeout{5000};

/** The two texts of BRMX_Engine_GetVersion. */
struct version_texts {
    std::string version; /**< as in "3.7.0.3" */
    std::string build;   /**< the words that tell this build from others */
};

/** What BRMX_Engine_GetSessionInformation counts. */
struct session_counts {
    std::uint32_t open = 0; /**< those that exist now */
    std::uint32_t made = 0; /**< those that were ever made */
};

/** What BRMX_Spam_GetCommunityHealth counts. */
struct community_health {
    std::uint32_t reachable = 0;   /**< servers that are taken to answer */
    std::uint32_t unreachable = 0; /**< the others */
    std::uint32_t latency_ms = 0;  /**< the best time of the best server, 0 if none is known */
};

/** What BRMX_Spam_GetCommunityStatistics2 counts. */
struct community_statistics {
    std::uint32_t bytes_sent = 0;         /**< of packets, by either transport */
    std::uint32_t bytes_received = 0;     /**< likewise */
    std::uint32_t datagrams_sent = 0;     /**< all */
    std::uint32_t datagrams_received = 0; /**< those that answered */
    std::uint32_t connections_made = 0;   /**< over which the whole request went out */
    std::uint32_t connections_failed = 0; /**< the others */
    std::uint32_t latency_ms = 0;         /**< of the last datagram that was waited for */
};

/** The answer of a scan. */
struct scan_result {
    int probability = 0;                 /**< 0 to 100 */
    engine_status community = status_ok; /**< status_ok, or why the community's part is missing */
};

/** One line of an explanation. */
struct trace_line {
    std::uint32_t indent = 0; /**< 0 for a heading or an empty line, 1 and more below a heading */
    std::string text;         /**< without indentation */
};

/** How many letters of a message speak for a language. */
struct language_share {
    std::uint32_t lcid = 0;      /**< the language */
    std::uint32_t relevance = 0; /**< letters; no percentage */
};

/** A text with blanks in place of its control characters: a trace quotes what a spammer wrote, and terminals obey. */
[[nodiscard]] inline std::string printable(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    while (!text.empty()) {
        const std::uint32_t character = detail::take_character(text);
        detail::append_utf8(out, character < 0x20 || (character >= 0x7F && character < 0xA0) ? ' ' : character);
    }
    return out;
}

/** The version of the library, in every state of the engine. */
[[nodiscard]] inline version_texts version() {
    detail::units version;
    detail::units build;
    for (;;) {
        auto version_length = detail::length_of(version.size());
        auto build_length = detail::length_of(build.size());
        const auto status = BRMX_Engine_GetVersion(version.data(), &version_length, build.data(), &build_length);
        if (status != buffer_too_small) check(status);
        version.resize(version_length);
        build.resize(build_length);
        if (status == status_ok) {
            return {detail::to_utf8(version.data(), version.size()), detail::to_utf8(build.data(), build.size())};
        }
    }
}

/** The languages that can be told, ascending by LCID; in every state of the engine. */
[[nodiscard]] inline std::vector<std::uint32_t> supported_languages() {
    std::vector<std::uint32_t> found;
    for (std::uint32_t lcid = 0;; found.push_back(lcid)) {
        const auto status = BRMX_Language_GetSupportedLanguages(detail::length_of(found.size()), &lcid);
        if (status == index_out_of_range) return found;
        check(status);
    }
}

/** The running engine. There can be one in the life of a process: a second one throws, also after the first has ended.
 *
 * The destructor shuts the engine down and waits for calls that work on sessions. All sessions must have been destroyed
 * and all threads that scan must have ended by then: declare them after the engine. */
class engine final {
public:
    engine() { check(BRMX_Engine_Initialize()); }
    ~engine() { BRMX_Engine_Shutdown(); }
    engine(const engine&) = delete;
    engine& operator=(const engine&) = delete;

    /** Makes the servers behind a host name the community. Blocks until the name has been looked up.
     * @param group the host name
     * @param rediscovery the time between two lookups; 0 leaves them to requests that fail */
    void join_community(std::string_view group, std::chrono::seconds rediscovery = std::chrono::hours(1)) {
        const auto name = detail::to_units(group);
        constexpr std::int64_t longest = (std::numeric_limits<std::uint32_t>::max)();
        const auto seconds = std::clamp<std::int64_t>(rediscovery.count(), 0, longest);
        check(BRMX_Spam_SetCommunityServerGroup(name.data(), detail::length_of(name.size()),
                                                static_cast<std::uint32_t>(seconds)));
    }

    /** Counts the servers. Blocks until the first round of probes has ended, up to three seconds a server.
     * @param rediscover starts another round and does not wait for it */
    [[nodiscard]] community_health health(bool rediscover = false) const {
        community_health found;
        check(
            BRMX_Spam_GetCommunityHealth(rediscover ? 1 : 0, &found.reachable, &found.unreachable, &found.latency_ms));
        return found;
    }

    /** Counts the sessions. */
    [[nodiscard]] session_counts sessions() const {
        session_counts found;
        check(BRMX_Engine_GetSessionInformation(&found.open, &found.made));
        return found;
    }

    /** What has to be kept for the next run: the present state alone, without the records of earlier calls that the
     * library puts before it. One thread at a time. */
    [[nodiscard]] std::string state() const {
        const brmx_char* text = nullptr;
        std::uint32_t length = 0;
        check(BRMX_Engine_GetLastState(&text, &length));
        return detail::to_utf8(text, length);
    }

    /** Takes up what state() gave in an earlier run; this joins its community as well. */
    void restore(std::string_view state) {
        const auto text = detail::to_units(state);
        check(BRMX_Engine_SetState(text.data(), detail::length_of(text.size())));
    }
};

/** One message. It can be moved. Not for two threads at once: the second would get status_error<session_busy>. */
class session final {
public:
    /** Opens a message in memory; the bytes are copied. The engine has to outlive the session. */
    session(const engine&, std::string_view message) {
        // A view of nothing may be null, and that is no message to the library.
        const char* const data = message.empty() ? "" : message.data();
        check(BRMX_Session_CreateFromMemory(data, detail::length_of(message.size()), &handle_));
        open_ = true;
    }

    /** Opens a message in a file. Blocks for the file system. Throws status_error<file_not_loaded> also for a name that
     * is no UTF-8, but for Windows. */
    [[nodiscard]] static session from_file(const engine&, const std::filesystem::path& file) {
        session opened;
#ifdef _WIN32
        const detail::units name = file.native();
#else
        const detail::units name = detail::to_units(file.native());
        // In the place of what is no UTF-8 stands U+FFFD, which would be the name of another file.
        if (detail::to_utf8(name.data(), name.size()) != file.native()) check(file_not_loaded);
#endif
        check(BRMX_Session_CreateFromFile(name.data(), detail::length_of(name.size()), &opened.handle_));
        opened.open_ = true;
        return opened;
    }

    ~session() { close(); }
    /** Calls of the other one throw status_error<unknown_session> afterwards. */
    session(session&& other) noexcept
        : handle_(std::exchange(other.handle_, 0)), open_(std::exchange(other.open_, false)) {}
    /** Ends this session and takes the other one's place. */
    session& operator=(session&& other) noexcept {
        if (this != &other) {
            close();
            handle_ = std::exchange(other.handle_, 0);
            open_ = std::exchange(other.open_, false);
        }
        return *this;
    }
    session(const session&) = delete;
    session& operator=(const session&) = delete;

    /** The library's name of the session. */
    [[nodiscard]] std::uint32_t handle() const noexcept { return handle_; }

    /** Scans the message. With a community this blocks for its answer; a failure of the community is part of the result
     * and not thrown. */
    scan_result scan(std::chrono::milliseconds timeout = usual_timeout) {
        std::int32_t probability = 0;
        const auto status = BRMX_Spam_GetProbability(handle_, detail::milliseconds(timeout), &probability);
        if (!has_probability(status)) check(status);
        return {probability, status};
    }

    /** The explanation of the last scan, report, revoke or question about languages. */
    [[nodiscard]] std::vector<trace_line> trace() const {
        std::vector<trace_line> lines;
        detail::units buffer(256, 0); // most lines fit at the first try
        for (;;) {
            std::uint32_t indent = 0;
            auto length = detail::length_of(buffer.size());
            const auto status =
                BRMX_Session_GetLastTrace(handle_, detail::length_of(lines.size()), &indent, buffer.data(), &length);
            if (status == index_out_of_range) return lines;
            if (status == buffer_too_small) {
                buffer.resize(length);
                continue;
            }
            check(status);
            lines.push_back({indent, detail::to_utf8(buffer.data(), length)});
        }
    }

    /** The languages of the message, ascending by LCID. The first question replaces the trace. */
    [[nodiscard]] std::vector<language_share> languages() const {
        std::vector<language_share> shares;
        for (language_share share;; shares.push_back(share)) {
            const auto index = detail::length_of(shares.size());
            const auto status = BRMX_Language_GetLanguageRelevance(handle_, index, &share.lcid, &share.relevance);
            if (status == index_out_of_range) return shares;
            check(status);
        }
    }

    /** Says who asks the community, for all later calls on this session. */
    void set_credentials(std::uint32_t mode, std::uint32_t id, std::string_view secret) {
        const auto units = detail::to_units(secret);
        check(BRMX_Spam_SetCommunityCredentials(handle_, mode, id, units.data(), detail::length_of(units.size())));
    }

    /** Sends the whole message to the community as spam. Blocks. */
    void report(std::chrono::milliseconds timeout = usual_timeout, bool flag = false) {
        check(BRMX_Spam_CommunityReport2(handle_, detail::milliseconds(timeout), flag ? 1 : 0));
    }

    /** Takes a report back; sends the whole message as well. Blocks. */
    void revoke(std::chrono::milliseconds timeout = usual_timeout, bool flag = false) {
        check(BRMX_Spam_CommunityRevoke2(handle_, detail::milliseconds(timeout), flag ? 1 : 0));
    }

    /** What the last scan, report or revoke has cost. */
    [[nodiscard]] community_statistics statistics() const {
        community_statistics s;
        check(BRMX_Spam_GetCommunityStatistics2(handle_, &s.bytes_sent, &s.bytes_received, &s.datagrams_sent,
                                                &s.datagrams_received, &s.connections_made, &s.connections_failed,
                                                &s.latency_ms));
        return s;
    }

private:
    session() = default;

    void close() noexcept {
        if (open_) BRMX_Session_Destroy(handle_);
        open_ = false;
    }

    std::uint32_t handle_ = 0;
    bool open_ = false;
};

} // namespace brmx

#endif
