#pragma once

#include "foundation/text/text.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tackle::html {

// A set of 16-bit texts that is filled first and read in order afterwards; the order is that of the units. Texts go
// into one buffer, and are sorted when somebody looks. Many texts may share a prefix, which is then kept once; such a
// text is written out when it is read, and only as long as it is read. One thread.
class text_set {
public:
    text_set() = default;
    text_set(const text_set&) = delete; // the views point into the own buffers
    text_set(text_set&&) = default;
    text_set& operator=(const text_set&) = delete;
    text_set& operator=(text_set&&) = default;
    ~text_set() = default;

    void insert(wstring_view text);
    // From here on `insert_prefixed(rest)` means this prefix and `rest`.
    void set_prefix(wstring_view prefix);
    void insert_prefixed(wstring_view rest);
    // A set whose different texts have no more units than this together is complete. In a larger one the texts with a
    // prefix are missing from the first on, in the order of insertion, that does not fit; but for the first one after
    // each call of set_prefix, which is never missing. No limit at first.
    void limit_prefixed(std::size_t units);

    // Reads the texts in order, each once; good until the next insert. A text is good until the next one is read.
    class iterator {
    public:
        using value_type = wstring_view;
        using difference_type = std::ptrdiff_t;
        iterator() = default;
        wstring_view operator*() const { return set_->text_of(set_->order_[at_]); }
        iterator& operator++() {
            ++at_;
            return *this;
        }
        void operator++(int) { ++at_; }
        bool operator==(const iterator&) const = default;

    private:
        friend class text_set;
        iterator(const text_set* set, std::size_t at) : set_(set), at_(at) {}
        const text_set* set_ = nullptr;
        std::size_t at_ = 0;
    };

    [[nodiscard]] bool empty() const { return entries_.empty(); }
    [[nodiscard]] bool contains(wstring_view text) const;
    [[nodiscard]] std::size_t size() const {
        sort();
        return order_.size();
    }
    [[nodiscard]] iterator begin() const {
        sort();
        return iterator(this, 0);
    }
    [[nodiscard]] iterator end() const { return iterator(this, size()); }

private:
    struct entry {
        std::uint32_t start; // in units_
        std::uint32_t length;
        std::uint32_t prefix; // index in prefixes_, or no_prefix
        bool is_first;        // after its prefix was set: not subject to the limit
    };
    struct different_entry;
    using index_list = std::vector<std::uint32_t>; // indexes in entries_
    static constexpr std::uint32_t no_prefix = UINT32_MAX;
    static constexpr std::size_t recent_slots = 64;

    entry append(wstring_view text, std::uint32_t prefix);
    void enter(wstring_view text, std::uint32_t prefix, bool is_first);
    [[nodiscard]] wstring_view rest_of(const entry& of) const { return {units_.data() + of.start, of.length}; }
    [[nodiscard]] wstring_view prefix_of(const entry& of) const;
    [[nodiscard]] std::vector<different_entry> different_entries() const;
    [[nodiscard]] wstring_view text_of(std::uint32_t index) const;
    [[nodiscard]] bool is_less(std::uint32_t a, std::uint32_t b) const;
    [[nodiscard]] index_list kept_entries() const;
    void sort_prefixed() const;
    void sort() const;

    std::vector<char16_t> units_;
    std::vector<entry> prefixes_;
    std::vector<entry> entries_;      // in the order of insertion, most repetitions left out
    std::vector<std::size_t> recent_; // indexes in entries_ plus one, by a cheap hash: a cache, no proof
    std::size_t limit_ = SIZE_MAX;
    bool prefix_is_new_ = false; // nothing has been inserted with it
    mutable index_list order_;
    mutable wstring read_; // a text with its prefix
    mutable bool is_sorted_ = true;
};

} // namespace tackle::html
