#pragma once

#include "foundation/text/text.h"

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>

namespace tackle::internet::message2 {

// One header of a part: views into the list that holds it. Nothing is decoded; the value types of header_type/ give
// meaning to a value when somebody asks.
struct header_field {
    string_view name;  // as it stood, case kept
    string_view value; // unfolded: each white space byte is a blank, each fold is a single one
};

// The headers of a part in the order of the message. Duplicates stay; a lookup answers the first.
//
// All of them lie in one piece of memory and take eight bytes each beside their texts, and a list without any takes one
// pointer: a message can consist of millions of parts, and a part of fields of one byte.
//
// Views and iterators are good until the list is changed. All texts together may have 4 GB; throws std::length_error
// beyond that.
class header_list {
public:
    class iterator {
    public:
        using iterator_category = std::input_iterator_tag;
        using value_type = header_field;
        using difference_type = std::ptrdiff_t;
        using pointer = void;
        using reference = header_field;

        iterator() = default;
        iterator(const header_list* list, std::size_t index) : list_(list), index_(index) {}
        header_field operator*() const { return (*list_)[index_]; }
        iterator& operator++() {
            ++index_;
            return *this;
        }
        iterator operator++(int) {
            const iterator before = *this;
            ++index_;
            return before;
        }
        bool operator==(const iterator& other) const { return index_ == other.index_; }

    private:
        const header_list* list_ = nullptr;
        std::size_t index_ = 0;
    };

    header_list() = default;
    header_list(const header_list& other);
    header_list& operator=(const header_list& other);
    header_list(header_list&&) noexcept = default;
    header_list& operator=(header_list&&) noexcept = default;
    ~header_list() = default;

    [[nodiscard]] std::size_t size() const noexcept { return memory_ ? sizes().fields : 0; }
    [[nodiscard]] bool empty() const noexcept { return size() == 0; }
    [[nodiscard]] iterator begin() const { return {this, 0}; }
    [[nodiscard]] iterator end() const { return {this, size()}; }
    [[nodiscard]] header_field operator[](std::size_t index) const {
        const std::size_t begin = begin_of(index);
        const field_end end = ends()[index];
        return {{texts() + begin, end.name - begin}, {texts() + end.name, end.value - end.name}};
    }

    // The index of the first field of that name, case ignored; the size of the list if there is none.
    [[nodiscard]] std::size_t find(string_view name) const noexcept;

    // Room for that many fields and bytes of names and values in all.
    void reserve(std::size_t fields, std::size_t bytes);
    void add(string_view name, string_view value);
    // Adds to the value of the last field.
    void extend_last(string_view more);
    // Removes all of that name, case ignored.
    void remove(string_view name);

private:
    struct field_end { // where the texts of a field end; its name begins where the value of the one before ends
        std::uint32_t name;
        std::uint32_t value;
    };
    // In front of the memory; behind it come the ends, and behind the room for these the texts.
    struct list_sizes {
        std::uint32_t fields = 0;
        std::uint32_t field_room = 0;
        std::uint32_t bytes = 0;
        std::uint32_t byte_room = 0;
    };

    [[nodiscard]] const list_sizes& sizes() const { return *reinterpret_cast<const list_sizes*>(memory_.get()); }
    [[nodiscard]] list_sizes& sizes() { return *reinterpret_cast<list_sizes*>(memory_.get()); }
    [[nodiscard]] const field_end* ends() const {
        return reinterpret_cast<const field_end*>(memory_.get() + sizeof(list_sizes));
    }
    [[nodiscard]] field_end* ends() { return reinterpret_cast<field_end*>(memory_.get() + sizeof(list_sizes)); }
    [[nodiscard]] const char* texts() const {
        return memory_.get() + sizeof(list_sizes) + sizes().field_room * sizeof(field_end);
    }
    [[nodiscard]] std::size_t begin_of(std::size_t index) const { return index == 0 ? 0 : ends()[index - 1].value; }
    void make_room(std::size_t fields, std::size_t bytes);
    void append(string_view text);

    std::unique_ptr<char[]> memory_; // null until there is a field or room for one
};

} // namespace tackle::internet::message2
