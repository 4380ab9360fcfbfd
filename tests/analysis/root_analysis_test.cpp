#include "analysis/plugins/root_analysis.h"

#include <gtest/gtest.h>

namespace {

using brimwarden::analysis::test_result_list;
using tackle::string;
using tackle::internet::message2::part;

test_result_list results_of(tackle::string_view message) {
    test_result_list results;
    brimwarden::analysis::plugins::header_analysis::test_root(part(message), results);
    return results;
}

string names_of(const test_result_list& results) {
    string all;
    for (const auto& result : results)
        all += tackle::format("%s%s %.0f", all.empty() ? "" : ", ", string(result.name.begin(), result.name.end()),
                              result.value);
    return all;
}

TEST(root_analysis, look_at_the_root_as_a_whole) {
    const struct {
        const char* label;
        const char* message;
        const char* expected;
    } cases[] = {
        {"no header at all", "", "Root.Missing_Content-Type 20, Root.Message-ID.Missing 10"},
        {"nothing wrong", "Message-ID: <1>\nContent-Type: text/plain\n", ""},
        {"an empty type counts as missing and is a type of its own", "Message-ID: <1>\nContent-Type:\n",
         "Root.Missing_Content-Type 20, Root.Content-Type.Suspicious 10"},
        {"the first of two types is looked at here, the last decides the model",
         "Message-ID: <1>\nContent-Type:\nContent-Type: text/html\n", "Root.Missing_Content-Type 20"},
        {"identifier without brackets", "Message-ID: 1\nContent-Type: text/plain\n", "Root.Message-ID.Malformed 20"},
        {"identifier without a value", "Message-ID:\nContent-Type: text/plain\n", "Root.Message-ID.Malformed 20"},
        {"identifier with two open brackets", "Message-ID: <<1>\nContent-Type: text/plain\n",
         "Root.Message-ID.Malformed 20"},
        {"identifier with two closing brackets", "Message-ID: <1>>\nContent-Type: text/plain\n",
         "Root.Message-ID.Malformed 20"},
        {"brackets in the wrong order pass", "Message-ID: >1<\nContent-Type: text/plain\n", ""},
        {"the first identifier counts", "message-id: 1\nMessage-ID: <1>\nContent-Type: text/plain\n",
         "Root.Message-ID.Malformed 20"},
        {"a named application", "Message-ID: <1>\nContent-Type: application/pdf; name=a.pdf\n",
         "Root.Attachment 10, Root.Content-Type.Suspicious 10"},
        {"a named text", "Message-ID: <1>\nContent-Type: text/plain\nContent-Disposition: inline; filename=a\n",
         "Root.Attachment 10"},
        {"an attachment without a name is none",
         "Message-ID: <1>\nContent-Type: text/plain\n"
         "Content-Disposition: attachment\n",
         ""},
        {"a bare message", "Message-ID: <1>\nContent-Type: message/partial\n", ""},
        {"a type that only resembles one", "Message-ID: <1>\nContent-Type: textual/plain\n",
         "Root.Content-Type.Suspicious 10"},
        {"multipart without boundary", "Message-ID: <1>\nContent-Type: MULTIPART/mixed\n\nx",
         "Root.Content-Type.Suspicious 50"},
        {"multipart with a child", "Message-ID: <1>\nContent-Type: multipart/mixed; boundary=b\n\n--b\n\nx", ""},
        {"an identifier in a broken word silences its own tests only", "Message-ID: =?utf-8?Q?=XX?=\n",
         "Root.Missing_Content-Type 20"},
        {"a name in a broken word is none",
         "Message-ID: <1>\nContent-Type: application/pdf\nContent-Disposition: inline; filename=\"=?utf-8?Q?=XX?=\"\n",
         "Root.Content-Type.Suspicious 10"},
        {"a name that its charset refuses is none",
         "Message-ID: <1>\nContent-Type: application/pdf\nContent-Disposition: inline; "
         "filename=\"=?windows-874?Q?=DB?=\"\n",
         "Root.Content-Type.Suspicious 10"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        const auto results = results_of(c.message);
        EXPECT_EQ(names_of(results), c.expected);
        for (const auto& result : results) {
            EXPECT_FALSE(result.details.empty());
            EXPECT_FALSE(result.whitelist);
        }
    }
}

// The digests come from another implementation of MD5: of customer, account and item in UTF-8 and the key word.
TEST(root_analysis, accept_a_valid_mark_of_the_online_service) {
    const struct {
        const char* label;
        const char* mark;
        bool valid;
    } cases[] = {
        {"all four", "v; customer=Acme; account=17; item=a-1; auth=dZDMe+B8+c6Y2weX9E+9ng", true},
        {"in any order and quoted", "v; auth=\"dZDMe+B8+c6Y2weX9E+9ng\"; item=\"a-1\"; ACCOUNT=17; customer=Acme",
         true},
        {"customer in UTF-8",
         "v; customer=\"=?iso-8859-1?Q?M=FCller?=\"; account=17; item=a-1; auth=pnEERGD1ZO9Y1mYDvLzt8A", true},
        {"a missing account repeats the customer", "v; customer=Acme; item=a-1; auth=A14bk8ClSDFc9dP7w3rgEQ", true},
        {"account and item repeat it", "v; customer=Acme; auth=AzAafTg/WEb43NGdgjvwEg", true},
        {"a missing customer is empty", "v; account=17; item=a-1; auth=CjMBipybENkw7gaJCCWtUA", true},
        {"nothing but the key word", "v; auth=5EYa7Y/g0eQWf2JzXEPy3w", true},
        {"one letter in the other case", "v; customer=Acme; account=17; item=a-1; auth=dZDMe+B8+c6Y2weX9E+9nG", false},
        {"padded", "v; customer=Acme; account=17; item=a-1; auth=\"dZDMe+B8+c6Y2weX9E+9ng==\"", false},
        {"without the key word", "v; customer=Acme; account=17; item=a-1; auth=4n0IBDODVOzd4dce5jnR4g", false},
        {"an empty auth", "v; customer=Acme; account=17; item=a-1; auth", false},
        {"a missing auth is the item", "v; customer=Acme; account=17; item=dZDMe+B8+c6Y2weX9E+9ng", false},
        {"no parameters", "", false},
        {"undecodable", "v; customer=\"=?utf-8?Q?=XX?=\"; auth=5EYa7Y/g0eQWf2JzXEPy3w", false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        const auto results =
            results_of(string("Message-ID: <1>\nContent-Type: text/plain\nX-Brimwarden-Online: ") + c.mark + "\n");
        EXPECT_EQ(names_of(results), c.valid ? "Message.Already_Processed 0" : "");
        for (const auto& result : results)
            EXPECT_TRUE(result.whitelist);
    }
    // The digest of the three values alone, which everybody can compute.
    const part unsigned_mark(
        "X-Brimwarden-Online: v; customer=Acme; account=17; item=a-1; auth=4n0IBDODVOzd4dce5jnR4g\n");
    EXPECT_FALSE(brimwarden::analysis::plugins::header_analysis::has_online_mark(unsigned_mark, ""));
}

} // namespace
