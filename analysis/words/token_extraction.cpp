#include "analysis/words/token_extraction.h"

#include "foundation/text/format.h"
#include "foundation/text/strings.h"
#include "foundation/text/unit_search.h"
#include "message/header_type/addresses_value_type.h"
#include "platform/character_class.h"
#include "view/if_readable.h"

#include <algorithm>
#include <bit>
#include <functional>
#include <numeric>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace brimwarden::analysis {

using tackle::string;
using tackle::string_view;
using tackle::wstring;
using tackle::wstring_view;
using tackle::internet::message2::part;

namespace {

constexpr std::size_t unit_count = 0x10000;

// The normalised form of each unit. A blank is that of white space and controls only, which have no other.
const char16_t* normalised_units() {
    static const auto table = [] {
        using namespace tackle::platform;
        constexpr char16_t first_mapped = 0x100; // below it only A to Z have a lower case here
        const auto* const classes = character_classes();
        const auto* const lower_case = lower_case_map();
        std::vector<char16_t> units(unit_count);
        for (std::size_t i = 0; i < unit_count; ++i) {
            const auto unit = static_cast<char16_t>(i);
            if ((classes[unit] & (control | space)) != 0)
                units[i] = u' ';
            else
                units[i] = unit < first_mapped ? tackle::lower_letter(unit) : lower_case[unit];
        }
        return units;
    }();
    return table.data();
}

#if defined(__SSE2__)
constexpr std::ptrdiff_t ascii_block = 8;

// False, and nothing is done, if there is anything but ASCII, whose controls are all below the blank but one.
bool normalise_ascii_block(char16_t* at) {
    const auto all = [](char16_t unit) { return _mm_set1_epi16(static_cast<short>(unit)); };
    __m128i units = _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
    const __m128i beyond = _mm_subs_epu16(units, all(u'~'));
    if (_mm_movemask_epi8(_mm_cmpeq_epi16(beyond, _mm_setzero_si128())) != 0xFFFF) return false;
    units = _mm_max_epi16(units, all(u' '));
    const __m128i capital = _mm_and_si128(_mm_cmpgt_epi16(units, all(u'@')), _mm_cmpgt_epi16(all(u'['), units));
    units = _mm_or_si128(units, _mm_and_si128(capital, all(u'a' - u'A')));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(at), units);
    return true;
}
#endif

// Which units belong to words, one bit for each of up to 64 units, the first one lowest. No bit is set behind the end.
class word_units {
public:
    static constexpr std::size_t at_once = 64;

    explicit word_units(token_mode mode)
        : delimiters_(tackle::platform::space | (mode == word_mode ? tackle::platform::punct : 0)),
          dot_(mode == dot_mode ? u'.' : u' '), mode_(mode) {}

    [[nodiscard]] std::uint64_t in(wstring_view text) const {
        std::uint64_t set = 0;
        std::size_t done = 0;
#if defined(__SSE2__)
        for (; done + block <= text.size(); done += block) {
            std::uint64_t found = 0;
            if (!in_ascii_block(text.data() + done, found)) found = one_by_one(text.substr(done, block));
            set |= found << done;
        }
#endif
        if (done < text.size()) set |= one_by_one(text.substr(done)) << done;
        return set;
    }

private:
    [[nodiscard]] std::uint64_t one_by_one(wstring_view text) const {
        std::uint64_t set = 0;
        for (std::size_t i = 0; i < text.size(); ++i) {
            const bool belongs = (classes_[text[i]] & delimiters_) == 0 && text[i] != dot_;
            set |= std::uint64_t{belongs} << i;
        }
        return set;
    }

#if defined(__SSE2__)
    static constexpr std::size_t block = 16;

    // False if there is anything else than the printable units of ASCII, among which all are punctuation but the blank,
    // letters and digits.
    [[nodiscard]] bool in_ascii_block(const char16_t* units, std::uint64_t& set) const {
        const auto load = [units](std::size_t at) {
            return _mm_loadu_si128(reinterpret_cast<const __m128i*>(units + at));
        };
        const auto mask_of = [](__m128i lanes) { return static_cast<unsigned>(_mm_movemask_epi8(lanes)); };
        // Lanes that are `first` or one of the `others` units behind it.
        const auto among = [](__m128i lanes, char first, char others) {
            const __m128i distance = _mm_sub_epi8(lanes, _mm_set1_epi8(first));
            return _mm_cmpeq_epi8(_mm_min_epu8(distance, _mm_set1_epi8(others)), distance);
        };
        const __m128i bytes = _mm_packus_epi16(load(0), load(8)); // what is no byte becomes 0 or 255
        if (mask_of(among(bytes, ' ', '~' - ' ')) != 0xFFFF) return false;
        if (mode_ == dot_mode) {
            const __m128i blanks = _mm_cmpeq_epi8(bytes, _mm_set1_epi8(' '));
            set = 0xFFFF & ~mask_of(_mm_or_si128(blanks, _mm_cmpeq_epi8(bytes, _mm_set1_epi8('.'))));
        } else {
            const __m128i letters = among(_mm_or_si128(bytes, _mm_set1_epi8('a' - 'A')), 'a', 'z' - 'a');
            set = mask_of(_mm_or_si128(letters, among(bytes, '0', '9' - '0')));
        }
        return true;
    }
#endif

