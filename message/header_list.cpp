#include "message/header_list.h"

#include "foundation/text/strings.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace tackle::internet::message2 {

header_list::header_list(const header_list& other) {
    if (other.empty()) return;
    reserve(other.size(), other.sizes().bytes);
    for (const header_field field : other)
        add(field.name, field.value);
}

header_list& header_list::operator=(const header_list& other) {
    if (this != &other) *this = header_list(other);
    return *this;
}

// Most names differ in length already.
std::size_t header_list::find(string_view name) const noexcept {
    const std::size_t count = size();
    std::size_t begin = 0;
    for (std::size_t index = 0; index < count; ++index) {
        const field_end end = ends()[index];
        if (end.name - begin == name.size() && iequals({texts() + begin, name.size()}, name)) return index;
        begin = end.value;
    }
    return count;
}

void header_list::reserve(std::size_t fields, std::size_t bytes) {
    const list_sizes old = memory_ ? sizes() : list_sizes();
    if (memory_ && fields <= old.field_room && bytes <= old.byte_room) return;
    list_sizes wanted = old;
    if (std::max(fields, bytes) > UINT32_MAX) throw std::length_error("header_list");
    wanted.field_room = std::max(old.field_room, static_cast<std::uint32_t>(fields));
    wanted.byte_room = std::max(old.byte_room, static_cast<std::uint32_t>(bytes));
    const std::size_t table = sizeof(list_sizes) + wanted.field_room * sizeof(field_end);
    auto grown = std::make_unique_for_overwrite<char[]>(table + wanted.byte_room);
    std::memcpy(grown.get(), &wanted, sizeof wanted);
    if (old.fields > 0) std::memcpy(grown.get() + sizeof(list_sizes), ends(), old.fields * sizeof(field_end));
    if (old.bytes > 0) std::memcpy(grown.get() + table, texts(), old.bytes);
    memory_ = std::move(grown);
}

// Room for so many more, and as many again if there was too little.
void header_list::make_room(std::size_t fields, std::size_t bytes) {
    const list_sizes now = memory_ ? sizes() : list_sizes();
    if (memory_ && now.fields + fields <= now.field_room && now.bytes + bytes <= now.byte_room) return;
    const auto room = [](std::size_t used, std::size_t more, std::size_t before) {
        return used + more <= before ? before : std::max(used + more, std::min<std::size_t>(used * 2, UINT32_MAX));
    };
    reserve(room(now.fields, fields, now.field_room), room(now.bytes, bytes, now.byte_room));
}

void header_list::append(string_view text) {
    char* const end = memory_.get() + sizeof(list_sizes) + sizes().field_room * sizeof(field_end) + sizes().bytes;
    if (!text.empty()) std::memcpy(end, text.data(), text.size());
    sizes().bytes += static_cast<std::uint32_t>(text.size());
}

void header_list::add(string_view name, string_view value) {
    make_room(1, name.size() + value.size());
    append(name);
    const std::uint32_t name_end = sizes().bytes;
    append(value);
    ends()[sizes().fields++] = {name_end, sizes().bytes};
}

void header_list::extend_last(string_view more) {
    make_room(0, more.size());
    append(more);
    ends()[sizes().fields - 1].value = sizes().bytes;
}

void header_list::remove(string_view name) {
    if (find(name) == size()) return;
    header_list kept;
    for (const header_field field : *this)
        if (!iequals(field.name, name)) kept.add(field.name, field.value);
    *this = std::move(kept);
}

} // namespace tackle::internet::message2
