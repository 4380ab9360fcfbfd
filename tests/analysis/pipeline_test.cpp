#include "analysis/analysis_engine.h"
#include "view/logical_root.h"

#include <gtest/gtest.h>

namespace {

using namespace brimwarden::analysis;
using tackle::string;
using tackle::wstring;
using tackle::internet::message2::part;

// Counting from the front, breadth first, the root being 0.
const part* nth(const part& message, std::size_t index) {
    std::vector<const part*> all;
    message.find_parts(all, false, "");
    return index < all.size() ? all[index] : nullptr;
}

TEST(logical_root, looks_through_reports_and_wrappers) {
    const string plain = "\n--b\nContent-Type: text/plain\n\nx\n";
    const string nested = "\n--b\nContent-Type: message/rfc822\n\nSubject: x\n\ny\n";
    // The delimiter or the end comes before an empty line has ended its headers.
    const string childless = "\n--b\nContent-Type: message/rfc822";
    const string status = "\n--b\nContent-Type: message/delivery-status\n\nx\n";
    const string report = "Content-Type: Multipart/Report; boundary=b\n";
    const string mixed = "Content-Type: multipart/mixed; boundary=b\n";
    const struct {
        const char* label;
        string message;
        std::size_t root, language_root; // as nth counts
    } cases[] = {
        {"a report", report + plain + nested, 3, 3},
        {"a report without the message", report + plain, 0, 0},
        {"a report of a childless message", report + childless + nested, 0, 0},
        {"a status in another multipart", "Content-Type: multipart/x; boundary=b\n" + status + nested, 3, 3},
        {"a status inside the nested message only",
         mixed + "\n--b\nContent-Type: message/rfc822\n\nContent-Type: message/delivery-status\n\n", 0, 0},
        {"flagged", "X-Spam-Flag: YES\n" + mixed + plain + nested, 3, 0},
        {"flagged without a message", "X-Spam-Flag: YES\n" + mixed + plain, 0, 0},
        {"flagged and childless", "X-Spam-Flag: YES\n" + mixed + childless, 0, 0},
        {"flagged in another multipart", "X-Spam-Flag: YES\nContent-Type: multipart/x; boundary=b\n" + nested, 0, 0},
        {"not flagged", mixed + nested, 0, 0},
        {"the first flag counts", "X-Spam-Flag: no\nX-Spam-Flag: yes\n" + mixed + nested, 0, 0},
        {"no interpretation", "X-Spam-Flag: =?us-ascii?Q?yes?=\n" + mixed + nested, 0, 0},
        {"a blank behind the flag", "X-Spam-Flag: yes \n" + mixed + nested, 0, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        const part message(c.message);
        EXPECT_EQ(&logical_root(message), nth(message, c.root));
        EXPECT_EQ(&logical_root_for_language(message), nth(message, c.language_root));
    }
}

TEST(parts_list, names_and_marks_parts) {
    const part message("Content-Type: multipart/mixed; boundary=b\n"
                       "\n--b\nContent-Type: text/html; name=\"=?iso-8859-1?Q?=E9?= a.htm\"\n\nx"
                       "\n--b\nContent-Type: image/png\nContent-Disposition: inline; filename=\"=?utf-8?Q?=XX?=\"\n\n"
                       "\n--b\nContent-Type: multipart/x; boundary=c\n\n--c\n\n\n--c--\n");
    trace_list trace;
    trace.list_parts(message, &message, message.find_displayable());
    const struct {
        std::uint32_t indent;
        const char16_t* text;
    } expected[] = {
        {1, u"multipart/mixed -- ID: 0x1, Bytes: 0, Logical Root"},
        {2, u"text/html \"\u00e9 a.htm\" -- ID: 0x2, Bytes: 3, Displayable"},
        {2, u"image/png -- ID: 0x3, Bytes: 2"},
        {2, u"multipart/x -- ID: 0x4, Bytes: 0"},
        {3, u"text/plain -- ID: 0x5, Bytes: 2"},
    };
    ASSERT_EQ(trace.size(), std::size(expected));
    for (std::size_t i = 0; i < trace.size(); ++i) {
        EXPECT_EQ(trace[i].indent, expected[i].indent);
        EXPECT_EQ(trace[i].text, expected[i].text);
    }
}

TEST(generate_signatures, sorts_by_unit_and_keeps_the_first_of_equal_ones) {
    const part message(tackle::string_view("Message-ID: <1>\nContent-Type: text/plain\n"));
    scan_context scan(message);
    const struct {
        const char16_t *type, *value, *details;
    } found[] = {
        {u"tsd", u"a", u"1"}, {u"prd", u"b", u"2"},          {u"tsd", u"B", u"3"},      {u"prd", u"b", u"4"},
        {u"prd", u"", u"5"},  {u"prd", u"\U0001F600", u"6"}, {u"prd", u"\uffe9", u"7"}, {u"tsd", u"a", u"8"},
    };
    for (const auto& record : found) {
        scan.signatures.emplace_back(record.type, record.value);
        scan.signatures.back().details = record.details;
    }
    analysis_engine::generate_signatures(scan);
    wstring order;
    for (const auto& record : scan.signatures)
        order += record.details;
    EXPECT_EQ(order, u"526731");
    ASSERT_GT(scan.trace.size(), 5U);
    EXPECT_EQ(scan.trace[3].text, u"Generated Signatures:");
    EXPECT_EQ(scan.trace[5].text, u"prd b");
}

TEST(signature_record, has_values_in_two_forms) {
    EXPECT_EQ(digest_text(""), u"1B2M2Y8AsgTpgAmY7PhCfg");
    EXPECT_EQ(digest_text(string("\0\xff", 2) + "abc"), u"ScbTJQc8W8VlmvbNaG4BnA");
    EXPECT_EQ(digit_string(0), u"A");
    EXPECT_EQ(digit_string(64), u"BA");
    EXPECT_EQ(digit_string(0xFFFFFFFFFFFFFFFF), u"P//////////");
    EXPECT_EQ(signature_record(u"tru", u"").weight, 100.0F); // scoring leaves it there for links
}

} // namespace
