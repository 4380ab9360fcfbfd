#include "analysis/words/content_signatures.h"

#include "foundation/text/strings.h"

#include <gtest/gtest.h>

#include <map>
#include <random>

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

TEST(generate_structure_signatures, describes_how_words_repeat) {
    const wstring eight = u"a b c d e f g h ";
    const std::pair<wstring, wstring> eight_thrice = {
        u"bqaEo0YenBBvaTkvN1rT5w",
        u"Tokens: 24, Unique: 8, Structure: 0.1.2.3.4.5.6.7.0.1.2.3.4.5.6.7.0.1.2.3.4.5.6.7"};
    const std::pair<wstring, wstring> eleven_twice = {
        u"+nBDhTwoHjA15tzVty2JfA", u"Tokens: 22, Unique: 11, Structure: 0.1.2.3.4.5.6.7.8.9.10.0.1.2.3.4.5.6.7.8.9.10"};
    const struct {
        const char* label;
        wstring text;
        records expected;
    } cases[] = {
        {"nothing", u"", {}},
        {"8 words, 10 repetitions",
         eight + repeated(u"a ", 10),
         {{u"6BXL95sFXosTTjfBFRK+OA", u"Tokens: 18, Unique: 8, Structure: 0.1.2.3.4.5.6.7.0.0.0.0.0.0.0.0.0.0"}}},
        {"9 repetitions", eight + repeated(u"a ", 9), {}},
        {"7 words", repeated(u"a b c d e f g ", 9), {}},
        {"words that fold alike are one",
         u"a b c d e f g xy xyx y4x ax4y " + repeated(u"a ", 8),
         {{u"47J9Q++LYfYXAI4Z2Za13A", u"Tokens: 19, Unique: 9, Structure: 0.1.2.3.4.5.6.7.7.8.8.0.0.0.0.0.0.0.0"}}},
        {"a record for each threshold that all words pass",
         repeated(eight, 3),
         {eight_thrice, eight_thrice, eight_thrice}},
        {"each threshold numbers anew",
         u"z " + repeated(eight, 3),
         {{u"DFUP8i/1QTlJMM18QskaYg",
           u"Tokens: 25, Unique: 9, Structure: 0.1.2.3.4.5.6.7.8.1.2.3.4.5.6.7.8.1.2.3.4.5.6.7.8"},
          eight_thrice,
          eight_thrice}},
        {"numbers of two digits", repeated(u"a b c d e f g h ij jk km ", 2), {eleven_twice, eleven_twice}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        EXPECT_EQ(structures_of(c.text), c.expected);
    }
}

TEST(generate_structure_signatures, has_eight_thresholds) {
    for (const std::size_t times : {7, 8, 9})
        EXPECT_EQ(structures_of(repeated(u"a b c d e f g h ", times)).size(), std::min<std::size_t>(times, 8));
}

// Step by step and word by word, with maps.
std::vector<wstring> plain_structures(const wstring& text) {
    const auto words = tackle::split_tokens(text, u" "); // one letter each, so that folding changes nothing
    std::map<wstring, int> counts;
    for (const auto word : words)
        ++counts[wstring(word)];
    std::vector<wstring> details;
    for (int threshold = 0; threshold < 8; ++threshold) {
        std::map<wstring, std::size_t> numbers;
        wstring pattern;
        std::size_t used = 0;
        const auto decimal = [](std::size_t number) {
            const auto digits = std::to_string(number);
            return wstring(digits.begin(), digits.end());
        };
        for (const auto view : words) {
            const wstring word(view);
            if (counts[word] <= threshold) continue;
            const auto number = numbers.try_emplace(word, numbers.size()).first->second;
            pattern += (pattern.empty() ? u"" : u".") + decimal(number);
            ++used;
        }
        if (numbers.size() >= 8 && used - numbers.size() >= 10)
            details.push_back(u"Tokens: " + decimal(used) + u", Unique: " + decimal(numbers.size()) + u", Structure: " +
                              pattern);
    }
    return details;
}

TEST(generate_structure_signatures, agrees_with_the_plain_way) {
    std::mt19937 random(3);
    for (int round = 0; round < 300; ++round) {
        wstring text;
        const auto words = 1 + random() % 40;
        for (auto size = random() % 200; size != 0; --size)
            text += wstring{static_cast<char16_t>(0x400 + std::min(random() % words, random() % words)), u' '};
        std::vector<wstring> details;
        for (const auto& [value, detail] : structures_of(text))
            details.push_back(detail);
        ASSERT_EQ(details, plain_structures(text));
    }
}

} // namespace
} // namespace brimwarden::analysis
