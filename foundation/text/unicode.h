#pragma once

#include "foundation/exception.h"
#include "foundation/text/text.h"

#include <cstdint>

// Where 8-bit and 16-bit text meet: charset names, code pages, conversion. Any thread.
namespace tackle::unicode {

class generic : public exception {
public:
    explicit generic(const string& text) : exception(text) { append_code("unicode"); }
};
// The platform found the result longer than a text of that length can become.
class out_of_memory : public generic {
public:
    explicit out_of_memory(const string& text) : generic(text) { append_code("out_of_memory"); }
};
class invalid_codepage : public generic {
public:
    explicit invalid_codepage(const string& text) : generic(text) { append_code("invalid_codepage"); }
};
class unmappable_character : public generic {
public:
    explicit unmappable_character(const string& text) : generic(text) { append_code("unmappable_character"); }
};

// No code page, but the rule that each byte stands for the unit of the same value. Unknown charset names give it, so
// that a message in a charset nobody has heard of can be read at all.
inline constexpr std::uint32_t raw_code_page = 0xFFFFFFFF;

// The code page for a charset name as messages spell it: case, "-" and "_" do not count. Known names come from a table,
// then iso8859N, latinN, csisolatinN and windowsN, dosN, ibmN, cpN by their number, and all others are raw_code_page.
// The number reads as variant::as_integer does; one that is too large saturates and is no code page, and none is 0:
// "cp" is code page 0, the system's own. Never fails, and the result need not be a code page that anybody knows.
[[nodiscard]] std::uint32_t code_page_of(string_view name);

// The usual name of a code page, "windows-1252". Throws invalid_codepage, with a message, if it is not in the table.
[[nodiscard]] string code_page_name(std::uint32_t code_page);

// The text that the bytes stand for. UTF-8 and the stateful code pages replace what they cannot read, all others
// refuse it. Throws invalid_codepage, unmappable_character, out_of_memory, or generic for what the platform does not
// explain; the exceptions have no message.
[[nodiscard]] wstring to_wide(string_view text, std::uint32_t code_page);
// The same for text that is likely unreadable, since an exception costs more than the conversion. False where to_wide
// throws, save for std::bad_alloc; `out` is then of no use.
[[nodiscard]] bool try_to_wide(string_view text, std::uint32_t code_page, wstring& out);

// Appends each byte as the unit of the same value: to_wide with raw_code_page, without a text of its own.
void append_raw(string_view text, wstring& out);

// The text in the code page. A character that it lacks raises unmappable_character if `strict`, and becomes the code
// page's default character, "?" mostly, if not. The code pages that replace in to_wide do so here even if `strict`.
// Throws as to_wide.
[[nodiscard]] string to_narrow(wstring_view text, std::uint32_t code_page, bool strict);

// The same, strict, for text that likely does not fit. False where to_narrow throws, save for std::bad_alloc; `out` is
// then of no use.
[[nodiscard]] bool try_to_narrow(wstring_view text, std::uint32_t code_page, string& out);

// Strictly from one code page to another. Throws as to_wide and to_narrow.
[[nodiscard]] string recode(string_view text, std::uint32_t from_code_page, std::uint32_t to_code_page);

// Whether the text comes back unchanged from the code page. False for an unknown code page. Throws out_of_memory, or
// generic for what the platform does not explain.
[[nodiscard]] bool round_trips(wstring_view text, std::uint32_t code_page);

} // namespace tackle::unicode
