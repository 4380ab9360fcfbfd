#include "analysis/words/content_signatures.h"

#include "foundation/text/format.h"
#include "foundation/text/unicode.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace brimwarden::analysis {

using tackle::string;
using tackle::string_view;
using tackle::wstring;
using tackle::wstring_view;

namespace {

constexpr std::uint32_t utf8 = 65001;
constexpr std::size_t block_letters = 48; // a block ends with the token that takes it beyond
constexpr std::size_t most_blocks = 4;

constexpr std::size_t first_contour = 64; // changes before the first record
constexpr std::size_t contour_step = 32;  // and from one record to the next
constexpr std::size_t most_contours = 4;

constexpr std::uint32_t threshold_count = 8;
constexpr std::size_t least_words = 8;
constexpr std::size_t least_repetitions = 10;

void append_block(wstring_view block, wstring_view plaintext, signature_list& signatures) {
    // Folding may have torn a pair of surrogates apart; the halves become replacement characters.
    signatures.emplace_back(u"tbd", digest_text(tackle::unicode::to_narrow(block, utf8, false)));
    if (!signatures.with_details) return;
    auto& details = signatures.back().details;
    details.reserve(block.size() + plaintext.size() + 32);
    details.append(u"Block: \"").append(block).append(u"\"");
    if (!plaintext.empty()) details.append(u", Plaintext: \"").append(plaintext).append(u"\"");
}

// A full stop and a number in decimal, ready to be copied as a whole.
struct number_text {
    char text[15];
    std::uint8_t length;
};

constexpr number_text text_of(std::uint32_t number) {
    number_text result{{'.'}, 1};
    for (auto rest = number; rest != 0 || result.length == 1; rest /= 10)
        ++result.length;
    auto at = result.length;
    do {
        result.text[--at] = static_cast<char>('0' + number % 10);
        number /= 10;
    } while (number != 0);
    return result;
}

// Few messages have more different words.
constexpr auto small_numbers = [] {
    std::array<number_text, 1024> texts{};
    for (std::uint32_t number = 0; number < texts.size(); ++number)
        texts[number] = text_of(number);
    return texts;
}();

// The pattern of a text with and without its rare words. The words that occur more often than a threshold keep their
// order of first appearance when the others drop out, so their numbers are found without looking at the text.
class structure {
public:
    explicit structure(const folded_token_list& folded) : folded_(folded), counts_(folded.word_count()) {
        for (const auto word : folded.numbers())
            ++counts_[word];
        for (const auto count : counts_) {
            const auto highest = std::min(count, threshold_count); // the number of thresholds that the word exceeds
            ++words_of_[highest];
            tokens_of_[highest] += count;
        }
        for (auto threshold = threshold_count; threshold-- > 0;) {
            words_of_[threshold] += words_of_[threshold + 1];
            tokens_of_[threshold] += tokens_of_[threshold + 1];
        }
    }

    // The words that occur more often than the threshold, and the tokens that are one of them.
    [[nodiscard]] std::size_t unique(std::uint32_t threshold) const { return words_of_[threshold + 1]; }
    [[nodiscard]] std::size_t used(std::uint32_t threshold) const { return tokens_of_[threshold + 1]; }

    // The numbers of those tokens, with full stops between them; there is one at least. Good until the next call.
    string_view print(std::uint32_t threshold) {
        words_.resize(counts_.size());
        std::size_t size = sizeof(number_text); // the last one is copied as a whole, too
        std::uint32_t number = 0;
        for (std::size_t word = 0; word < counts_.size(); ++word) {
            words_[word] = number_text{};
            if (counts_[word] <= threshold) continue;
            words_[word] = number < small_numbers.size() ? small_numbers[number] : text_of(number);
            size += std::size_t{counts_[word]} * words_[word].length;
            ++number;
        }
        if (printed_.size() < size) printed_.resize(size);
        const auto* const words = words_.data();
        char* const begin = printed_.data();
        char* at = begin;
        for (const auto word : folded_.numbers()) {
            std::memcpy(at, words + word, sizeof(number_text));
            at += words[word].length;
        }
        return {begin + 1, static_cast<std::size_t>(at - begin) - 1};
    }

private:
    const folded_token_list& folded_;
    std::vector<std::uint32_t> counts_;               // of each word in the text
    std::size_t words_of_[threshold_count + 1] = {};  // by count, that count and all above it
    std::size_t tokens_of_[threshold_count + 1] = {}; // the same
    std::vector<number_text> words_;                  // the number of each word, empty if it does not count
    string printed_;
};

} // namespace

void generate_block_signatures(const folded_token_list& folded, const token_list& tokens, signature_list& signatures,
                               trace_list&) {
    wstring block;
    wstring plaintext;
    block.reserve(128);
    plaintext.reserve(256);
    std::size_t count = 0;
    for (std::size_t i = 0; i < folded.size(); ++i) {
        folded.append_letters(i, block);
        if (signatures.with_details) plaintext.append(tokens[i]).append(1, u' ');
        if (block.size() <= block_letters) continue;
        append_block(block, plaintext, signatures);
        if (++count == most_blocks) return;
        block.clear();
        plaintext.clear();
    }
    if (count == 0 && !block.empty()) append_block(block, {}, signatures);
}

void generate_length_signatures(const folded_token_list& folded, signature_list& signatures, trace_list&) {
    std::uint64_t contour = 0;
    std::size_t changes = 0;
    std::size_t emitted = 0;
    std::size_t previous = folded.empty() ? 0 : folded.length(0);
    for (std::size_t i = 1; i < folded.size(); ++i) {
        const auto current = folded.length(i);
        const auto changed = current != previous ? 1U : 0U; // no branch: what a text does next is hard to predict
        contour = contour << changed | (current > previous ? 1U : 0U);
        changes += changed;
        previous = current;
        // Asked for each token, also where nothing has changed: a repeated record uses up one of the four.
        if (changes < first_contour || changes % contour_step != 0) continue;
        signatures.emplace_back(u"tlc", digit_string(contour));
        if (signatures.with_details)
            signatures.back().details = tackle::format(u"Offset: %i, Tokens: %i", changes, folded.size());
        if (++emitted == most_contours) return;
    }
}

void generate_structure_signatures(const folded_token_list& folded, signature_list& signatures, trace_list&) {
    structure pattern(folded);
    std::size_t printed_words = 0; // in the pattern printed last
    for (std::uint32_t threshold = 0; threshold < threshold_count; ++threshold) {
        const auto unique = pattern.unique(threshold);
        const auto used = pattern.used(threshold);
        // Both only fall with a rising threshold, and what falls short stays short.
        if (unique < least_words || used - unique < least_repetitions) return;
        if (unique == printed_words) {
            auto same = signatures.back(); // no word has dropped out, so nothing has changed
            signatures.push_back(std::move(same));
            continue;
        }
        printed_words = unique;
        const auto printed = pattern.print(threshold);
        signatures.emplace_back(u"tsd", digest_text(printed));
        if (!signatures.with_details) continue;
        auto& details = signatures.back().details;
        details.reserve(printed.size() + 64);
        tackle::append_format(details, u"Tokens: %i, Unique: %i, Structure: ", used, unique);
        tackle::unicode::append_raw(printed, details);
    }
}

} // namespace brimwarden::analysis
