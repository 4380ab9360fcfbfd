#include "message/part.h"

#include "foundation/text/line_buffer.h"
#include "foundation/text/unicode.h"
#include "fuzz/support/round_trip.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace tackle::internet::message2 {
namespace {

using lines = std::vector<string>;

TEST(render, writes_the_model) {
    const struct {
        const char* label;
        string message;
        lines expected;
    } cases[] = {
        {"headers only", "a:b\nc", {"a: b", "c: ", "Content-Type: text/plain; charset=\"iso-8859-1\"", ""}},
        {"type and charset are in lower case",
         "CONTENT-TYPE: TEXT/Plain; Charset=UTF-8; x=y;z\n",
         {"CONTENT-TYPE: text/plain; Charset=\"utf-8\"; x=\"y\"; z=\"\"", ""}},
        {"no charset unless text", "content-type: a/b; x=y; charset=z\n", {"content-type: a/b; x=\"y\"", ""}},
        {"every Content-Type is rebuilt",
         "content-type: a/b\ncontent-type: c/d; boundary=e\n",
         {"content-type: c/d; boundary=\"e\"", "content-type: c/d; boundary=\"e\"", ""}},
        {"text in the charset of an encoded word",
         "content-type: a/b; x=\"=?utf-8?B?w6k=?=\"\n",
         {"content-type: a/b; x=\"=?utf-8?B?w6k=?=\"", ""}},
        {"a parameter that does not fit the charset of the last word",
         "content-type: a/b; x=\"=?utf-8?Q?=E2=82=AC?= =?iso-8859-1?Q?x?=\"; y=z\n",
         {"content-type: a/b; x=\"=?utf-8?Q?=E2=82=AC?= =?iso-8859-1?Q?x?=\"; y=\"z\"", ""}},
        {"an unreadable parameter with its quote open",
         "content-type: text/b; x=\"=?utf-8?Q?=ZZ?=\n",
         {"content-type: text/b; charset=\"iso-8859-1\"; x=\"=?utf-8?Q?=ZZ?=", ""}},
        {"a plain body, its last line end too",
         "content-type: a/b\n\nx\n\ny",
         {"content-type: a/b", "", "x", "", "y", ""}},
        {"base64 of 58 bytes",
         "content-type: a/b\ncontent-transfer-encoding: base64\n\n" + string(76, 'Q') + "QQ==",
         {"content-type: a/b", "content-transfer-encoding: base64", "", string(76, 'Q'), "QQ=="}},
        {"quoted-printable",
         "content-type: a/b\ncontent-transfer-encoding: quoted-printable\n\n=E9\n\n" + string(61, 'x') + "\n" +
             string(60, 'x') + "\n" + string(60, 'x') + "=E9y",
         {"content-type: a/b", "content-transfer-encoding: quoted-printable", "", "=E9", "", string(61, 'x') + "=", "",
          string(60, 'x'), string(60, 'x') + "=E9=", "y", ""}},
        {"a multipart with its preamble",
         "content-type: multipart/x; boundary=b\n\np\n--b\ncontent-type: a/b\n\nx\n--b--",
         {"content-type: multipart/x; boundary=\"b\"", "", "p", "", "--b", "content-type: a/b", "", "x", "", "--b--"}},
        {"a multipart without children",
         "content-type: multipart/x; boundary=b\n",
         {"content-type: multipart/x; boundary=\"b\"", ""}},
        {"only the first child of anything else",
         "content-type: m/x; boundary=b\n\n--b\ncontent-type: a/b\n\n--b\ncontent-type: c/d\n\n",
         {"content-type: m/x; boundary=\"b\"", "", "content-type: a/b", ""}},
        {"a file that was uuencoded",
         "content-type: text/x\n\nbegin 6 f\n#0V%T\nend\ny",
         {"content-type: multipart/mixed; boundary=\"=_uue_conversion_boundary\"", "", "--=_uue_conversion_boundary",
          "Content-Type: application/octet-stream", "Content-Transfer-Encoding: quoted-printable",
          "Content-Disposition: attachment; filename=\"f\"", "Content-Transfer-Encoding: base64", "", "Cat",
          "--=_uue_conversion_boundary", "Content-Type: text/x; charset=\"iso-8859-1\"",
          "Content-Transfer-Encoding: quoted-printable", "", "y", "", "--=_uue_conversion_boundary--"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        const part node(c.message);
        EXPECT_EQ(node.render(), c.expected);
        EXPECT_EQ(node.render_text(), line_buffer(c.expected).read_all());
    }
    part wide("content-type: text/x");
    wide.set_content_type("text/\xE2\x82\xAC"); // has no place in the field's iso-8859-1
    EXPECT_EQ(wide.render(), (lines{"content-type: text/x", ""}));
}

TEST(render, starts_a_new_part_with_defaults) {
    EXPECT_EQ(part().render(), (lines{"Content-Type: text/plain; charset=\"iso-8859-1\"",
                                      "Content-Transfer-Encoding: quoted-printable", ""}));
}

// Nothing in real mail is beyond the promise.
TEST(render, loads_again_to_the_same_tree) {
    for (const auto& entry : std::filesystem::recursive_directory_iterator(BRMX_SOURCE_DIR "/samples"))
        if (entry.path().extension() == ".eml") {
            EXPECT_EQ(round_trip::compare(part(wstring_view(entry.path().u16string()))), round_trip::outcome::same)
                << entry.path();
        }
}

TEST(render, loads_again_to_the_same_data) {
    const string quoted = "content-transfer-encoding: quoted-printable\n\n";
    for (const string& body :
         {string("\n"), string("\n\n"), string("\nx"), string("\nx\n\n"), quoted + "x=", quoted + "=3Db\n=\n"}) {
        const part alone(body);
        EXPECT_EQ(part::from_rendered(alone.render_text()).data(), alone.data()) << body;
        const part inside("content-type: multipart/x; boundary=b\n\n--b\n" + body + "\n--b\n" + body);
        const part again = part::from_rendered(inside.render_text());
        for (const std::size_t child : {0, 1})
            EXPECT_EQ(again.children()[child]->data(), inside.children()[child]->data()) << body;
    }
}

TEST(save, writes_a_file_that_loads_again) {
    const auto path = std::filesystem::temp_directory_path() / "brmx_render_test.eml";
    const wstring name = path.u16string();
    part("content-type: a/b\n\n" + string(100000, 'x')).save(name);
    part("content-type: a/b\n\nx").save(name); // over the longer one
    EXPECT_EQ(std::filesystem::file_size(path), string_view("content-type: a/b\r\n\r\nx\r\n\r\n").size());
    EXPECT_EQ(part(wstring_view(name)).data(), "x\r\n\r\n\r\n");
    std::filesystem::remove(path);
    EXPECT_THROW(part().save((path / "x").u16string()), load_failed);
}

} // namespace
} // namespace tackle::internet::message2
