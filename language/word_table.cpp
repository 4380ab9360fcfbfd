#include "language/word_table.h"

#include "foundation/text/unicode.h"
#include "language/dictionary_reader.h"

#include <algorithm>
#include <bit>

namespace brimwarden::language {

std::size_t position_of(std::uint32_t lcid, std::span<const std::uint32_t> languages) {
    return static_cast<std::size_t>(std::ranges::lower_bound(languages, lcid) - languages.begin());
}

word_table::word_table(const dictionary_row* index, std::span<const std::uint32_t> languages) {
    collect(index, languages);
    enter_all();
}

// A conversion for each word would cost more than everything else here, so a language is converted in one go.
void word_table::collect(const dictionary_row* index, std::span<const std::uint32_t> languages) {
    dictionary_reader reader(index);
    tackle::string words;
    bool more = reader.next();
    while (more) {
        const std::uint32_t lcid = reader.lcid();
        words.clear();
        for (; more && reader.lcid() == lcid; more = reader.next())
            words.append(reader.word()).push_back('\n');
        append(tackle::unicode::to_wide(words, 65001), language_set{1} << position_of(lcid, languages));
    }
}

void word_table::append(tackle::wstring_view words, language_set languages) {
    while (!words.empty()) {
        const std::size_t length = words.find(u'\n');
        entries_.push_back(
            {static_cast<std::uint32_t>(letters_.size()), static_cast<std::uint32_t>(length), languages});
        letters_.append(words.substr(0, length));
        words.remove_prefix(length + 1);
    }
}

void word_table::enter_all() {
    letters_.shrink_to_fit();
    entries_.shrink_to_fit();
    const std::size_t size = std::bit_ceil(std::max<std::size_t>(entries_.size(), 1) * 2);
    slots_.resize(size);
    shift_ = 32 - std::countr_zero(size);
    number_bits_ = static_cast<std::uint32_t>(size - 1);
    for (std::size_t number = 0; number < entries_.size(); ++number) {
        const auto word = letters(entries_[number]);
        std::uint32_t hash = empty_hash;
        for (const char16_t unit : word)
            hash = extend_hash(hash, unit);
        std::size_t slot = first_slot(hash);
        while (slots_[slot] != 0 && letters(entries_[(slots_[slot] & number_bits_) - 1]) != word)
            slot = (slot + 1) & (size - 1);
        // A word of several languages is one entry; those of the later languages lie idle.
        if (slots_[slot] == 0)
            slots_[slot] = (hash & ~number_bits_) | static_cast<std::uint32_t>(number + 1);
        else
            entries_[(slots_[slot] & number_bits_) - 1].languages |= entries_[number].languages;
    }
}

language_set word_table::find(tackle::wstring_view word, std::uint32_t hash) const {
    for (std::size_t slot = first_slot(hash); slots_[slot] != 0; slot = (slot + 1) & (slots_.size() - 1)) {
        if (((slots_[slot] ^ hash) & ~number_bits_) != 0) continue;
        const entry& found = entries_[(slots_[slot] & number_bits_) - 1];
        if (letters(found) == word) return found.languages;
    }
    return 0;
}

} // namespace brimwarden::language
