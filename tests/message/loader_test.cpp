#include "message/part.h"

#include "foundation/coding/coding.h"
#include "foundation/text/strings.h"
#include "foundation/text/unicode.h"
#include "message/header_type/unstructured_value_type.h"

#include <gtest/gtest.h>

namespace tackle::internet::message2 {
namespace {

using pairs = std::vector<std::pair<string, string>>;

pairs fields(const part& node) {
    pairs out;
    for (const auto& [name, value] : node.headers())
        out.emplace_back(name, value);
    return out;
}

// Type, data and children of a part on one line: "type(data)[child, child]".
string outline(const part& node) {
    string out = string(node.content_type()).append("(").append(node.data()) + ")";
    if (node.children().empty()) return out;
    out += "[";
    for (const auto& child : node.children())
        out += (out.ends_with("[") ? "" : ", ") + outline(*child);
    return out + "]";
}

TEST(loader, reads_header_lines) {
    const struct {
        const char* label;
        string_view message;
        pairs expected; // without the Content-Type that is added
    } cases[] = {
        {"no header", "", {}},
        {"a colon, a blank, both, many separate",
         "a:b\nc d\ne : f\ng:: :h",
         {{"a", "b"}, {"c", "d"}, {"e", "f"}, {"g", "h"}}},
        {"only the first separator counts", "one two: three", {{"one", "two: three"}}},
        {"no separator", "name", {{"name", ""}}},
        {"no name", ": x\n:y", {{"", "x"}, {"", "y"}}},
        {"blanks at the end stay, white space becomes blanks", "a: b\tc\x0B\x0C d  \n", {{"a", "b c   d  "}}},
        {"folded lines", "a: b\n c\r\n\t  d\r e", {{"a", "b c d e"}}},
        {"a blank line continues", "a: b\n \n c\n\nd: e", {{"a", "b  c"}}},
        {"separators in a folded line before the value", "a:\n : b:", {{"a", "b:"}}},
        {"the first line begins with a blank", " a: b\n c", {{"a", "b c"}}},
        {"duplicates stay", "a: 1\nA: 2\na: 1", {{"a", "1"}, {"A", "2"}, {"a", "1"}}},
        {"NUL and high bytes", string_view("a: \0\xE9", 5), {{"a", string("\0\xE9", 2)}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        auto expected = c.expected;
        expected.emplace_back("Content-Type", "");
        EXPECT_EQ(fields(part(c.message)), expected);
    }
}

TEST(loader, splits_bodies) {
    const struct {
        const char* label;
        string_view message;
        string_view expected; // outline
    } cases[] = {
        {"empty message", "", "text/plain()"},
        {"headers without a body", "a: b\n", "text/plain()"},
        {"every end of a line", "\n1\r\n2\n\r3\r4\n5\r\r6\n\n7",
         "text/plain(1\r\n2\r\n3\r\n4\r\n5\r\n\r\n6\r\n\r\n7\r\n)"},
        {"the last, empty line is one", "\nx\n", "text/plain(x\r\n\r\n)"},
        {"NUL in a body", string_view("\nx\0y", 4), string_view("text/plain(x\0y\r\n)", 17)},
        {"base64", "content-transfer-encoding: BASE64 \n\nQU\nJD\n", "text/plain(ABC)"},
        {"base64, decoded together at four bytes", "content-transfer-encoding: base64\n\nQ\nQ\nQ\nQUJD\n",
         "text/plain(A\x04\x10P\x90)"},
        {"base64, bits dropped at four bytes", "content-transfer-encoding: base64\n\nQQ==\nQQ==\n", "text/plain(AA)"},
        {"base64 with illegal bytes", "content-transfer-encoding: base64\n\nQ*UJD\n***\n", "text/plain(ABC)"},
        {"quoted-printable", "content-transfer-encoding: quoted-printable\n\n=41=\nb=ZZ\n=\nc==\n",
         "text/plain(Ab=ZZ\r\nc=\r\n)"},
        {"quoted-printable longer than a block, with every end of a line",
         "content-transfer-encoding: quoted-printable\n\n0123456789abcdef\r\nx\n\r\ny=\r\n=41=4=ZZ 0123456789=\n=3D\rz",
         "text/plain(0123456789abcdef\r\nx\r\n\r\nyA=4=ZZ 0123456789=\r\nz\r\n)"},
        {"an unknown encoding decodes nothing", "content-transfer-encoding: x-base64\n\n=41\n",
         "text/plain(=41\r\n\r\n)"},
        {"an unreadable encoding decodes nothing", "content-transfer-encoding: =?x?Q?=ZZ?=\n\n=41\n",
         "text/plain(=41\r\n\r\n)"},
        {"the first encoding counts",
         "content-transfer-encoding: 8bit\ncontent-transfer-encoding: base64\n\nQQ==", "text/plain(QQ==\r\n)"},
        {"a multipart without boundary", "Content-Type: multipart/mixed\n\n--\n----\n",
         "multipart/mixed(--\r\n----\r\n\r\n)"},
        {"a boundary in a text", "content-type: Text/X; boundary=b\n\npre\n--b\n\nx\n--b--\nepilogue",
         "text/x(pre\r\n)[text/plain(x\r\n)]"},
        {"the preamble is decoded",
         "content-transfer-encoding: base64\ncontent-type: m/x; boundary=b\n\nQUJD\n--b\n\nQUJD\n",
         "m/x(ABC)[text/plain(QUJD\r\n\r\n)]"},
        {"lines that are no delimiter", "content-type: m/x; boundary=b\n\n--b \n -- b\n--B\n",
         "m/x(--b \r\n -- b\r\n--B\r\n\r\n)"},
        {"a boundary without a closing line", "content-type: m/x; boundary=b\n\n--b\n\nx", "m/x()[text/plain(x\r\n)]"},
        {"nothing between delimiters", "content-type: m/x; boundary=b\n\n--b\n--b\n--b",
         "m/x()[text/plain(), text/plain(), text/plain()]"},
        {"a multipart closed at once", "content-type: m/x; boundary=b\n\n--b--\n--b\n\nx", "m/x()"},
        {"a delimiter in the headers", "content-type: m/x; boundary=b\n--b\n\n--b\na: b\n--b\n\nx",
         "m/x()[text/plain(), text/plain(x\r\n)]"},
        {"a child with the boundary of its parent is cut",
         "content-type: m/x; boundary=b\n\n--b\ncontent-type: m/y; boundary=b\n\n--b\n\nx\n--b--",
         "m/x()[m/y(), text/plain(x\r\n)]"},
        {"an outer closing line is an inner delimiter",
         "content-type: m/x; boundary=b\n\n--b\ncontent-type: m/y; boundary=b--\n\n--b--\n\nx", "m/x()[m/y()]"},
        {"an inner closing line is an outer delimiter",
         "content-type: m/x; boundary=b--\n\n--b--\ncontent-type: m/y; boundary=b\n\n--b--\n\nx",
         "m/x()[m/y(), text/plain(x\r\n)]"},
        {"after a closing line an outer delimiter counts",
         "content-type: m/x; boundary=a\n\n--a\ncontent-type: m/y; boundary=b\n\n--b--\n--b\n--a\n\nx",
         "m/x()[m/y(), text/plain(x\r\n)]"},
        {"an attached message is no body and not decoded",
         "content-type: message/rfc822\ncontent-transfer-encoding: base64\n\ncontent-type: t/x\n\nQUJD",
         "message/rfc822()[t/x(QUJD\r\n)]"},
        {"an attached message with a boundary has a child before it",
         "content-type: message/rfc822; boundary=b\n\na: b\n\nx\n--b\n\ny\n--b--",
         "message/rfc822()[text/plain(x\r\n), text/plain(y\r\n)]"},
        {"a blank after the type makes another type", "content-type: message/rfc822 ; a=b\n\nx",
         "message/rfc822 (x\r\n)"},
        {"the last type counts", "content-type: m/x; boundary=b\ncontent-type: m/y\n\n--b\n", "m/y(--b\r\n\r\n)"},
        {"an eml file", "content-type: application/octet-stream; name=A.EML\n\na: b\n\nx\n",
         "message/rfc822()[text/plain(x\r\n\r\n\r\n)]"},
        {"an eml file of another type", "content-type: application/x; name=a.eml\n\nx", "application/x(x\r\n)"},
        {"an eml file with a boundary",
         "content-type: application/octet-stream; name=a.eml; boundary=b\n\na: b\n\nx\n--b\n\ny",
         "message/rfc822()[text/plain(x\r\n\r\n), text/plain(y\r\n)]"},
        {"an eml file with an unreadable name",
         "content-type: application/octet-stream; name=a.eml\ncontent-disposition: x; filename==?x?Q?=ZZ?=\"\"\n\nx",
         "message/rfc822()[text/plain()]"},
        {"uuencoded file and the text around it", "\nx\nbegin 644 a.png\n#0V%T\n`\nend\ny",
         "multipart/mixed()[image/png(Cat), text/plain(x\r\ny\r\n)]"},
        {"uuencode: the length of a line does not count", "\nbegin 1 a.HTML\n!0V%T0V%T\nendless",
         "multipart/mixed()[text/html(CatCat), text/plain()]"},
        {"uuencode: two files, a blank is a digit", "\nbegin 6 a.jpeg\n#0V%T\nend\nbegin 6 b\n# V%T\nend",
         "multipart/mixed()[image/jpeg(Cat), application/octet-stream(\x03\x61t), text/plain()]"},
        {"uuencode: no name and nothing in it", "\nbegin  \nend\n",
         "multipart/mixed()[application/octet-stream(), text/plain(\r\n)]"},
        {"uuencode: an empty line within", "\nbegin 6 a\n#0V%T\n\nend",
         "text/plain(begin 6 a\r\n#0V%T\r\n\r\nend\r\n)"},
        {"uuencode: no end", "\nbegin 6 a\n#0V%T", "text/plain(begin 6 a\r\n#0V%T\r\n)"},
        {"uuencode: a byte outside the alphabet", "\nbegin 6 a\n#0a\nend", "text/plain(begin 6 a\r\n#0a\r\nend\r\n)"},
        {"uuencode: one blank in the first line", "\nbegin 6\n#0V%T\nend", "text/plain(begin 6\r\n#0V%T\r\nend\r\n)"},
        {"uuencode: begin not at the start of a line", "\n begin 6 a\n#0V%T\nend",
         "text/plain( begin 6 a\r\n#0V%T\r\nend\r\n)"},
        {"uuencode: begin within a file that fails", "\nbegin 6 a\nbegin 6 b\n#0V%T\nend",
         "multipart/mixed()[application/octet-stream(Cat), text/plain(begin 6 a\r\n)]"},
        {"uuencode: a longer word and more blanks", "\nbeginning  x y.gif\n#0V%T\nend",
         "multipart/mixed()[image/gif(Cat), text/plain()]"},
        {"uuencode: only in a body without encoding",
         "content-transfer-encoding: quoted-printable\n\nbegin 6 a\n#0V%T\nend",
         "text/plain(begin 6 a\r\n#0V%T\r\nend\r\n)"},
        {"uuencode: in a preamble, which keeps its delimiters",
         "content-type: text/x; boundary=b\n\nbegin 6 a.txt\n#0V%T\nend\nx\n--b\n\ny\n--b--",
         "multipart/mixed()[text/plain(Cat), text/x(x\r\n), text/plain(y\r\n)]"},
        {"uuencode: in an octet stream named eml",
         "content-type: application/octet-stream; name=a.eml\n\nbegin 6 a.txt\n#0V%T\nend",
         "multipart/mixed()[text/plain(Cat), application/octet-stream()]"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        EXPECT_EQ(outline(part(c.message)), c.expected);
    }
}

TEST(loader, gives_a_uuencoded_file_its_headers_and_the_text_its_charset) {
    const part root("Content-Type: text/plain; charset=Shift_JIS; boundary=b\n\nbegin 6 \x81\n#0V%T\nend\n");
    EXPECT_EQ(root.charset(), "iso-8859-1");
    EXPECT_EQ(root.boundary(), "=_uue_conversion_boundary");
    EXPECT_EQ(root.children()[1]->charset(), "shift_jis");
    EXPECT_EQ(root.children()[1]->boundary(), "b");
    const part& file = *root.children()[0];
    // A lone lead byte is no Shift-JIS: the name is its bytes.
    EXPECT_EQ(fields(file), (pairs{{"Content-Type", "text/plain; charset=\"iso-8859-1\""},
                                   {"Content-Transfer-Encoding", "quoted-printable"},
                                   {"Content-Disposition", "attachment; filename=\"=?utf-8?B?woE=?=\""},
                                   {"Content-Transfer-Encoding", "base64"}}));
    EXPECT_EQ(file.attachment_info().filename, u"\u0081");
}

// A field repeated as often as parts are to be nested; "#" in it is the depth.
string nested(const string& field, int count) {
    string message;
    for (int depth = 0; depth < count; ++depth)
        message += replace_all(field, "#", std::to_string(depth)) + "\n";
    return message + "\nx";
}

TEST(loader, nests_64_deep_and_no_deeper) {
    for (const char* const field : {"content-type: message/rfc822\n", "content-type: m/x; boundary=#\n\n--#",
                                    "content-type: application/octet-stream; name=a.eml\n"}) {
        const part root(nested(field, 64));
        const part* deepest = &root;
        int depth = 0;
        for (; !deepest->children().empty(); ++depth)
            deepest = deepest->children().front().get();
        EXPECT_EQ(depth, 64);
        EXPECT_TRUE(deepest->data().starts_with("x\r\n"));
        EXPECT_THROW(part(nested(field, 65)), depth_limit);
    }
}

// Attached files are parsed late; what fails first is what comes first in the message.
TEST(loader, fails_for_a_content_type_that_cannot_be_read) {
    EXPECT_THROW(part("Content-Type: =?cp9999?B?gA==?="), unicode::invalid_codepage);
    EXPECT_EQ(outline(part("Content-Type: m/x; a=\"=?cp9999?B?gA==?=\"; boundary=b\n\n--b\n")), "m/x()[text/plain()]");
    EXPECT_NO_THROW(part("Subject: =?x?Q?=ZZ?=\nContent-Disposition: =?x?Q?=ZZ?=\n\n"));
    const string bad = "Content-Type: =?x?Q?=ZZ?=\n", head = "Content-Type: multipart/mixed; boundary=a\n\n--a\n";
    const string deep = nested("Content-Type: message/rfc822\n", 70);
    const string attached = "Content-Type: application/octet-stream; name=x.eml\n\n";
    EXPECT_THROW(part{bad}, coding::translate::invalid_codeword);
    for (const string& message :
         {head + bad, head + attached + bad + "\n--a\n" + deep, head + attached + bad + "\n--a\n" + attached + deep})
        EXPECT_THROW(part{message}, coding::translate::invalid_codeword) << message;
    for (const string& message :
         {head + deep, head + attached + deep + "\n--a\n" + bad, head + attached + deep + "\n--a\n" + attached + bad})
        EXPECT_THROW(part{message}, depth_limit) << message;
}

TEST(loader, takes_lists_of_lines_and_files) {
    EXPECT_EQ(outline(part(std::list<string>{})), "text/plain()");
    EXPECT_EQ(outline(part(std::list<string>{""})), "text/plain()");
    EXPECT_EQ(outline(part(std::list<string>{"", "x", ""})), "text/plain(x\r\n\r\n)");
    const std::list<string> lines = {"a: b", "", "", "x"};
    EXPECT_EQ(outline(part(lines.begin(), std::next(lines.begin(), 3))), "text/plain(\r\n)");
    EXPECT_THROW(part(wstring_view(u"no such file")), load_failed);
}

TEST(part, copies_deep) {
    part root("content-type: m/x; boundary=b\n\n--b\n\nx\n--b\n\ny");
    part copy(root);
    EXPECT_EQ(outline(copy), "m/x()[text/plain(x\r\n), text/plain(y\r\n)]");
    EXPECT_NE(copy.children()[0].get(), root.children()[0].get());
    copy = *copy.children()[1]; // out of the tree that goes
    EXPECT_EQ(outline(copy), "text/plain(y\r\n)");
    const part& same = root;
    root = same;
    EXPECT_EQ(root.children().size(), 2U);
}

TEST(part, widens_text_when_asked) {
    part latin("Content-Type: text/plain; charset=ISO-8859-1\n\n\xE9");
    EXPECT_EQ(latin.text(), u"\u00E9\r\n");
    EXPECT_EQ(latin.text_in(65001), "\xC3\xA9\r\n");
    EXPECT_THROW(latin.set_text(u"\u20AC"), unicode::unmappable_character);
    EXPECT_EQ(latin.text(), u"\u00E9\r\n");
    latin.set_text("\xC3\xA8", 65001);
    EXPECT_EQ(latin.data(), "\xE8");
    part broken("Content-Type: text/plain; charset=shift_jis\n\n\x81");
    EXPECT_THROW(broken.text(), unicode::generic);
    EXPECT_THROW(broken.text(), unicode::generic);
}

TEST(part, edits_headers) {
    part node("a: 1\nb: 2\nA: 3\n");
    string raw = "kept";
    EXPECT_FALSE(node.get_header("c", raw));
    EXPECT_EQ(raw, "kept");
    EXPECT_TRUE(node.get_header("A", raw));
    EXPECT_EQ(raw, "1");
    node.remove_headers("a");
    header_type::unstructured_value_type value("utf-8");
    value.set_value(u"\u00E9");
    node.add_header("a", value);
    EXPECT_EQ(fields(node), (pairs{{"b", "2"}, {"Content-Type", ""}, {"a", "=?utf-8?B?w6k=?="}}));
}

} // namespace
} // namespace tackle::internet::message2
