#include "analysis/plugins/text_analysis.h"
#include "tests/analysis/findings.h"

#include <gtest/gtest.h>

namespace {

using namespace brimwarden::analysis;
using std::string;
using tackle::internet::message2::part;

struct outcome {
    test_result_list results;
    signature_list signatures;

    // The type of each, and the value of a link after it.
    [[nodiscard]] string signature_lines() const {
        string all;
        for (const auto& record : signatures) {
            all += (all.empty() ? "" : ", ") + findings::narrow(record.type);
            if (record.type == u"tru") all += ' ' + findings::narrow(record.value);
        }
        return all;
    }
};

outcome analyse(const string& message) {
    const part root{tackle::string_view(message)};
    outcome found;
    trace_list trace;
    plugins::text_analysis::plugin().generate(root, found.signatures, found.results, trace);
    EXPECT_EQ(trace.size(), 0U);
    return found;
}

// One line: the loader ends it by two bytes more, which count for the size.
string line(const string& begin, std::size_t size) { return begin + string(size - 2 - begin.size(), 'x'); }
string high(std::size_t count) { return string(count, '\xE9'); }
string repeated(const string& text, unsigned times) {
    string result;
    while (times-- > 0)
        result += text;
    return result;
}

const string plain = "Content-Type: text/plain; charset=iso-8859-1\n\n";
const string html = "Content-Type: text/html; charset=iso-8859-1\n\n";
const string no_charset = "Content-Type: text/plain\n\n";
const string parts = "Content-Type: multipart/mixed; boundary=b";
const string link = "http://example.com/x ";

struct text_case {
    const char* label;
    string message;
    string results;
    string signatures;
};

const text_case text_cases[] = {
    {"nothing to show", "Content-Type: image/gif\n\nabc", "Message.Not_Displayable 20", ""},
    {"the largest", plain + line("", 262144), "", "tbd"},
    {"too large", plain + line("", 262145), "Part.Text.Too_Large 0", ""},
    {"a Subject too large to stand for the text", "Subject: " + string(262145, 'x') + "\n" + plain,
     "Part.Text.Empty 20, Part.Text.Too_Large 0", ""},
    {"short", plain + line("", 127), "Part.Text.Short 10", "tbd"},
    {"no longer short", plain + line("", 128), "", "tbd"},
    {"markup makes nothing longer", html + "<b title='" + string(200, 'x') + "'>a", "Part.Text.Short 10", "tbd"},

    {"noise in a text too short for it", no_charset + line(high(62), 64), "Part.Text.Short 10", "tbd"},
    {"just more than half of it high", no_charset + line(high(33), 65),
     "Part.Text.High_Bit_Noise 90, Part.Text.Short 10", "tbd"},
    {"not half of it high", no_charset + line(high(32), 65), "Part.Text.Short 10", "tbd"},
    {"half of it high", no_charset + line(high(33), 66), "Part.Text.Short 10", "tbd"},
    {"noise under a charset", plain + high(100), "Part.Text.Short 10", "tbd"},
    {"noise under an unknown charset", "Content-Type: text/plain; charset=x\n\n" + high(100), "Part.Text.Short 10",
     "tbd"},
    {"noise under a charset without a name", "Content-Type: text/plain; charset=\n\n" + high(100), "Part.Text.Short 10",
     "tbd"},
    {"noise that markup hides", "Content-Type: text/html\n\n<b title='" + high(100) + "'>a",
     "Part.Text.High_Bit_Noise 90, Part.Text.Short 10", "tbd"},

    {"inherited, which is none against noise",
     parts + "; charset=iso-8859-1\n\n--b\n" + no_charset + high(100) + "\n--b--",
     "Part.Text.Charset_Inheritance 50, Part.Text.High_Bit_Noise 90, Part.Text.Short 10", "tbd"},
    {"inherited for one without a name, which is one against noise",
     parts + "; charset=iso-8859-1\n\n--b\nContent-Type: text/plain; charset=\n\n" + high(100) + "\n--b--",
     "Part.Text.Charset_Inheritance 50, Part.Text.Short 10", "tbd"},
    {"nothing to inherit", parts + "\n\n--b\n" + no_charset + "abc\n--b--", "Part.Text.Short 10", "tbd"},
    {"an own charset", parts + "; charset=utf-8\n\n--b\n" + plain + "abc\n--b--", "Part.Text.Short 10", "tbd"},
    {"a root is nobody's heir", no_charset + "abc", "Part.Text.Short 10", "tbd"},

    {"no such charset, and the text goes on", "Content-Type: text/plain; charset=cp9999\n\n" + link,
     "Part.Text.Unicode_Conversion 40, Part.Text.Short 10", "tbd, tru com.example/x"},
    {"half a character", "Content-Type: text/plain; charset=shift_jis\n\nabc\x81",
     "Part.Text.Unicode_Conversion 40, Part.Text.Short 10", "tbd"},
    {"UTF-8 never fails", "Content-Type: text/plain; charset=utf-8\n\nabc\xFF", "Part.Text.Short 10", "tbd"},
    {"inherited and of no use", parts + "; charset=cp9999\n\n--b\n" + no_charset + "abc\n--b--",
     "Part.Text.Charset_Inheritance 50, Part.Text.Unicode_Conversion 40, Part.Text.Short 10", "tbd"},

    {"empty, read by its Subject", "Subject: " + link + "\n" + plain, "Part.Text.Empty 20", "tbd, tru com.example/x"},
    {"empty without a Subject", plain + " \t", "Part.Text.Empty 50", ""},
    {"empty with a blank Subject", "Subject: =?utf-8?Q?_=C2=A0?=\n" + plain, "Part.Text.Empty 50", ""},
    {"empty with an unreadable Subject", "Subject: a =?utf-8?Q?=ZZ?=\n" + plain, "Part.Text.Empty 50", ""},
    {"nothing but an image, its link is found", "Subject: s\n" + html + "<img src=" + link + ">", "Part.Text.Empty 20",
     "tbd, tru com.example/x"},

    {"HTML without a body", html + "<p>abc", "Part.Text.Short 10", "tbd"},
    {"HTML with one", html + "abc<body> </body>", "Part.Text.Empty 50", ""},
    {"what only begins like HTML is text", "Content-Type: text/html5\n\n<img src=http://example.com/x>",
     "Part.Text.Short 10", "tbd, tru com.example/x>"},

    {"the longest text that is searched", plain + line(link, 65535), "", "tbd, tru com.example/x"},
    {"too long to be searched", plain + line(link, 65536), "", "tbd"},
    {"not for words", plain + line("www.example.com ", 65536), "", "tbd, tru com.example.www"},
    {"nor for links", html + "<img src=" + link + ">" + string(65536, 'x'), "", "tbd, tru com.example/x"},
    {"the recipient's domain goes last",
     "To: a@example.com\n" + html + "<img src=http://example.com/y> " + link + "www.example.com http://example.org",
     "Part.Text.Short 10", "tbd, tru org.example"},
    {"everything, in order",
     "To: someone@x.example\n" + html + "<img src=http://image.net> someone " + link +
         " www dot spoken dot org XJS*C4JDBQADN1.NSBN3*2IDNEN*GTUBE-STANDARD-ANTI-UBE-TEST-EMAIL*C.34X",
     "Part.Text.Short 10, Part.Text.Address_Customization 5, Diagnostic.GTUBE 100",
     "tbd, tru net.image, tru com.example/x, tru org.spoken.www"},
    // Eight words in turn, of one letter and of two: 80 changes of length, and 33 words make the first block.
    {"all kinds of signatures", plain + repeated("a bc d ef g hi k mn ", 10) + link, "",
     "tbd, tbd, tlc, tsd, tsd, tsd, tsd, tsd, tsd, tsd, tsd, tru com.example/x"},
};

TEST(text_analysis, finds) {
    for (const auto& c : text_cases) {
        SCOPED_TRACE(c.label);
        const auto found = analyse(c.message);
        EXPECT_EQ(findings::joined(found.results), c.results);
        EXPECT_EQ(found.signature_lines(), c.signatures);
    }
}

TEST(text_analysis, tells_why_a_text_could_not_be_converted) {
    const struct {
        const char* label;
        string message;
        const char16_t* details;
    } cases[] = {
        {"own", "Content-Type: text/plain; charset=CP9999\n\nabc",
         u"Error: unicode.invalid_codepage[] Character Set: cp9999"},
        {"bytes", "Content-Type: text/plain; charset=shift_jis\n\n\x81",
         u"Error: unicode.unmappable_character[] Character Set: shift_jis"},
        {"inherited: the part's own default",
         "Content-Type: multipart/mixed; boundary=b; charset=cp9999\n\n--b\n" + no_charset + "abc\n--b--",
         u"Error: unicode.invalid_codepage[] Character Set: iso-8859-1"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        const auto found = analyse(c.message);
        ASSERT_GE(found.results.size(), 2U);
        EXPECT_EQ(found.results[found.results.size() - 2].details, c.details);
    }
}

// Copies of one spam that differ only in whom they greet have the same signatures.
TEST(text_analysis, signs_no_name_of_a_recipient) {
    for (const string name : {"someone", "another"}) {
        SCOPED_TRACE(name);
        const auto found = analyse("To: " + name + "@x.example\n" + plain + name + " hello");
        ASSERT_EQ(found.signatures.size(), 1U);
        EXPECT_EQ(found.signatures[0].value, u"jiXsSh7PfsmE+MQXi/cOmQ"); // MD5 of the letters "ehio" of hello
    }
}

} // namespace
