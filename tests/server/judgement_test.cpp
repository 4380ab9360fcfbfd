#include "server/judgement/judgement.h"
#include "server/judgement/trust.h"

#include <gtest/gtest.h>

namespace brimwarden::server::judgement {
namespace {

constexpr settings rules; // the defaults: a change of them has to be meant

evidence seen_by(std::uint32_t reporters, std::uint32_t width, float trust = 1, float revokes = 0) {
    const float said = static_cast<float>(reporters) * trust;
    return {said, revokes, reporters, revokes > 0 ? 1U : 0U, width, false, mark::none, said};
}

evidence aged(evidence known, float left) {
    known.reports *= left;
    return known;
}

evidence marked(mark how) {
    evidence known = seen_by(3, 3);
    known.marked = how;
    return known;
}

struct plain_case {
    const char* label;
    signature_code kind;
    evidence known;
    verdict expected;
};

const plain_case plain_cases[] = {
    {"never seen", signature_code::blocks, {}, verdict::unknown},
    {"asked about by many, reported by nobody", signature_code::blocks, seen_by(0, 90), verdict::unknown},
    {"one new reporter proves a text", signature_code::blocks, seen_by(1, 1), verdict::spam},
    {"for one half-life", signature_code::blocks, aged(seen_by(1, 1), 0.51F), verdict::spam},
    {"and no longer", signature_code::blocks, aged(seen_by(1, 1), 0.49F), verdict::unknown},
    {"a reporter who was contradicted does not", signature_code::blocks, seen_by(1, 1, 0.25F), verdict::unknown},
    {"four of those do", signature_code::blocks, seen_by(4, 4, 0.25F), verdict::spam},
    {"one reporter does not prove an address", signature_code::address, seen_by(1, 1, 1.5F), verdict::unknown},
    {"two confirmed ones do", signature_code::address, seen_by(2, 2, 2), verdict::spam},
    {"seen by two more than reported it", signature_code::part, seen_by(1, 3), verdict::ignored},
    {"seen by one more", signature_code::part, seen_by(1, 2), verdict::spam},
    {"seen by half as many again as reported it, and not by more", signature_code::part, seen_by(10, 15),
     verdict::spam},
    {"an equal revoke cancels a report", signature_code::blocks, seen_by(1, 2, 1, 1), verdict::unknown},
    {"a revoke of more trust says wanted", signature_code::blocks, seen_by(1, 2, 1, 2), verdict::ignored},
    {"a hostile revoke does not cancel four reports", signature_code::blocks, seen_by(4, 5, 1, 1), verdict::spam},
    {"black by hand", signature_code::blocks, marked(mark::black), verdict::black},
    {"white by hand, whatever was reported", signature_code::blocks, marked(mark::white), verdict::white},
};

TEST(judge, weighs_reports_against_width_and_revokes) {
    for (const auto& c : plain_cases) {
        SCOPED_TRACE(c.label);
        EXPECT_EQ(judge(c.kind, c.known, rules).answer, c.expected);
    }
}

const evidence shared = seen_by(1, 40);

struct link_case {
    const char* label;
    std::vector<beginning> beginnings; // domain, host, path
    bool bulk;
    verdict expected;
    std::size_t about;
};

const link_case link_cases[] = {
    {"only a longer link was reported once: the host is not proven",
     {{seen_by(1, 1), false}, {seen_by(1, 1), false}, {{}, true}},
     false,
     verdict::unknown,
     2},
    {"two confirmed reports of other links prove the domain",
     {{seen_by(2, 2, 2), false}, {{}, false}, {{}, true}},
     false,
     verdict::spam,
     0},
    {"a host by one reporter of full trust",
     {{seen_by(1, 1, 2), false}, {seen_by(1, 1, 2), false}, {{}, true}},
     false,
     verdict::spam,
     1},
    {"not by two strangers", {{{}, false}, {seen_by(2, 2, 1.1F), false}, {{}, true}}, false, verdict::unknown, 2},
    {"a page below a wide host needs many reports",
     {{shared, false}, {shared, false}, {seen_by(1, 1, 2), true}},
     false,
     verdict::ignored,
     1},
    {"and is proven by them", {{shared, false}, {shared, false}, {seen_by(6, 6), true}}, false, verdict::spam, 2},
    {"a page of a bulk host by itself",
     {{shared, false}, {shared, false}, {seen_by(2, 2), true}},
     true,
     verdict::spam,
     2},
    {"a wide page of a bulk host is low, not ignored",
     {{shared, false}, {shared, false}, {seen_by(1, 9), true}},
     true,
     verdict::low,
     2},
    {"a page of a bulk host that nobody has reported",
     {{seen_by(4, 4, 2), false}, {seen_by(4, 4, 2), false}, {{}, true}},
     true,
     verdict::low,
     2},
};

TEST(judge_link, condemns_no_more_than_the_evidence_covers) {
    for (const auto& c : link_cases) {
        SCOPED_TRACE(c.label);
        const auto found = judge_link(c.beginnings, c.bulk, 1, rules);
        EXPECT_EQ(found.result.answer, c.expected) << found.result.rule;
        EXPECT_EQ(found.beginning, c.about);
    }
    const beginning twice[] = {{seen_by(2, 2, 2), false}, {{}, true}};
    EXPECT_EQ(judge_link(twice, false, 0, rules).result.answer, verdict::unknown)
        << "an empty server knows no wide host";
}

TEST(trust, grows_slowly_and_falls_fast) {
    constexpr trust_rules change;
    EXPECT_FLOAT_EQ(confirmed(change.most, change.most, change), change.most);
    EXPECT_LT(confirmed(1, 0.1F, change), confirmed(1, 1, change)) << "strangers confirm each other less";
    EXPECT_LT(contradicted(2, 2, change), 1) << "one contradiction leaves less than what a new reporter has";
    EXPECT_FLOAT_EQ(contradicted(2, 0.1F, change), 2) << "a stranger contradicts nobody";
    EXPECT_FLOAT_EQ(faded(48, 24), 0.25F);
    EXPECT_FLOAT_EQ(faded(-48, 24), 1) << "a clock that was set back makes nothing stronger";
}

} // namespace
} // namespace brimwarden::server::judgement
