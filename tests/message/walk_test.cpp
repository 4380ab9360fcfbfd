#include "message/part.h"

#include <gtest/gtest.h>

namespace tackle::internet::message2 {
namespace {

// A multipart of the children, each "type", "type!" as an attachment or "type?" with a disposition that has an unreadable
// parameter.
string multipart(const string& type, const string& boundary, std::initializer_list<string> children) {
    string out = "content-type: " + type + "; boundary=" + boundary + "\n\n";
    for (const string& child : children) {
        out += "--" + boundary + "\n";
        const string plain = child.substr(0, child.find_last_not_of("!?") + 1);
        if (plain != child) out += "content-disposition: attachment";
        if (child.ends_with("?")) out += "; filename==?x?Q?=ZZ?=";
        if (plain != child) out += "\n";
        out += child.starts_with("content-type") ? child : "content-type: " + plain + "\n\n";
    }
    return out + "--" + boundary + "--\n";
}

TEST(find_parts, lists_breadth_first) {
    part root(multipart("multipart/x", "a",
                        {multipart("multipart/y", "b", {"text/1", "text/2"}), "text/3",
                         "content-type: message/rfc822\n\ncontent-type: text/4\n\n"}));
    const auto types = [&](bool skip_nested, string_view prefix) {
        std::vector<part*> parts;
        root.find_parts(parts, skip_nested, prefix);
        string out;
        for (const part* found : parts)
            out.append(found->content_type()) += " ";
        return out;
    };
    EXPECT_EQ(types(false, ""), "multipart/x multipart/y text/3 message/rfc822 text/1 text/2 text/4 ");
    EXPECT_EQ(types(true, ""), "multipart/x multipart/y text/3 text/1 text/2 ");
    EXPECT_EQ(types(false, "TEXT/"), "text/3 text/1 text/2 text/4 ");
    std::vector<const part*> inside;
    static_cast<const part&>(*root.children()[2]).find_parts(inside, true, "");
    EXPECT_TRUE(inside.empty());
}

TEST(find_displayable, prefers_html_that_is_no_attachment) {
    const struct {
        const char* label;
        string message;
        const char* expected; // the type that is shown
    } cases[] = {
        {"a text alone", "\nx", "text/plain"},
        {"something else alone", "content-type: application/pdf\n\nx", "none"},
        {"HTML after plain text", multipart("multipart/x", "a", {"text/plain", "text/html"}), "text/html"},
        {"HTML before plain text", multipart("multipart/x", "a", {"text/html", "text/plain"}), "text/html"},
        {"attached HTML", multipart("multipart/x", "a", {"text/html!", "text/plain"}), "text/plain"},
        {"attached HTML and attached text", multipart("multipart/x", "a", {"text/plain!", "text/html!"}), "text/html"},
        {"attached text", multipart("multipart/x", "a", {"text/plain!"}), "text/plain"},
        {"HTML after attached HTML", multipart("multipart/x", "a", {"text/html!", "text/html-2"}), "text/html-2"},
        {"attached HTML with an unreadable name", multipart("multipart/x", "a", {"text/html?", "text/html-2"}),
         "text/html-2"},
        {"deeper HTML before nearer text",
         multipart("multipart/x", "a", {"text/plain", multipart("multipart/y", "b", {"text/html"})}), "text/html"},
        {"the first multipart below a root that is no multipart",
         multipart(
             "x/y", "a",
             {multipart("multipart/y", "b", {"a/b"}), multipart("multipart/y", "b", {"text/plain-2"}), "text/html"}),
         "text/plain-2"},
        {"the root at last", multipart("x/y", "a", {multipart("multipart/y", "b", {"a/b"}), "text/html"}), "text/html"},
        {"not in an attached message",
         multipart("multipart/x", "a", {"content-type: message/rfc822\n\ncontent-type: text/html\n\n", "text/plain!"}),
         "text/plain"},
        {"not in the message that the root is", "content-type: message/rfc822\n\ncontent-type: text/html\n\n", "none"},
    };
    for (const auto& c : cases) {
        const part root(c.message);
        const part* const shown = root.find_displayable();
        EXPECT_EQ(shown != nullptr ? shown->content_type() : "none", c.expected) << c.label;
    }
}

TEST(attachment_info, is_read_from_type_and_disposition) {
    const struct {
        const char* label;
        string_view message;
        bool is_attachment;
        wstring_view filename;
    } cases[] = {
        {"no field says anything", "\n", false, u""},
        {"a name in the type", "content-type: a/b; name=x", false, u"x"},
        {"an attached message", "content-type: Message/RFC822\n\n", true, u""},
        {"an inline attached message", "content-type: message/rfc822\ncontent-disposition: inline\n\n", false, u""},
        {"an attachment", "content-disposition: ATTACHMENT; filename=y\ncontent-type: a/b; name=x", true, u"y"},
        {"an attachment without filename has the name of the type",
         "content-disposition: attachment\ncontent-type: a/b; name=x", true, u"x"},
        {"a blank after the disposition", "content-disposition: attachment ; filename=y", false, u"y"},
        {"an eml file has become a message", "content-type: application/octet-stream; name=x.eml\n\n", true, u"x.eml"},
        {"the first name of two fields", "content-type: a/b; name=x\ncontent-type: message/rfc822; name=z\n\n", true,
         u"x"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        const part node(c.message);
        EXPECT_EQ(node.attachment_info().is_attachment, c.is_attachment);
        EXPECT_EQ(node.attachment_info().filename, c.filename);
    }
}

} // namespace
} // namespace tackle::internet::message2
