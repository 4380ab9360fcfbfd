#include "include/brmx.hpp"

#include "tests/community_server/community_server.h"
#include "tests/engine/life.h"

#include <optional>
#include <thread>

// The wrapper as a client uses it.
namespace {

using brimwarden::community_server::server;

constexpr std::string_view message = "From: a@b.example\r\nSubject: x\r\n\r\nbody\r\n";

template <typename failure>
std::optional<engine_status> status_of(const std::function<void()>& work) {
    try {
        work();
    } catch (const failure& caught) {
        EXPECT_STREQ(caught.what(), brmx::status_name(caught.status()));
        return caught.status();
    }
    return std::nullopt;
}

struct text_case {
    const char* label;
    std::string_view given;
    std::u16string_view units;
    std::string_view back;
};

const text_case text_cases[] = {
    {"one to four bytes", "a\u00E4\u6F22\U0001F600", u"a\u00E4\u6F22\U0001F600", "a\u00E4\u6F22\U0001F600"},
    {"the ends of the ranges", "\x7F\u0080\u07FF\u0800\uFFFF\U0010FFFF", u"\x7F\u0080\u07FF\u0800\uFFFF\U0010FFFF",
     "\x7F\u0080\u07FF\u0800\uFFFF\U0010FFFF"},
    {"cut short", "a\xF0\x9F\x98", u"a\uFFFD\uFFFD\uFFFD", "a\uFFFD\uFFFD\uFFFD"},
    {"longer than needed", "\xC0\x80\xE0\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD", "\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD"},
    {"half a character", "\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD", "\uFFFD\uFFFD\uFFFD"},
    {"beyond the last", "\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD", "\uFFFD\uFFFD\uFFFD\uFFFD"},
};

TEST(brmx_hpp, converts_any_text) {
    for (const auto& c : text_cases) {
        SCOPED_TRACE(c.label);
        const auto units = brmx::detail::to_units(c.given);
        EXPECT_EQ(std::u16string(units.begin(), units.end()), c.units);
        EXPECT_EQ(brmx::detail::to_utf8(units.data(), units.size()), c.back);
    }
    const brmx_char halves[] = {0xDC00, 0xD800, 'a', 0xD800};
    EXPECT_EQ(brmx::detail::to_utf8(halves, 4), "\uFFFD\uFFFDa\uFFFD");
    EXPECT_EQ(brmx::printable("a\x1B[2J\x7F\u009B\u00A0\xFF"), "a [2J  \u00A0\uFFFD");
}

void live_through_the_life_of_the_engine() {
    EXPECT_EQ(brmx::version().version, "3.7.0.3");
    EXPECT_EQ(brmx::supported_languages().size(), 31U);
    {
        brmx::engine running;
        EXPECT_EQ(status_of<brmx::status_error<engine_already_initialized>>([] { brmx::engine second; }),
                  engine_already_initialized);

        brmx::session opened(running, message);
        const auto alone = opened.scan();
        EXPECT_EQ(alone.community, community_unavailable);
        EXPECT_EQ(opened.trace().front().text, "Message Parts:");
        EXPECT_EQ(opened.languages().size(), 0U);
        EXPECT_EQ(status_of<brmx::group_error<brmx::error_group::community>>([&] { opened.report(); }),
                  community_unavailable);
        EXPECT_EQ(status_of<brmx::error>([&] { (void)running.health(); }), community_unavailable);
        EXPECT_EQ(status_of<brmx::status_error<file_not_loaded>>(
                      [&] { (void)brmx::session::from_file(running, "no such file"); }),
                  file_not_loaded);
        EXPECT_EQ(running.sessions().open, 1U); // what failed has left nothing

        brmx::session moved = std::move(opened);
        // NOLINTNEXTLINE(bugprone-use-after-move,clang-analyzer-cplusplus.Move)
        EXPECT_EQ(status_of<brmx::status_error<unknown_session>>([&] { opened.scan(); }), unknown_session);
        opened = brmx::session(running, std::string_view()); // empty, and a null pointer
        EXPECT_EQ(running.sessions().open, 2U);
        moved = std::move(opened);
        EXPECT_EQ(running.sessions().open, 1U);
        EXPECT_EQ(running.sessions().made, 2U);
        EXPECT_EQ(running.state(), "1\rC\r\rA\r");
        EXPECT_EQ(running.state(), "1\rC\r\rA\r"); // the present one alone

        const auto address = server::fresh_address();
        server peer(address, "secret");
        const auto host = address.to_string(tackle::internet::address::numeric_host);
        running.restore("1\rZ\r" + host + "\rA");
        EXPECT_EQ(running.state(), "1\rZ\r" + host + "\rA\r"); // what it was given has no end
        EXPECT_EQ(running.health().reachable, 1U);
        brmx::session member(running, message);
        EXPECT_EQ(member.handle(), 26U);
        member.set_credentials(1, 300, "wrong");
        EXPECT_EQ(status_of<brmx::status_error<community_invalid_credentials>>([&] { member.report(); }),
                  community_invalid_credentials);
        member.set_credentials(1, 300, "secret");
        EXPECT_EQ(member.scan().community, status_ok);
        member.report();
        EXPECT_EQ(peer.reports().size(), 1U);
        EXPECT_EQ(member.statistics().connections_made, 1U);
        running.join_community(host, std::chrono::seconds(-1));
        EXPECT_EQ(running.state(), "1\ra\r" + host + "\rA\r");
    }
    EXPECT_EQ(status_of<brmx::group_error<brmx::error_group::lifecycle>>([] { brmx::engine again; }),
              engine_already_initialized);
}

TEST(brmx_hpp, lives_through_the_life_of_the_engine) { EXPECT_LIFE(live_through_the_life_of_the_engine); }

} // namespace
