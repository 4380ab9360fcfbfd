#include "analysis/token_extraction.h"

#include "analysis/if_readable.h"
#include "foundation/format.h"
#include "foundation/strings.h"
#include "message/header_type/addresses_value_type.h"
#include "platform/character_class.h"

#include <algorithm>
#include <functional>

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

// Cuts a text into words: finds where they begin and end, and decides which of them lie in a link.
class word_cutter {
public:
    word_cutter(wstring_view text, token_list& tokens, token_mode mode)
        : text_(text), tokens_(tokens), delimiters_(tackle::platform::space | (mode == word_mode ? punct : 0)),
          dot_(mode == dot_mode ? u'.' : u' '), mode_(mode) {}

    void cut() {
        // Where words begin and end is as good as random, so the edges are found without a branch on it: each place is
        // written down, and the next one overwrites it unless it was an edge.
        constexpr std::size_t step = 1024;
        std::uint32_t edges[step];
        bool inside = false;
        for (std::size_t begin = 0; begin < text_.size(); begin += step) {
            const auto piece = text_.substr(begin, step);
            std::size_t count = 0;
            for (std::size_t i = 0; i < piece.size(); ++i) {
                const auto stops = (classes_[piece[i]] & delimiters_) | (piece[i] == dot_ ? 1 : 0);
                const bool letter = stops == 0;
                edges[count] = static_cast<std::uint32_t>(i);
                count += letter != inside ? 1 : 0;
                inside = letter;
            }
            for (std::size_t i = 0; i < count; ++i)
                add_edge(begin + edges[i]);
        }
        if (inside) add_edge(text_.size());
    }

private:
    static constexpr auto punct = tackle::platform::punct;

    void add_edge(std::size_t at) {
        inside_ = !inside_;
        if (inside_) {
            word_ = at;
            return;
        }
        if (text_[word_] == u'h' && starts_link()) {
            if (mode_ == word_mode) add_word(at); // the scheme: the colon that makes it one is not read yet
            skip_link();
        } else if (word_ >= link_end_) {
            add_word(at);
        }
    }
    void add_word(std::size_t end) { tokens_.push_back(text_.substr(word_, end - word_)); }
    [[nodiscard]] bool is_space(std::size_t at) const { return (classes_[text_[at]] & tackle::platform::space) != 0; }
    [[nodiscard]] bool starts_link() const {
        if (word_ != 0 && !is_space(word_ - 1)) return false;
        const auto rest = text_.substr(word_);
        return rest.starts_with(u"http:") || rest.starts_with(u"https:");
    }
    void skip_link() {
        for (link_end_ = word_; link_end_ < text_.size() && !is_space(link_end_);)
            ++link_end_;
    }

    wstring_view text_;
    token_list& tokens_;
    const std::uint16_t* classes_ = tackle::platform::character_classes();
    std::uint16_t delimiters_;
    char16_t dot_; // a blank where it does not count: that ends a word anyway
    token_mode mode_;
    bool inside_ = false;
    std::size_t word_ = 0;     // where the last one begins
    std::size_t link_end_ = 0; // words before it lie in a link
};

// The names in the addresses of a field: what stands in front of the "@", in the order of the addresses.
void append_names(const part& root, string_view field, std::vector<wstring>& names) {
    if_readable([&] {
        tackle::internet::message2::header_type::addresses_value_type list;
        if (!root.get_header(field, list)) return;
        for (const auto& entry : list.addresses()) {
            const auto begin = entry.address.find_first_not_of('@');
            if (begin == string_view::npos) continue;
            const auto name = entry.address.substr(begin, entry.address.find('@', begin) - begin);
            auto& wide = names.emplace_back();
            for (const char byte : name) // an address is bytes: each stands for the unit of its value
                wide += static_cast<char16_t>(static_cast<std::uint8_t>(tackle::lower_letter(byte)));
        }
    });
}

} // namespace

void normalise_text(wstring& text, wstring& compact_text) {
    const auto* const units = normalised_units();
    compact_text.resize(text.size());
    auto* compact = compact_text.data();
    for (auto& unit : text) {
        const auto normalised = units[unit];
        unit = normalised;
        *compact = normalised; // the next one overwrites a blank: cheaper than a branch that is taken for every word
        compact += normalised != u' ' ? 1 : 0;
    }
    compact_text.resize(static_cast<std::size_t>(compact - compact_text.data()));
}

void tokenise(wstring_view text, token_list& tokens, token_mode mode) { word_cutter(text, tokens, mode).cut(); }

void fold_tokens(const token_list& tokens, folded_token_list& folded) {
    folded.reserve(folded.size() + tokens.size());
    for (const auto token : tokens)
        folded.append(token);
}

void check_address_customization(const part& root, token_list& tokens, test_result_list& test_results) {
    struct occurrence {
        std::size_t count = 0;
        std::size_t last = 0; // in tokens
    };
    constexpr std::size_t most_hits = 3;

    std::vector<wstring> names; // in the order of the addresses
    append_names(root, "To", names);
    append_names(root, "CC", names);
    if (names.empty()) return;

    // Recipients and tokens may both be many: each token is looked up among the names, not each name among the tokens.
    std::vector<wstring_view> sorted(names.begin(), names.end());
    std::ranges::sort(sorted);
    sorted.erase(std::unique(sorted.begin(), sorted.end()), sorted.end());
    std::vector<occurrence> occurrences(sorted.size());
    const auto index_of = [&](wstring_view name) {
        return static_cast<std::size_t>(std::ranges::lower_bound(sorted, name) - sorted.begin());
    };
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        const auto index = index_of(tokens[i]);
        if (index == sorted.size() || sorted[index] != tokens[i]) continue;
        ++occurrences[index].count;
        occurrences[index].last = i;
    }

    std::vector<std::size_t> hits;
    for (const auto& name : names) {
        auto& found = occurrences[index_of(name)];
        if (found.count != 1) continue;
        found.count = 0; // its token is gone, so the same name does not hit again
        add(test_results, u"Part.Text.Address_Customization", 5.0F, tackle::format(u"Token: \"%s\"", name));
        hits.push_back(found.last);
        if (hits.size() == most_hits) break;
    }
    std::ranges::sort(hits, std::greater());
    for (const auto hit : hits)
        tokens.erase(tokens.begin() + static_cast<std::ptrdiff_t>(hit));
}

void check_diagnostics(wstring_view compact_text, test_result_list& test_results) {
    constexpr std::size_t longest = 1024;
    constexpr wstring_view test_text = u"xjs*c4jdbqadn1.nsbn3*2idnen*gtube-standard-anti-ube-test-email*c.34x";
    if (compact_text.size() > longest) return;
    if (tackle::contains(compact_text, u"google.") && tackle::contains(compact_text, u"&btni=")) {
        add(test_results, u"Part.Text.Search_Engine_Redirect", 50.0F, u"Found Google \"I'm Feeling Lucky\" Redirect");
    }
    if (tackle::contains(compact_text, test_text)) {
        add(test_results, u"Diagnostic.GTUBE", 100.0F, u"This is a GTUBE Diagnostic Message");
    }
}

} // namespace brimwarden::analysis
