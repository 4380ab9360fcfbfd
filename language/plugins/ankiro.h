#pragma once

#include "language/plugins/generic.h"
#include "language/script_ranges.h"
#include "language/word_table.h"

#include <array>
#include <span>
#include <vector>

namespace brimwarden::language::plugins::ankiro {

// Knows languages by their common words and by scripts that few languages share. A word of a dictionary counts with its
// whole length for each language that has it; any other word with those of its letters that belong to a script.
class plugin final : public generic::plugin {
public:
    // Reads the dictionaries, which takes milliseconds. `index` is not needed afterwards; it may add languages, as long
    // as they stay below 64 together with those of the scripts.
    explicit plugin(const dictionary_row* index = dictionary_index);

    void supported_languages(std::set<std::uint32_t>& languages) const override;
    void detect(tackle::wstring_view text, result_map& results, std::uint64_t& target,
                analysis::trace_list& trace) const override;

private:
    struct script {
        char16_t first;
        char16_t last;
        language_set languages;
    };
    class letter_counter;

    void add_scripts();
    [[nodiscard]] language_set script_of(char16_t unit) const;
    void count_letters(tackle::wstring_view text, result_map& results, std::uint64_t& target) const;

    const std::vector<std::uint32_t> languages_; // ascending LCIDs; a position is a bit of a language_set
    const word_table words_;
    std::vector<script> scripts_;                  // ascending, with one at the end that no unit passes
    std::array<std::uint8_t, 256> script_pages_{}; // by high byte of a unit: the first of scripts_ that reaches so far
};

} // namespace brimwarden::language::plugins::ankiro
