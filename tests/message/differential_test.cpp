#include "foundation/coding/coding.h"
#include "foundation/text/strings.h"
#include "reference_loader.h"

#include <gtest/gtest.h>

#include <random>

namespace tackle::internet::message2 {
namespace {

using coding::translate::base64_encode;

// Makes messages of few different lines, so that boundaries meet, cut each other and turn up where they do not belong.
class message_maker {
public:
    explicit message_maker(unsigned seed) : random_(seed) {}

    string make() {
        message_.clear();
        if (below(4) == 0) {
            for (unsigned count = below(40); count > 0; --count)
                add(any_line());
        } else {
            add_part(0);
        }
        if (!message_.empty() && below(3) == 0) message_.resize(below(static_cast<unsigned>(message_.size())));
        return message_;
    }

private:
    unsigned below(unsigned limit) { return std::uniform_int_distribution<unsigned>(0, limit - 1)(random_); }
    template <std::size_t count>
    const char* one_of(const char* const (&list)[count]) {
        return list[below(count)];
    }

    void add(const string& line) { (message_ += line) += one_of({"\n", "\n", "\r\n", "\r\n", "\r", "\n\r"}); }

    string boundary() { return one_of({"a", "a", "b", "b", "a--", "--a", "-", "--", "a----", "ab"}); }

    string any_line() {
        static const char* const texts[] = {"",
                                            "",
                                            "",
                                            " ",
                                            "\t",
                                            " a: b",
                                            "text",
                                            "a=",
                                            "QUJD",
                                            "QQ",
                                            "=41=zz",
                                            "a=4",
                                            "=3D3D3D41",
                                            "=0D",
                                            "=2D=2Da",
                                            "----",
                                            "--",
                                            "-",
                                            "begin 644 a.txt",
                                            "begin 644 b\n#0V%T\nend",
                                            "begin 644 ",
                                            "begin 644",
                                            "begin",
                                            "begin 6 x\x81.eml",
                                            "#0V%T",
                                            "`",
                                            "end",
                                            "endless",
                                            "M:b",
                                            "Name x",
                                            ":",
                                            "\x0B x"};
        switch (below(4)) {
        case 0:
            return "--" + boundary() + one_of({"", "", "--", " "});
        case 1:
            return header();
        default:
            return one_of(texts);
        }
    }

    string header() {
        switch (below(8)) {
        case 0:
            return "Content-Type: message/rfc822";
        case 1:
            return "Content-Type: message/rfc822; boundary=" + boundary();
        case 2:
            return string("Content-Type: application/octet-stream; name=") + one_of({"x.eml", "X.EML", "x"}) +
                   one_of({"", "", "; boundary=b"});
        case 3:
            return string("Content-Transfer-Encoding: ") +
                   one_of({"base64", "BASE64", "quoted-printable", "8bit", "=?utf-8?Q?=ZZ?="});
        case 4:
            return string("Content-Disposition: attachment; filename=") + one_of({"y.eml", "y", "\"=?x?Q?=ZZ?=\""});
        case 5:
            if (below(8) == 0) return "Content-Type: =?x?Q?=ZZ?=";
            return one_of({"content-type text/html; charset=UTF-8", "Content-Type",
                           "CONTENT-TYPE : Text/Plain; charset=shift_jis"});
        default:
            return "Content-Type: multipart/mixed; boundary=" + boundary();
        }
    }

    void add_part(unsigned depth) {
        const string inner = boundary();
        for (unsigned count = below(3); count > 0; --count)
            add(header());
        if (below(4) != 0)
            add(one_of({"Content-Type: multipart/mixed;", "Content-Type: message/rfc822;"}) + (" boundary=" + inner));
        if (below(6) == 0) add(" boundary=" + boundary());
        if (below(10) != 0) add("");
        for (unsigned count = below(4); count > 0; --count)
            add(any_line());
        for (unsigned count = depth < 5 ? below(4) : 0; count > 0; --count) {
            if (below(5) != 0) add("--" + inner);
            if (below(4) == 0) {
                add_attached(depth);
            } else {
                add_part(depth + 1);
            }
            if (below(6) == 0) add("--" + inner + "--");
        }
        for (unsigned count = below(3); count > 0; --count)
            add(any_line());
    }

    void add_attached(unsigned depth) {
        const string outer = std::exchange(message_, {});
        add_part(depth + 2);
        const string inner = std::exchange(message_, outer);
        // A few links that hold each other, with boundaries that may be those around them, and text in each.
        while (below(4) != 0) {
            add("Content-Type: application/octet-stream; name=x.eml");
            if (below(2) == 0) add(" ; boundary=" + boundary());
            if (below(2) == 0) add("Content-Transfer-Encoding: quoted-printable");
            if (below(8) == 0) add("Content-Transfer-Encoding: base64");
            if (below(8) != 0) add("");
            if (below(16) == 0) add(any_line());
        }
        if (below(4) != 0) {
            message_ += inner;
            return;
        }
        add("Content-Type: application/octet-stream; name=x.eml");
        add("Content-Transfer-Encoding: base64");
        add("");
        const string encoded = base64_encode(inner, true);
        for (std::size_t at = 0; at < encoded.size(); at += 30)
            add(encoded.substr(at, 30));
    }

    std::mt19937 random_;
    string message_;
};

template <typename load_function>
string outcome(const load_function& load) {
    try {
        return load();
    } catch (const depth_limit&) {
        return "too deep";
    } catch (const coding::translate::generic&) {
        return "undecodable";
    }
}

TEST(loader, makes_the_tree_of_the_plain_rules) {
    unsigned unreadable = 0;
    unsigned three_deep = 0;
    unsigned uuencoded = 0;
    unsigned attached = 0;
    for (unsigned seed = 0; seed < 6000; ++seed) {
        const string message = message_maker(seed).make();
        const string expected = outcome([&] { return describe(load_by_reference(message)); });
        const string loaded = outcome([&] { return describe(part(message)); });
        ASSERT_EQ(loaded, expected) << "seed " << seed << "\n" << message;
        unreadable += expected == "undecodable" ? 1 : 0;
        three_deep += contains(expected, "\n      [") ? 1 : 0;
        uuencoded += contains(expected, "[=_uue") ? 1 : 0;
        attached += contains(expected, ".eml\n[message/rfc822]") ? 1 : 0;
    }
    // The maker did its work.
    EXPECT_GT(unreadable, 150U);
    EXPECT_GT(three_deep, 600U);
    EXPECT_GT(uuencoded, 60U);
    EXPECT_GT(attached, 30U);
}

// Failures of attached messages, which are parsed late, against those of what stands around them.
TEST(loader, fails_as_if_each_attached_message_was_parsed_where_it_stands) {
    const string bad = "Content-Type: =?x?Q?=ZZ?=\n";
    string deep;
    for (int depth = 0; depth < 70; ++depth)
        deep += "Content-Type: message/rfc822\n\n";
    const auto attach = [](const string& message) {
        return "--a\nContent-Type: application/octet-stream; name=x.eml\n\n" + message + "\n";
    };
    const string head = "Content-Type: multipart/mixed; boundary=a\n\n";
    for (const string& message :
         {head + attach(bad) + "--a\n" + deep, head + attach(deep) + "--a\n" + bad, head + attach(bad) + attach(deep),
          head + attach(deep) + attach(bad), head + attach("x: y\n\nok") + "--a\n" + bad}) {
        const string expected = outcome([&] { return describe(load_by_reference(message)); });
        EXPECT_EQ(outcome([&] { return describe(part(message)); }), expected);
    }
}

} // namespace
} // namespace tackle::internet::message2
