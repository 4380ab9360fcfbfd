#include "analysis/words/content_signatures.h"

#include "foundation/text/strings.h"

#include <gtest/gtest.h>

// Digests were made with another MD5 and base64 than ours.
namespace brimwarden::analysis {
namespace {

using tackle::wstring;

// Value and details of each record that a generator makes.
using records = std::vector<std::pair<wstring, wstring>>;

wstring repeated(tackle::wstring_view text, std::size_t times) {
    wstring all;
    for (; times != 0; --times)
        all += text;
    return all;
}

folded_token_list folded_words(const wstring& text) {
    folded_token_list folded;
    fold_tokens(tackle::split_tokens(text, u" "), folded);
    return folded;
}

records taken(const signature_list& signatures, tackle::wstring_view type) {
    records result;
    for (const auto& record : signatures) {
        EXPECT_EQ(record.type, type);
        result.emplace_back(record.value, record.details);
    }
    return result;
}

records blocks_of(const wstring& text) {
    signature_list signatures;
    signatures.with_details = true;
    trace_list trace;
    generate_block_signatures(folded_words(text), tackle::split_tokens(text, u" "), signatures, trace);
    return taken(signatures, u"tbd");
}

TEST(generate_block_signatures, cuts_the_text_into_blocks) {
    const auto eight = [](std::size_t times) { return repeated(u"hgfedcba ", times); };
    const wstring long_text = repeated(u"jhgfedcba ", 6);
    const auto long_block = std::pair<wstring, wstring>(u"gV/BOXX2RpFSS5TwnMkMCg",
                                                        u"Block: \"" + repeated(u"abcdefghj", 6) +
                                                            u"\", Plaintext: \"" + repeated(u"jhgfedcba ", 6) + u"\"");
    const struct {
        const char* label;
        wstring text;
        records expected;
    } cases[] = {
        {"nothing", u"", {}},
        {"48 letters", eight(6), {{u"de7WH1tWy3zbLYs6MogF5w", u"Block: \"" + repeated(u"abcdefgh", 6) + u"\""}}},
        {"49 letters, reached by the last token",
         eight(5) + u"jhgfedcba",
         {{u"tJGJjEjdePcHR7SjBlQXbQ",
           u"Block: \"" + repeated(u"abcdefgh", 5) + u"abcdefghj\", Plaintext: \"" + eight(5) + u"jhgfedcba \""}}},
        {"the rest behind a block is dropped", long_text + u"abcd", {long_block}},
        {"four blocks of five", repeated(long_text, 5), {long_block, long_block, long_block, long_block}},
        {"look-alikes fold alike",
         u"casino c4s1n0 sit3",
         {{u"CVGCGJHFfJNuA1yKfWzUsw", u"Block: \"acinosacinoseist\""}}},
        {"torn surrogates are replaced",
         u"\xD83D\xDE00\xD83C\xDFB0",
         {{u"g459lO1XUQHqdRMKzuTRYw", u"Block: \"\xD83C\xD83D\xDE00\xDFB0\""}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        EXPECT_EQ(blocks_of(c.text), c.expected);
    }
}

// A word of so many different letters, for each number.
wstring words_of_lengths(const std::vector<int>& lengths) {
    wstring text;
    for (const auto length : lengths) {
        for (int i = 0; i < length; ++i)
            text += static_cast<char16_t>(0x4E00 + i);
        text += u' ';
    }
    return text;
}

records contours_of(const std::vector<int>& lengths) {
    signature_list signatures;
    signatures.with_details = true;
    trace_list trace;
    generate_length_signatures(folded_words(words_of_lengths(lengths)), signatures, trace);
    return taken(signatures, u"tlc");
}

TEST(generate_length_signatures, follows_rise_and_fall) {
    // Lengths 1, 2, 1, 2 and so on: up, down, up, down.
    const auto zigzag = [](std::size_t changes, std::size_t repeats = 0) {
        std::vector<int> lengths;
        for (std::size_t i = 0; i <= changes; ++i)
            lengths.push_back(i % 2 == 0 ? 1 : 2);
        lengths.insert(lengths.end(), repeats, lengths.back());
        return lengths;
    };
    std::vector<int> rise; // 32 times up, then 64 times down and up
    for (int i = 1; i <= 33; ++i)
        rise.push_back(i);
    for (int i = 0; i < 64; ++i)
        rise.push_back(i % 2 == 0 ? 1 : 2);
    const wstring up_down = u"Kqqqqqqqqqq";
    const struct {
        const char* label;
        std::vector<int> lengths;
        records expected;
    } cases[] = {
        {"nothing", {}, {}},
        {"one token", {5}, {}},
        {"one length", std::vector<int>(300, 4), {}},
        {"63 changes", zigzag(63), {}},
        {"64 changes", zigzag(64), {{up_down, u"Offset: 64, Tokens: 65"}}},
        {"95 changes", zigzag(95), {{up_down, u"Offset: 64, Tokens: 96"}}},
        {"no change behind a record repeats it", zigzag(64, 2), {3, {up_down, u"Offset: 64, Tokens: 67"}}},
        {"four at most, counting repetitions", zigzag(64, 9), {4, {up_down, u"Offset: 64, Tokens: 74"}}},
        {"200 changes",
         zigzag(200),
         {{up_down, u"Offset: 64, Tokens: 201"},
          {up_down, u"Offset: 96, Tokens: 201"},
          {up_down, u"Offset: 128, Tokens: 201"},
          {up_down, u"Offset: 160, Tokens: 201"}}},
        {"the last 64 changes count",
         rise,
         {{u"P////9VVVVV", u"Offset: 64, Tokens: 97"}, {u"FVVVVVVVVVV", u"Offset: 96, Tokens: 97"}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        EXPECT_EQ(contours_of(c.lengths), c.expected);
    }
}

records structures_of(const wstring& text) {
    signature_list signatures;
    signatures.with_details = true;
    trace_list trace;
    generate_structure_signatures(folded_words(text), signatures, trace);
    return taken(signatures, u"tsd");
}

// The patterns themselves are a property of the fuzz target text_reduction.
TEST(generate_structure_signatures, describes_how_words_repeat) {
    const wstring eight = u"a b c d e f g h ";
    EXPECT_EQ(structures_of(eight + repeated(u"a ", 9)), records{});
    EXPECT_EQ(structures_of(eight + repeated(u"a ", 10)),
              (records{{u"6BXL95sFXosTTjfBFRK+OA",
                        u"Tokens: 18, Unique: 8, Structure: 0.1.2.3.4.5.6.7.0.0.0.0.0.0.0.0.0.0"}}));
    const auto thrice = structures_of(u"z " + repeated(eight, 3)); // each threshold numbers anew
    ASSERT_EQ(thrice.size(), 3U);
    EXPECT_EQ(thrice[0].first, u"DFUP8i/1QTlJMM18QskaYg");
    EXPECT_EQ(thrice[1].first, u"bqaEo0YenBBvaTkvN1rT5w");
    EXPECT_EQ(thrice[2], thrice[1]);
}

} // namespace
} // namespace brimwarden::analysis