    const std::uint16_t* classes_ = tackle::platform::character_classes();
    std::uint16_t delimiters_;
    char16_t dot_; // a blank where it does not count: that ends a word anyway
    token_mode mode_;
};

// Cuts a text into words: finds where they begin and end, and decides which of them lie in a link.
class word_cutter {
public:
    word_cutter(wstring_view text, token_list& tokens, token_mode mode)
        : text_(text), tokens_(tokens), units_(mode), mode_(mode) {}

    // Where words begin and end is as good as random, so there is no branch on each unit: the edges are the bits of a
    // set that differ from the bit in front.
    void cut() {
        constexpr auto step = word_units::at_once;
        tokens_.start(text_);
        std::uint64_t last = 0;
        std::size_t word = 0; // where the last one begins
        for (std::size_t begin = 0; begin < text_.size(); begin += step) {
            const auto set = units_.in(text_.substr(begin, step));
            bool inside = last != 0;
            for (auto edges = set ^ (set << 1 | last); edges != 0; edges &= edges - 1, inside = !inside) {
                const auto edge = begin + static_cast<std::size_t>(std::countr_zero(edges));
                if (inside)
                    add(word, edge);
                else
                    word = edge;
            }
            last = set >> (step - 1);
        }
        if (last != 0) add(word, text_.size());
    }

private:
    void add(std::size_t begin, std::size_t end) {
        if (text_[begin] == u'h' && starts_link(begin)) {
            if (mode_ == word_mode) add_word(begin, end); // the scheme: the colon that makes it one is not read yet
            skip_link(begin);
        } else if (begin >= link_end_) {
            add_word(begin, end);
        }
    }
    void add_word(std::size_t begin, std::size_t end) { tokens_.add(begin, end); }
    [[nodiscard]] bool is_space(std::size_t at) const { return (classes_[text_[at]] & tackle::platform::space) != 0; }
    [[nodiscard]] bool starts_link(std::size_t begin) const {
        if (begin != 0 && !is_space(begin - 1)) return false;
        const auto rest = text_.substr(begin);
        return rest.starts_with(u"http:") || rest.starts_with(u"https:");
    }
    void skip_link(std::size_t begin) {
        for (link_end_ = begin; link_end_ < text_.size() && !is_space(link_end_);)
            ++link_end_;
    }

    wstring_view text_;
    token_list& tokens_;
    const std::uint16_t* classes_ = tackle::platform::character_classes();
    word_units units_;
    token_mode mode_;
    std::size_t link_end_ = 0; // words before it lie in a link
};

// The names of recipients, in the order of the addresses. In one text: a name of one letter costs the message two
// bytes.
class name_list {
public:
    void append(string_view name) {
        // An address is bytes: each stands for the unit of its value.
        for (const char byte : name)
            units_ += static_cast<char16_t>(static_cast<std::uint8_t>(tackle::lower_letter(byte)));
        ends_.push_back(static_cast<std::uint32_t>(units_.size()));
    }
    [[nodiscard]] std::uint32_t size() const { return static_cast<std::uint32_t>(ends_.size()); }
    [[nodiscard]] wstring_view operator[](std::uint32_t index) const {
        const std::uint32_t begin = index == 0 ? 0 : ends_[index - 1];
        return wstring_view(units_).substr(begin, ends_[index] - begin);
    }

private:
    wstring units_;
    std::vector<std::uint32_t> ends_;
};

// The names in the addresses of a field: what stands in front of the "@".
void append_names(const part& root, string_view field, name_list& names) {
    if_readable([&] {
        tackle::internet::message2::header_type::addresses_value_type list;
        if (!root.get_header(field, list)) return;
        for (const auto& entry : list.addresses()) {
            const auto begin = entry.address.find_first_not_of('@');
            if (begin == string_view::npos) continue;
            names.append(entry.address.substr(begin, entry.address.find('@', begin) - begin));
        }
    });
}

} // namespace

