#include "platform/code_page.h"

#include "platform/posix/code_page/converters.h"
#include "platform/posix/code_page/flat_page.h"
#include "platform/posix/code_page/sequence_page.h"
#include "platform/posix/code_page/utf7.h"
#include "platform/posix/code_page/utf8.h"

#include <climits>
#include <iterator>

namespace tackle::platform {
namespace {

// Bytes from 20 up lie in the private use area. It is only read: the other target refuses to write it.
constexpr std::uint32_t symbol_page = 42;
constexpr std::uint32_t utf7_page = 65000;
constexpr std::uint32_t utf8_page = 65001;

// The lowest numbers stand for pages of the system: its own, that of its consoles, of Macintosh, and of the thread. The
// highest are second names: Hebrew in logical order, and EUC for Chinese and Korean.
constexpr std::uint32_t meant_by(std::uint32_t code_page) {
    if (code_page == 38598) return 28598;
    if (code_page == 51936) return 936;
    if (code_page == 51949) return 949;
    constexpr std::uint32_t system_pages[] = {1252, 437, 10000, 1252};
    return code_page < std::size(system_pages) ? system_pages[code_page] : code_page;
}

conversion widen_symbols(std::string_view bytes, std::u16string& out) {
    for (const char c : bytes) {
        const auto byte = static_cast<std::uint8_t>(c);
        out += static_cast<char16_t>(byte < 0x20 ? byte : 0xF000 + byte);
    }
    return conversion::ok;
}

conversion widen_some(std::uint32_t code_page, std::string_view bytes, bool strict, std::u16string& out) {
    code_page = meant_by(code_page);
    if (code_page == utf8_page) {
        decode_utf8(bytes, out);
        return conversion::ok;
    }
    if (code_page == utf7_page) {
        decode_utf7(bytes, out);
        return conversion::ok;
    }
    if (code_page == symbol_page) return widen_symbols(bytes, out);
    const auto* const row = find_converter(code_page);
    if (row == nullptr) return conversion::invalid_code_page;
    if (row->kind == page_kind::sequence) return widen_sequence(*row, bytes, strict, out);
    const auto* const page = find_flat_page(*row);
    if (page == nullptr) return conversion::invalid_code_page;
    return page->widen(bytes, strict, out) ? conversion::ok : conversion::unmappable;
}

} // namespace

conversion widen(std::uint32_t code_page, std::string_view bytes, bool strict, std::u16string& out) {
    out.clear();
    if (bytes.empty()) return conversion::ok;
    if (bytes.size() > INT_MAX) return conversion::failed; // the same limit as on the other target
    const auto status = widen_some(code_page, bytes, strict, out);
    return status == conversion::ok && out.empty() ? conversion::failed : status;
}

conversion narrow(std::uint32_t code_page, std::u16string_view units, std::string& out, bool* used_default) {
    out.clear();
    if (used_default != nullptr) *used_default = false;
    if (units.empty()) return conversion::ok;
    if (units.size() > INT_MAX / 4) return conversion::failed;
    code_page = meant_by(code_page);
    if (code_page == utf8_page) {
        encode_utf8(units, out);
        return conversion::ok;
    }
    if (code_page == utf7_page) {
        encode_utf7(units, out);
        return conversion::ok;
    }
    const auto* const row = find_converter(code_page);
    if (row == nullptr) return conversion::invalid_code_page;
    if (row->kind == page_kind::sequence) return narrow_sequence(*row, units, out, used_default);
    const auto* const page = find_flat_page(*row);
    if (page == nullptr) return conversion::invalid_code_page;
    const bool missing = page->narrow(units, out);
    if (used_default != nullptr) *used_default = missing;
    return conversion::ok;
}

} // namespace tackle::platform
