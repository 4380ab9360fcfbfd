#include "foundation/coding/md5.h"

#include "foundation/coding/coding.h"

#include <gtest/gtest.h>

namespace tackle::coding {
namespace {

// The first four are from the test suite of RFC 1321; the others were made with md5sum, at the edges of a block.
TEST(md5, digests) {
    const struct {
        string text;
        const char* digest;
    } cases[] = {
        {"", "d41d8cd98f00b204e9800998ecf8427e"},
        {"abc", "900150983cd24fb0d6963f7d28e17f72"},
        {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
        {"12345678901234567890123456789012345678901234567890123456789012345678901234567890",
         "57edf4a22be3c955ac49da2e2107b67a"},
        {string(55, 'a'), "ef1772b6dff9a122358552954ad0df65"},
        {string(56, 'a'), "3b0c8ac703f828b04c6c197006d17218"},
        {string(64, 'a'), "014842d480b571495a4a0363793f7367"},
        {string(120, 'a'), "5f61c0ccad4cac44c75ff505e1f1e537"},
        {string(1000000, 'a'), "7707d6ae4e027c70eea2a935c2296f21"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(translate::hex_encode(md5_digest(c.text)), c.digest) << c.text.size() << " bytes";
    EXPECT_EQ(md5_base64(md5_digest("")), "1B2M2Y8AsgTpgAmY7PhCfg");
}

TEST(md5, does_not_care_where_updates_are_cut) {
    string text;
    for (int i = 0; i < 300; ++i)
        text += static_cast<char>(i * 7);
    md5 digest; // used again and again: finish leaves it as new
    for (std::size_t size = 1; size < text.size(); ++size) {
        for (std::size_t at = 0; at < text.size(); at += size)
            digest.update(string_view(text).substr(at, size));
        ASSERT_EQ(digest.finish(), md5_digest(text)) << "pieces of " << size;
    }
}

} // namespace
} // namespace tackle::coding