void normalise_text(wstring& text) {
    const auto* const units = normalised_units();
    auto* at = text.data();
    auto* const end = at + text.size();
#if defined(__SSE2__)
    while (end - at >= ascii_block) {
        auto* const behind = at + ascii_block;
        if (normalise_ascii_block(at)) at = behind;
        for (; at != behind; ++at)
            *at = units[*at];
    }
#endif
    for (; at != end; ++at)
        *at = units[*at];
}

void tokenise(wstring_view text, token_list& tokens, token_mode mode) { word_cutter(text, tokens, mode).cut(); }

void fold_tokens(const token_list& tokens, folded_token_list& folded) {
    folded.reserve(folded.size() + tokens.size());
    for (const auto token : tokens)
        folded.append(token);
}

void check_address_customization(const part& root, token_list& tokens, test_result_list& test_results) {
    struct occurrence {
        std::uint32_t count = 0;
        std::uint32_t last = 0; // in tokens
    };
    constexpr std::size_t most_hits = 3;

    name_list names;
    append_names(root, "To", names);
    append_names(root, "CC", names);
    if (names.size() == 0) return;

    // Recipients and tokens may both be many: each token is looked up among the names, not each name among the tokens.
    std::vector<std::uint32_t> sorted(names.size());
    std::iota(sorted.begin(), sorted.end(), 0U);
    const auto name_of = [&](std::uint32_t index) { return names[index]; };
    std::ranges::sort(sorted, {}, name_of);
    // Not the ranges form, whose result clang 14 cannot take apart.
    const auto same = [&](std::uint32_t a, std::uint32_t b) { return name_of(a) == name_of(b); };
    sorted.erase(std::unique(sorted.begin(), sorted.end(), same), sorted.end());
    std::vector<occurrence> occurrences(sorted.size());
    // Most tokens share length and first unit with no name, and are not searched for.
    const auto trait = [](wstring_view word) { return std::uint64_t{1} << (word.size() * 8 + word.front()) % 64; };
    std::uint64_t traits = 0;
    for (const auto index : sorted)
        traits |= trait(names[index]);
    const auto index_of = [&](wstring_view name) {
        return static_cast<std::size_t>(std::ranges::lower_bound(sorted, name, {}, name_of) - sorted.begin());
    };
    for (std::uint32_t i = 0; i < tokens.size(); ++i) {
        if ((trait(tokens[i]) & traits) == 0) continue;
        const auto index = index_of(tokens[i]);
        if (index == sorted.size() || names[sorted[index]] != tokens[i]) continue;
        ++occurrences[index].count;
        occurrences[index].last = i;
    }

    std::vector<std::uint32_t> hits;
    for (std::uint32_t i = 0; i < names.size(); ++i) {
        const auto name = names[i];
        auto& found = occurrences[index_of(name)];
        if (found.count != 1) continue;
        found.count = 0; // its token is gone, so the same name does not hit again
        add(test_results, u"Part.Text.Address_Customization", 5.0F, tackle::format(u"Token: \"%s\"", name));
        hits.push_back(found.last);
        if (hits.size() == most_hits) break;
    }
    std::ranges::sort(hits, std::greater());
    for (const auto hit : hits)
        tokens.remove(hit);
}

void check_diagnostics(wstring_view text, test_result_list& test_results) {
    constexpr std::size_t longest = 1024;
    constexpr wstring_view test_text = u"xjs*c4jdbqadn1.nsbn3*2idnen*gtube-standard-anti-ube-test-email*c.34x";
    // Neither does without one of these, which most texts do without.
    if (tackle::find_either(text, u'&', u'*') == text.size()) return;
    char16_t units[longest];
    std::size_t count = 0;
    for (const auto unit : text) {
        if (unit == u' ') continue;
        if (count == longest) return;
        units[count++] = unit;
    }
    const wstring_view compact(units, count);
    if (tackle::contains(compact, u"google.") && tackle::contains(compact, u"&btni=")) {
        add(test_results, u"Part.Text.Search_Engine_Redirect", 50.0F, u"Found Google \"I'm Feeling Lucky\" Redirect");
    }
    if (tackle::contains(compact, test_text)) {
        add(test_results, u"Diagnostic.GTUBE", 100.0F, u"This is a GTUBE Diagnostic Message");
    }
}

} // namespace brimwarden::analysis
