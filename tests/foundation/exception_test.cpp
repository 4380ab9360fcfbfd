#include "foundation/exception.h"

#include <gtest/gtest.h>

namespace tackle {
namespace {

class family : public exception {
public:
    explicit family(const string& text) : exception(text) { append_code("internet.transport"); }
};
class failed : public family {
public:
    explicit failed(const string& text) : family(text) { append_code("connection_failed"); }
};
class reset : public failed {
public:
    explicit reset(const string& text) : failed(text) { append_code("connection_reset"); }
};

TEST(exception, shows_code_and_message) {
    const struct {
        const char* label;
        exception raised;
        string code;
        string message;
        string what;
    } cases[] = {
        {"nothing at all", exception(string()), "", "", "[]"},
        {"no code", exception(string("x")), "", "x", "[x]"},
        {"a string is no format", exception(string("100%d")), "", "100%d", "[100%d]"},
        {"a format", exception("SetEvent returned 0x%08x", 6u), "", "SetEvent returned 0x00000006",
         "[SetEvent returned 0x00000006]"},
        {"root of a family", family("x"), "internet.transport", "x", "internet.transport[x]"},
        {"leaf of a family", reset("x"), "internet.transport.connection_failed.connection_reset", "x",
         "internet.transport.connection_failed.connection_reset[x]"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        EXPECT_STREQ(c.raised.code(), c.code.c_str());
        EXPECT_STREQ(c.raised.message(), c.message.c_str());
        EXPECT_STREQ(c.raised.what(), c.what.c_str());
        EXPECT_STREQ(c.raised.what(), c.what.c_str()); // built afresh, not grown
    }
}

TEST(exception, keeps_its_texts_when_thrown) {
    try {
        const reset original("peer went away");
        throw original; // a copy
    } catch (const std::exception& raised) {
        EXPECT_STREQ(raised.what(), "internet.transport.connection_failed.connection_reset[peer went away]");
    }
}

} // namespace
} // namespace tackle
