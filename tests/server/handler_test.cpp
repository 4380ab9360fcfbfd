#include "server/daemon/community.h"

#include "analysis/analysis_engine.h"
#include "community/client/request.h"
#include "community/wire/reply_body.h"
#include "community/wire/request_body.h"
#include "server/admin/console.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

// The whole server but for its sockets, asked with the packets of the real client.
namespace brimwarden::server {
namespace {

namespace wire = analysis::community;
using handler::road;
using wire::operation_code;

class folder {
public:
    folder() {
        char name[] = "/tmp/brmx-server-XXXXXX";
        path = mkdtemp(name);
    }
    ~folder() { std::filesystem::remove_all(path); }
    std::string path;
};

const tackle::string spam = "From: a@b.example\r\nTo: c@d.example\r\nSubject: cheap\r\n\r\n"
                            "Dear friend buy these wonderful cheap watches today from our shop at "
                            "http://www.spam.example.com/shop/cheap and http://www.spam.example.com/other now\r\n";

class server : public ::testing::Test {
protected:
    server() { restart(); }

    void restart() {
        running.reset();
        daemon::configuration chosen = daemon::default_configuration();
        chosen.state = place.path;
        running.emplace(chosen);
        running->clock.set(1'000'000'000);
    }
    nlohmann::json command(nlohmann::json request, std::string_view message = {}) {
        return admin::console(*running).execute("tester", request, message);
    }
    void add(std::uint32_t id, nlohmann::json roles = {"ask", "report"}) {
        ASSERT_FALSE(
            command({{"command", "credential add"}, {"id", id}, {"secret", "s"}, {"roles", roles}}).contains("error"));
    }
    // What the server says to a request; an empty packet for silence.
    wire::packet ask(wire::request& made, const wire::community_credentials& who, road by = road::connection) {
        if (made.outgoing.operation != 0) (void)seal(made.outgoing, who);
        wire::packet reply;
        const auto bytes = running->handler.answer(made.outgoing.render(), by);
        EXPECT_TRUE(!bytes || reply.parse(*bytes));
        return reply;
    }
    std::uint32_t tell(operation_code operation, std::uint32_t id, const tackle::string& message = spam) {
        wire::request made(operation, statistics);
        write_message(made.outgoing, true, message);
        return ask(made, {1, id, u"s"}).indicator;
    }
    float scan(std::uint32_t id, const tackle::string& message = spam) {
        const tackle::internet::message2::part root(message);
        analysis::scan_context context(root);
        analysis::analysis_engine::generate_signatures(context);
        wire::request made(operation_code::query, statistics);
        write_query(made.outgoing, context.signatures);
        wire::packet reply = ask(made, {1, id, u"s"});
        EXPECT_EQ(reply.indicator, 0U);
        read_query(reply, context.signatures); // throws for what a client would not take
        context.community_answered = true;
        analysis::analysis_engine::classify(context);
        return context.probability;
    }

    folder place;
    std::optional<daemon::community> running;
    wire::community_statistics statistics;
};

TEST_F(server, learns_from_a_report_and_forgets_by_its_revoke) {
    add(1);
    add(2);
    const float before = scan(2);
    EXPECT_EQ(tell(operation_code::report, 1), 0U);
    EXPECT_GE(scan(2), 99);
    EXPECT_EQ(tell(operation_code::report, 1), 0U) << "told twice it counts once";
    restart();
    EXPECT_GE(scan(2), 99) << "what was acknowledged is in the store";
    EXPECT_EQ(tell(operation_code::revoke, 1), 0U);
    EXPECT_EQ(scan(2), before);
    EXPECT_EQ(tell(operation_code::report, 1), 0U);
    command({{"command", "forget-reporter"}, {"id", 1}});
    EXPECT_EQ(scan(2), before);
}

struct refusal_case {
    const char* label;
    wire::community_credentials who;
    operation_code operation;
    road by;
    std::string payload;
    std::uint32_t indicator;
};

const std::string empty_query(1, '\0');
const std::string empty_message(2, '\0');

const refusal_case refusal_cases[] = {
    {"wrong secret", {1, 1, u"x"}, operation_code::query, road::datagram, "", 2},
    {"nobody's id", {1, 7, u"s"}, operation_code::query, road::datagram, "", 2},
    {"mode 2 is the same member", {2, 1, u"s"}, operation_code::query, road::datagram, empty_query, 0},
    {"mode 3 is none", {3, 1, u"s"}, operation_code::query, road::datagram, empty_query, 2},
    {"anonymous query on loopback", {0, 0, u""}, operation_code::query, road::datagram, empty_query, 0},
    {"anonymous report", {0, 0, u""}, operation_code::report, road::connection, empty_message, 4},
    {"report without the role", {1, 2, u"s"}, operation_code::report, road::connection, empty_message, 4},
    {"report by datagram", {1, 1, u"s"}, operation_code::report, road::datagram, empty_message, 1},
    {"flag above 1", {1, 1, u"s"}, operation_code::report, road::connection, std::string("\2\0", 2), 3},
    {"bytes behind the message", {1, 1, u"s"}, operation_code::report, road::connection, std::string(3, '\0'), 3},
    {"operation that is not used", {1, 1, u"s"}, static_cast<operation_code>(6), road::datagram, "", 3},
};

TEST_F(server, refuses_what_is_not_allowed) {
    add(1);
    add(2, {"ask"});
    for (const auto& c : refusal_cases) {
        SCOPED_TRACE(c.label);
        wire::request made(c.operation, statistics);
        made.outgoing.body = c.payload;
        EXPECT_EQ(ask(made, c.who, c.by).indicator, c.indicator);
    }
}

TEST_F(server, answers_nobody_with_more_than_three_times_the_question) {
    wire::request made(operation_code::status, statistics);
    const auto reply = running->handler.answer(made.outgoing.render(), road::datagram);
    ASSERT_TRUE(reply);
    EXPECT_LE(reply->size(), 48U);
    EXPECT_FALSE(running->handler.answer("RVN", road::datagram)) << "no packet, no answer";
}

TEST_F(server, does_not_take_a_recorded_report_for_a_revoke) {
    add(1);
    add(2);
    wire::request made(operation_code::report, statistics);
    write_message(made.outgoing, true, spam);
    EXPECT_EQ(ask(made, {1, 1, u"s"}).indicator, 0U);
    made.outgoing.operation = 5; // the digest does not cover it
    const auto reply = running->handler.answer(made.outgoing.render(), road::connection);
    wire::packet parsed;
    ASSERT_TRUE(reply && parsed.parse(*reply));
    EXPECT_EQ(parsed.indicator, 3U);
    EXPECT_GE(scan(2), 99);
}

TEST_F(server, derives_the_secrets_of_mailboxes_and_rotates_them) {
    command({{"command", "credential add"}, {"id", 10}, {"mailboxes", 5}, {"secret", "site"}});
    const std::string before = command({{"command", "credential mailbox"}, {"id", 12}})["secret"];
    EXPECT_NE(before, command({{"command", "credential mailbox"}, {"id", 13}})["secret"]);
    EXPECT_TRUE(command({{"command", "credential mailbox"}, {"id", 15}}).contains("error")) << "behind the range";
    EXPECT_TRUE(command({{"command", "credential add"}, {"id", 14}}).contains("error")) << "overlaps";
    command({{"command", "credential rotate"}, {"id", 10}, {"hours", 1}});
    EXPECT_EQ(running->members.find(1, 12, 1'000'000'000)->old_secret, before);
    EXPECT_EQ(running->members.find(1, 12, 1'000'003'600)->old_secret, "") << "the old one has run out";
    EXPECT_EQ(command({{"command", "credential list"}}).dump().find("secret"), std::string::npos);
}

TEST_F(server, keeps_what_operators_do_in_the_audit_list) {
    EXPECT_TRUE(
        command({{"command", "mark"}, {"type", "tru"}, {"value", "com.a"}, {"mark", "white"}}).contains("error"))
        << "white on a link needs force";
    command({{"command", "mark"}, {"type", "tru"}, {"value", "com.a"}, {"mark", "black"}, {"why", "phishing"}});
    const auto audit = command({{"command", "audit"}})["audit"];
    ASSERT_EQ(audit.size(), 1U) << "what was refused is not in it";
    EXPECT_EQ(audit[0]["who"], "tester");
    EXPECT_EQ(audit[0]["why"], "phishing");
    const auto found = command({{"command", "explain"}}, "To: x@y.example\r\n\r\nsee http://www.a.com/b\r\n");
    EXPECT_EQ(found["probability"], 100);
}

} // namespace
} // namespace brimwarden::server
