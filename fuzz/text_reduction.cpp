// From the displayed text to its signatures, with the bytes as units of text and the first one as choice of the mode.
#include "analysis/words/content_signatures.h"
#include "analysis/words/token_extraction.h"
#include "fuzz/support/expect.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <map>
#include <set>
#include <string>

using namespace brimwarden::analysis;
using tackle::wstring;

namespace {

// Unit by unit, where the library looks at whole blocks.
void expect_plain_tokens(const wstring& text, const wstring& normalised, const token_list& tokens, token_mode mode) {
    std::vector<wstring> expected(1);
    for (std::size_t i = 0; i < text.size(); ++i) {
        wstring one(1, text[i]);
        normalise_text(one);
        EXPECT(one[0] == normalised[i]);
        token_list cut;
        tokenise(one, cut, mode);
        if (!cut.empty())
            expected.back() += one;
        else if (!expected.back().empty())
            expected.emplace_back();
    }
    if (expected.back().empty()) expected.pop_back();
    // Schemes cut what follows them; one unit does not show that.
    if (normalised.find(u"http") == wstring::npos) EXPECT(std::ranges::equal(tokens, expected));
}

// A set of letters for each token, numbered by first appearance.
void expect_plain_folding(const token_list& tokens, const folded_token_list& folded) {
    std::map<wstring, std::uint32_t> numbers;
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        std::set<char16_t> letters;
        for (const auto unit : tokens[i]) {
            constexpr tackle::wstring_view from = u"|l1$\u20AC304785", to = u"iiiseeoatb5";
            const auto at = from.find(unit);
            letters.insert(at == from.npos ? unit : to[at]);
        }
        const wstring expected(letters.begin(), letters.end());
        wstring text;
        folded.append_letters(i, text);
        EXPECT(text == expected && folded.length(i) == text.size());
        EXPECT(folded.numbers()[i] ==
               numbers.try_emplace(expected, static_cast<std::uint32_t>(numbers.size())).first->second);
    }
    EXPECT(folded.word_count() == numbers.size());
}

// Threshold by threshold, with maps.
void expect_plain_structures(const std::vector<std::uint32_t>& words, const signature_list& found) {
    std::map<std::uint32_t, std::size_t> counts;
    for (const auto word : words)
        ++counts[word];
    std::vector<std::string> expected;
    for (std::size_t threshold = 0; threshold < 8; ++threshold) {
        std::map<std::uint32_t, std::size_t> numbers;
        std::string pattern;
        std::size_t used = 0;
        for (const auto word : words) {
            if (counts[word] <= threshold) continue;
            const auto number = numbers.try_emplace(word, numbers.size()).first->second;
            (pattern += used++ == 0 ? "" : ".") += std::to_string(number);
        }
        if (numbers.size() >= 8 && used - numbers.size() >= 10)
            expected.push_back("Tokens: " + std::to_string(used) + ", Unique: " + std::to_string(numbers.size()) +
                               ", Structure: " + pattern);
    }
    EXPECT(found.size() == expected.size());
    for (std::size_t i = 0; i < found.size(); ++i)
        EXPECT(std::ranges::equal(found[i].details, expected[i],
                                  [](char16_t unit, char letter) { return unit == static_cast<char16_t>(letter); }));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    wstring text((size - 1) / sizeof(char16_t), u'\0');
    std::memcpy(text.data(), data + 1, text.size() * sizeof(char16_t));
    const wstring raw = text;
    const auto mode = data[0] % 2 == 0 ? word_mode : dot_mode;
    token_list tokens;
    folded_token_list folded;
    signature_list signatures, structures;
    structures.with_details = true;
    test_result_list results;
    trace_list trace;
    normalise_text(text);
    tokenise(text, tokens, mode);
    fold_tokens(tokens, folded);
    generate_block_signatures(folded, tokens, signatures, trace);
    generate_length_signatures(folded, signatures, trace);
    generate_structure_signatures(folded, structures, trace);
    check_diagnostics(text, results);
    EXPECT(folded.size() == tokens.size() && signatures.size() <= 4 + 4 && structures.size() <= 8);
    if (size > 4096) return 0;
    expect_plain_tokens(raw, text, tokens, mode);
    expect_plain_folding(tokens, folded);
    expect_plain_structures({folded.numbers().begin(), folded.numbers().end()}, structures);
    return 0;
}
