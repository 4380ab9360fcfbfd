#include "language/plugins/ankiro.h"

#include "foundation/text/format.h"
#include "language/language_name.h"
#include "platform/character_class.h"

#include <algorithm>
#include <bit>

namespace brimwarden::language::plugins::ankiro {

namespace {

constexpr std::uint64_t smallest_input = 16; // letters
constexpr std::uint64_t cover_factor = 10;   // the best language has to cover this part of the letters

std::vector<std::uint32_t> languages_of(const dictionary_row* index) {
    std::set<std::uint32_t> languages;
    for (; index->chunk != nullptr; ++index)
        languages.insert(index->lcid);
    for (const auto& range : script_ranges())
        for (const auto lcid : range.lcids)
            if (lcid != 0) languages.insert(lcid);
    return {languages.begin(), languages.end()};
}

// Leaves what lies above the middle between the mean and the best, and nothing of a text that even the best language
// hardly covers.
void keep_outstanding(result_map& results, std::uint64_t target) {
    std::uint64_t sum = 0;
    std::uint64_t best = 0;
    for (const auto& [lcid, count] : results) {
        sum += count;
        best = std::max(best, count);
    }
    if (results.empty() || target < smallest_input || target > best * cover_factor) return results.clear();
    const std::uint64_t mean = sum / results.size();
    const std::uint64_t cut = mean + (best - mean) / 2;
    std::erase_if(results, [&](const auto& result) { return result.second < cut; });
}

} // namespace

// Takes the letters of a text one by one and adds up the words. The letters of one word that belong to scripts are
// kept apart until its end, as only then it is known which languages count the whole word.
class plugin::letter_counter {
public:
    explicit letter_counter(const plugin& owner) : owner_(owner) {}

    void add(char16_t unit) {
        const char16_t folded = unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 0x20) : unit;
        if (length_ < word_table::longest_word) word_[length_] = folded;
        ++length_;
        hash_ = word_table::extend_hash(hash_, folded);
        if (unit >= owner_.scripts_.front().first) add_script(owner_.script_of(unit));
    }

    void end_word() {
        if (length_ == 0) return;
        language_set found = 0;
        if (length_ <= word_table::longest_word) found = owner_.words_.find({word_, length_}, hash_);
        for (language_set left = found; left != 0; left &= left - 1)
            counts_[std::countr_zero(left)] += length_;
        end_run();
        for (language_set left = scripted_; left != 0; left &= left - 1) {
            const int language = std::countr_zero(left);
            if ((found >> language & 1) == 0) counts_[language] += script_letters_[language];
            script_letters_[language] = 0;
        }
        scripted_ = 0;
        length_ = 0;
        hash_ = word_table::empty_hash;
    }

    void add_to(result_map& results) const {
        for (std::size_t language = 0; language < owner_.languages_.size(); ++language)
            if (counts_[language] != 0) results[owner_.languages_[language]] += counts_[language];
    }

private:
    // Letters of one script mostly come in runs.
    void add_script(language_set languages) {
        if (languages != run_languages_) end_run();
        run_languages_ = languages;
        ++run_length_;
    }

    void end_run() {
        scripted_ |= run_languages_;
        for (language_set left = run_languages_; left != 0; left &= left - 1)
            script_letters_[std::countr_zero(left)] += run_length_;
        run_languages_ = 0;
        run_length_ = 0;
    }

    const plugin& owner_;
    char16_t word_[word_table::longest_word] = {}; // its beginning; a longer one is in no dictionary
    std::size_t length_ = 0;
    std::uint32_t hash_ = word_table::empty_hash;
    language_set run_languages_ = 0;
    std::uint64_t run_length_ = 0;
    language_set scripted_ = 0;             // the languages that have letters in script_letters_
    std::uint64_t script_letters_[64] = {}; // of the word in hand
    std::uint64_t counts_[64] = {};
};

plugin::plugin(const dictionary_row* index) : languages_(languages_of(index)), words_(index, languages_) {
    add_scripts();
}

void plugin::add_scripts() {
    for (const auto& range : script_ranges()) {
        script added{range.first, range.last, 0};
        for (const auto lcid : range.lcids)
            if (lcid != 0) added.languages |= language_set{1} << position_of(lcid, languages_);
        scripts_.push_back(added);
    }
    scripts_.push_back({0xFFFF, 0xFFFF, 0});
    std::size_t reaches = 0;
    for (std::size_t page = 0; page < script_pages_.size(); ++page) {
        while (scripts_[reaches].last < page << 8)
            ++reaches;
        script_pages_[page] = static_cast<std::uint8_t>(reaches);
    }
}

language_set plugin::script_of(char16_t unit) const {
    const script* candidate = &scripts_[script_pages_[unit >> 8]];
    while (candidate->last < unit)
        ++candidate;
    return unit >= candidate->first ? candidate->languages : 0;
}

void plugin::supported_languages(std::set<std::uint32_t>& languages) const {
    languages = {languages_.begin(), languages_.end()};
}

void plugin::count_letters(tackle::wstring_view text, result_map& results, std::uint64_t& target) const {
    using namespace tackle::platform;
    const std::uint16_t* const classes = character_classes();
    letter_counter counter(*this);
    for (const char16_t unit : text) {
        const unsigned properties = classes[unit];
        if ((properties & (space | punct | control)) == 0) {
            if ((properties & alpha) == 0) continue;
            counter.add(unit);
            ++target;
        } else if ((properties & space) != 0 || (properties & punct) == 0) {
            counter.end_word(); // punctuation alone joins what it stands between, as digits do
        }
    }
    counter.end_word();
    counter.add_to(results);
}

void plugin::detect(tackle::wstring_view text, result_map& results, std::uint64_t& target,
                    analysis::trace_list& trace) const {
    count_letters(text, results, target);
    trace.append(0, u"Language Detection:");
    keep_outstanding(results, target);
    if (results.empty())
        trace.append(1, tackle::format(u"Insufficient or ambigious input data (%i characters).", target));
    for (const auto& [lcid, count] : results)
        trace.append(1, tackle::format(u"%i%% %s -- Matched: %i, Target: %i, LCID: %i", count * 100 / target,
                                       english_name(lcid), count, target, lcid));
}

} // namespace brimwarden::language::plugins::ankiro
