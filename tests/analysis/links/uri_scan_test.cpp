#include "analysis/links/uri_scan.h"

#include "analysis/links/position_set.h"
#include "analysis/links/uri_parsing.h"
#include "foundation/text/strings.h"

#include <gtest/gtest.h>

#include <random>
#include <set>

namespace brimwarden::analysis {
namespace {

using tackle::string;
using tackle::wstring;
using tackle::wstring_view;

wstring stripped(wstring_view candidate) {
    wstring scratch;
    return wstring(strip_uri_prefix(candidate, scratch));
}

wstring decoded(wstring_view text) {
    wstring scratch;
    return wstring(decode_uri_escapes(text, scratch));
}

// The rules as they read: a walk over the whole list for each address, a call inside the call for each hidden one.
class literal_scan {
public:
    struct record {
        wstring value;
        wstring details;
    };
    std::vector<record> records;

    void add(const wstring& value, const wstring& details, bool replace_longer) {
        for (std::size_t i = 0; i < records.size();) {
            if (value.starts_with(records[i].value)) return;
            if (replace_longer && records[i].value.starts_with(value))
                records.erase(records.begin() + static_cast<std::ptrdiff_t>(i));
            else
                ++i;
        }
        records.push_back({value, details});
    }

    void scan(const wstring& candidate, bool strict_host, bool recursive) {
        const auto s = decoded(stripped(candidate));
        wstring value;
        if (reverse_domain(extract_host_and_path(s, strict_host), value)) {
            add(value, u"Input: \"" + candidate + u"\"", true);
            if (!recursive) return;
            scan_query_values(candidate);
            scan_query_values(decoded(candidate));
        } else if (recursive) {
            const auto start = find_uri_start(s, 0);
            if (start != wstring::npos && start > 0) scan(s.substr(start), strict_host, true);
        }
    }

private:
    void scan_query_values(const wstring& candidate) {
        const auto pieces = tackle::split_tokens(candidate, u"?&");
        for (std::size_t i = 1; i < pieces.size(); ++i) {
            const auto parts = tackle::split(pieces[i], u"=");
            if (parts.size() > 2) continue;
            auto value = decoded(parts.back());
            for (const wstring word : {u"inurl:", u"site:"})
                if (value.starts_with(word)) value.erase(0, word.size());
            scan(value, true, false);
        }
    }
};

string printable(const wstring& text) {
    string result;
    for (const auto unit : text)
        result += unit < 0x7F ? static_cast<char>(unit) : '?';
    return result;
}

void expect_literal(const std::vector<wstring>& candidates, bool strict_host) {
    literal_scan literal;
    uri_list uris(true);
    string all;
    for (const auto& candidate : candidates) {
        literal.scan(candidate, strict_host, true);
        scan_uri(candidate, strict_host, uris);
        all += printable(candidate) + "\n";
    }
    signature_list signatures;
    uris.move_to(signatures);
    ASSERT_EQ(signatures.size(), literal.records.size()) << all;
    for (std::size_t i = 0; i < signatures.size(); ++i) {
        ASSERT_EQ(signatures[i].value, literal.records[i].value) << all;
        ASSERT_EQ(signatures[i].details, literal.records[i].details) << all;
        ASSERT_EQ(signatures[i].type, u"tru");
    }
}

const wstring_view pieces[] = {
    u"http:",  u"http://",   u"https:",
    u"www.",   u".com",      u".com/",
    u"com",    u"a.b.",      u"1.2.",
    u"0x3.4",  u".",         u"/",
    u"//",     u"@",         u":",
    u":80",    u":8",        u"?",
    u"&",      u"=",         u"+",
    u"#",      u"-",         u" ",
    u"%",      u"%%",        u"%25",
    u"2",      u"5",         u"4",
    u"1",      u"%41",       u"%2f",
    u"%3A",    u"%u00",      u"%u002f",
    u"u",      u"x",         u"e",
    u"%c3",    u"%a9",       u"\u00e9",
    u"%e2%82", u"%ac",       u"%01",
    u"%2e",    u"?q=",       u"&r=http://",
    u"site:",  u"inurl:",    u"[",
    u"\u4e2d", u"%77ww.",    u"w",
    u"h",      u"%ed%a0%80", u"example.com/x",
    u"A",
};

TEST(scan_uri, finds_what_the_rules_find) {
    std::mt19937 random(5);
    for (int round = 0; round < 60'000; ++round) {
        std::size_t chosen[7];
        for (auto& one : chosen)
            one = random() % std::size(pieces);
        wstring candidate = random() % 2 == 0 ? u"http:x" : u"www.";
        for (auto length = random() % 40; length > 0; --length) {
            const auto index = random() % 4 == 0 ? random() % std::size(pieces) : chosen[random() % std::size(chosen)];
            candidate += pieces[index];
        }
        ASSERT_NO_FATAL_FAILURE(expect_literal({candidate}, random() % 2 == 0));
    }
}

// Escapes of escapes come off one layer with each address that turns out to hide another.
TEST(scan_uri, finds_what_the_rules_find_behind_layers_of_escapes) {
    std::mt19937 random(6);
    for (int round = 0; round < 20'000; ++round) {
        wstring candidate = random() % 2 == 0 ? u"www.a.com/?b=c" : u"x.com";
        for (auto depth = random() % 12; depth > 0; --depth) {
            if (random() % 2 == 0) candidate = tackle::replace_all(candidate, u"%", u"%25");
            if (random() % 3 == 0) candidate = tackle::replace_all(candidate, u".", u"%2e");
            if (random() % 4 == 0) candidate = tackle::replace_all(candidate, u"/", u"%u002f");
            candidate =
                wstring(pieces[random() % std::size(pieces)]) + (random() % 2 == 0 ? u"http:" : u"www.") + candidate;
            if (random() % 3 == 0) candidate = u"x" + candidate;
        }
        ASSERT_NO_FATAL_FAILURE(expect_literal({u"http:x" + candidate}, random() % 2 == 0));
    }
}

struct hidden_case {
    const char* label;
    wstring candidate;
    wstring_view value; // empty if there is none
    wstring_view found_in;
};

const hidden_case hidden_cases[] = {
    {"one behind three", u"http:xhttp:yhttp://a.com/b", u"com.a/b", u"http://a.com/b"},
    {"not at the start of the rest", u"http:http:x?http:a.com", u"", u""},
    {"nor behind what looks like a mail address", u"http:x/www.y@www.a.com", u"", u""},
    {"a start inside labels is none", u"http:xwww.comwww.a.com", u"com.a.comwww.xwww", u"http:xwww.comwww.a.com"},
    {"label of 63", u"http:xhttp:yhttp:" + wstring(63, u'a') + u".com",
     u"com.aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa",
     u"http:aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa.com"},
    {"label of 64", u"http:xhttp:yhttp:" + wstring(64, u'a') + u".com", u"", u""},
    {"an escape whole without the port", u"http:xhttp:xhttp:x.c%6:80fm", u"com.x", u"http:x.c%6:80fm"},
    {"an escape whole by its last digit", u"http:xhttp:xhttp:xhttp:x.c%u006%252566m", u"com.x", u"http:x.c%u006fm"},
    {"one behind an escape too short, later", u"http:xhttp:xhttp:x.muse%2525%u%6d", u"museum.x", u"http:x.muse%%u%6d"},
};

TEST(scan_uri, finds_hidden_addresses) {
    for (const auto& c : hidden_cases) {
        SCOPED_TRACE(c.label);
        uri_list uris(true);
        scan_uri(c.candidate, false, uris);
        signature_list signatures;
        uris.move_to(signatures);
        ASSERT_EQ(signatures.size(), c.value.empty() ? 0U : 1U);
        if (c.value.empty()) continue;
        EXPECT_EQ(signatures[0].value, c.value);
        EXPECT_EQ(signatures[0].details, u"Input: \"" + wstring(c.found_in) + u"\"");
    }
}

TEST(uri_list, keeps_what_the_walk_keeps) {
    std::mt19937 random(7);
    for (int round = 0; round < 5'000; ++round) {
        std::vector<wstring> candidates;
        for (auto count = random() % 20; count > 0; --count) {
            wstring host = u"com";
            for (auto labels = random() % 3 + 1; labels > 0; --labels)
                host = wstring(random() % 3 + 1, static_cast<char16_t>(u'a' + random() % 2)) + u"." + host;
            for (auto segments = random() % 3; segments > 0; --segments)
                host += u"/" + wstring(random() % 2 + 1, u'p');
            candidates.push_back(u"http://" + host);
        }
        ASSERT_NO_FATAL_FAILURE(expect_literal(candidates, true));
    }
}

TEST(position_set, finds_neighbours) {
    std::mt19937 random(8);
    for (const std::size_t size : {1U, 63U, 64U, 65U, 4095U, 4096U, 4097U, 300'000U}) {
        position_set set;
        set.reset(size);
        std::set<std::size_t> expected;
        for (int round = 0; round < 2000; ++round) {
            const auto position = random() % size;
            if (random() % 3 == 0) {
                set.erase(position);
                expected.erase(position);
            } else {
                set.insert(position);
                expected.insert(position);
            }
            const auto asked = random() % (size + 1);
            const auto next = expected.lower_bound(asked);
            EXPECT_EQ(set.next(asked), next == expected.end() ? position_set::none : *next);
            EXPECT_EQ(set.previous(asked), next == expected.begin() ? position_set::none : *std::prev(next));
        }
    }
}

} // namespace
} // namespace brimwarden::analysis
