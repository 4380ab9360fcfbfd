#include "platform/posix/code_page/flat_page.h"

#include "platform/posix/code_page/johab.h"
#include "platform/posix/code_page/page_tables.h"
#include "platform/widen.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>
#include <unicode/ucnv.h>

namespace tackle::platform {
namespace {

constexpr char16_t nothing = 0xFFFD;

// Most text is ASCII for long stretches, in every code page.
constexpr std::size_t block = widened_at_once;

bool is_ascii_block(std::string_view bytes) {
    if (bytes.size() < block) return false;
    std::uint64_t halves[2];
    std::memcpy(halves, bytes.data(), sizeof halves);
    return ((halves[0] | halves[1]) & 0x8080808080808080) == 0;
}

// What one byte or two stand for; `nothing` unless it is a single unit. Tells in `truncated` whether more could follow.
char16_t unit_of(UConverter* converter, const char* bytes, int length, bool* truncated) {
    UErrorCode error = U_ZERO_ERROR;
    UChar units[4];
    ucnv_resetToUnicode(converter);
    const auto count = ucnv_toUChars(converter, units, 4, bytes, length, &error);
    if (truncated != nullptr) *truncated = error == U_TRUNCATED_CHAR_FOUND;
    return U_SUCCESS(error) && count == 1 ? units[0] : nothing;
}

using open_converter = std::unique_ptr<UConverter, decltype(&ucnv_close)>;

// Null if ICU does not have it.
open_converter open(const converter_row& row) {
    UErrorCode error = U_ZERO_ERROR;
    open_converter converter(ucnv_open(row.name, &error), &ucnv_close);
    if (error == U_MEMORY_ALLOCATION_ERROR) throw std::bad_alloc(); // or the page would be missing for good
    if (U_FAILURE(error)) return {nullptr, &ucnv_close};
    ucnv_setFallback(converter.get(), true); // look-alikes, as the other target gives them
    ucnv_setToUCallBack(converter.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &error);
    ucnv_setFromUCallBack(converter.get(), UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &error);
    if (U_FAILURE(error)) return {nullptr, &ucnv_close};
    return converter;
}

} // namespace

flat_page::flat_page(const converter_row& row) : row_(row), has_pairs_(row.kind != page_kind::single_byte) {
    const auto converter = open(row);
    if (converter == nullptr) return;
    load_single_bytes(converter.get());
    if (has_pairs_) load_double_bytes(converter.get());
    load_code_runs();
    keeps_ascii_ = true;
    for (unsigned byte = 0; byte < 0x80; ++byte)
        keeps_ascii_ = keeps_ascii_ && single_[byte] == byte && !lead_[byte];
    valid_ = true;
}

void flat_page::load_single_bytes(void* converter) {
    for (int i = 0; i < 256; ++i) {
        const char byte = static_cast<char>(i);
        single_[i] = unit_of(static_cast<UConverter*>(converter), &byte, 1, has_pairs_ ? &lead_[i] : nullptr);
        if (row_.ascii && i < 128) single_[i] = static_cast<char16_t>(i);
    }
}

void flat_page::load_double_bytes(void* converter) {
    pairs_.assign(65536, nothing);
    const auto plane = row_.second_plane;
    for (unsigned lead = 0; lead < 256; ++lead) {
        if (!lead_[lead]) continue;
        for (unsigned trail = 0; trail < 256; ++trail) {
            std::string bytes = {static_cast<char>(lead), static_cast<char>(trail)};
            if (!plane.empty() && trail < 0x80) {
                bytes.back() = static_cast<char>(trail | 0x80);
                bytes.insert(0, plane);
            }
            pairs_[lead << 8 | trail] =
                unit_of(static_cast<UConverter*>(converter), bytes.data(), static_cast<int>(bytes.size()), nullptr);
        }
    }
    if (row_.kind != page_kind::johab) return;
    pairs_ = johab_pairs(pairs_);
    for (unsigned lead = 0; lead < 256; ++lead) {
        const auto trails = pairs_.begin() + (lead << 8);
        lead_[lead] = std::any_of(trails, trails + 256, [](char16_t unit) { return unit != nothing; });
    }
}

void flat_page::load_code_runs() {
    for (const auto& run : find_code_runs(row_.code_page)) {
        for (unsigned i = 0; i < run.count; ++i) {
            const unsigned code = run.code + i;
            const auto unit = run.unit == nothing ? nothing : static_cast<char16_t>(run.unit + i);
            if (code > 0xFF) {
                lead_[code >> 8] |= unit != nothing;
                pairs_[code] = unit;
            } else {
                lead_[code] = false;
                single_[code] = unit;
            }
        }
    }
}

// The converter decides where two codes stand for one unit. What it does not know comes from the tables of the other
// direction, and the generated tables have the last word.
void flat_page::load_way_back() const {
    to_.assign(65536, 0);
    if (row_.kind != page_kind::johab) load_converter_way_back();
    std::vector<bool> changed(65536); // codes that no longer mean what the converter says
    for (const auto& run : find_code_runs(row_.code_page))
        std::fill_n(changed.begin() + run.code, run.count, true);
    const auto meaning = [this](unsigned code) { return code > 0xFF ? pairs_[code] : single_[code]; };
    for (unsigned unit = 1; unit < 65536; ++unit)
        if (changed[to_[unit]] && meaning(to_[unit]) != unit) to_[unit] = 0;
    for (unsigned byte = 256; byte-- > 0;) {
        const auto unit = single_[byte];
        if (lead_[byte] || unit == nothing) continue;
        const unsigned code = to_[unit];
        if (code == 0 || (code < 0x100 && single_[code] != unit)) to_[unit] = static_cast<std::uint16_t>(byte);
    }
    for (unsigned code = 0x100; code < pairs_.size(); ++code) // upward: the lowest code wins
        if (pairs_[code] != nothing && to_[pairs_[code]] == 0) to_[pairs_[code]] = static_cast<std::uint16_t>(code);
    load_look_alikes();
    if (single_[0] == 0) to_[0] = 0; // whatever else stands for the unit
    if (to_[u'?'] != 0) default_ = static_cast<char>(to_[u'?']);
}

void flat_page::load_converter_way_back() const {
    const auto converter = open(row_);
    if (converter == nullptr) throw std::bad_alloc(); // it was there before
    const auto plane = row_.second_plane;
    for (unsigned unit = 1; unit < 65536; ++unit) {
        const auto wide = static_cast<UChar>(unit);
        char buffer[8];
        UErrorCode error = U_ZERO_ERROR;
        ucnv_resetFromUnicode(converter.get());
        const auto count = ucnv_fromUChars(converter.get(), buffer, 8, &wide, 1, &error);
        if (U_FAILURE(error)) continue;
        std::string_view bytes(buffer, static_cast<std::size_t>(count));
        const bool second = !plane.empty() && bytes.size() == plane.size() + 2 && bytes.starts_with(plane);
        if (second) bytes.remove_prefix(plane.size());
        const auto first = static_cast<std::uint8_t>(bytes[0]);
        if (bytes.size() == 1 && !lead_[first]) to_[unit] = first;
        if (bytes.size() == 2 && lead_[first])
            to_[unit] = static_cast<std::uint16_t>(first << 8 | (bytes[1] & (second ? 0x7F : 0xFF)));
    }
}

// Of two look-alikes for one unit no page has both, and none is a unit that another one replaces: any order will do.
void flat_page::load_look_alikes() const {
    for (const auto& row : look_alikes()) {
        if (!has_look_alikes(row.pages, row_.code_page)) continue;
        for (unsigned i = 0; i < row.count; ++i)
            to_[row.unit + i] = to_[row.like + i];
    }
    for (const auto& run : find_unit_runs(row_.code_page))
        for (unsigned i = 0; i < run.count; ++i)
            to_[run.unit + i] = static_cast<std::uint16_t>(run.code == 0 ? 0 : run.code + i);
}

bool flat_page::widen(std::string_view bytes, bool strict, std::u16string& out) const {
    out.resize(bytes.size());
    char16_t* to = out.data();
    bool all_known = true;
    for (std::size_t i = 0; i < bytes.size();) {
        if (keeps_ascii_ && is_ascii_block(bytes.substr(i))) {
            widen_bytes(bytes.data() + i, to);
            i += block;
            to += block;
            continue;
        }
        // All of a block that is not ASCII: to look again behind each byte would look at each sixteen times.
        for (const auto behind = std::min(i + block, bytes.size()); i < behind; ++i) {
            const auto byte = static_cast<std::uint8_t>(bytes[i]);
            auto unit = single_[byte];
            if (lead_[byte] && i + 1 < bytes.size()) {
                unit = pairs_[static_cast<unsigned>(byte) << 8 | static_cast<std::uint8_t>(bytes[i + 1])];
                if (unit != nothing) ++i;
            }
            all_known &= unit != nothing;
            *to++ = unit;
        }
    }
    out.resize(static_cast<std::size_t>(to - out.data()));
    return all_known || !strict;
}

bool flat_page::narrow(std::u16string_view units, std::string& out) const {
    std::call_once(way_back_loaded_, [this] { load_way_back(); });
    out.resize(units.size() * (has_pairs_ ? 2 : 1));
    char* to = out.data();
    bool used_default = false;
    for (const auto unit : units) {
        const unsigned code = to_[unit];
        if (code > 0xFF) *to++ = static_cast<char>(code >> 8);
        const bool missing = code == 0 && unit != 0;
        used_default |= missing;
        *to++ = missing ? default_ : static_cast<char>(code);
    }
    out.resize(static_cast<std::size_t>(to - out.data()));
    return used_default;
}

const flat_page* find_flat_page(const converter_row& row) {
    struct slot {
        std::once_flag once;
        std::unique_ptr<const flat_page> page;
    };
    static std::vector<slot> slots(converter_rows().size());
    auto& own = slots[static_cast<std::size_t>(&row - converter_rows().data())];
    std::call_once(own.once, [&] { own.page = std::make_unique<const flat_page>(row); });
    return own.page->valid() ? own.page.get() : nullptr;
}

} // namespace tackle::platform
