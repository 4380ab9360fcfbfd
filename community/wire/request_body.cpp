#include "community/wire/request_body.h"

#include "community/errors.h"
#include "foundation/coding/coding.h"
#include "foundation/text/unicode.h"
#include "network/ip4.h"

#include <algorithm>

namespace brimwarden::analysis::community {

namespace {

enum class wire_form : std::uint8_t {
    address, // four bytes in network order
    text,    // counted, UTF-8
    counted, // the bytes that base64 stands for, counted
    fixed,   // the same without a count: the server knows it from the code
};

struct signature_type {
    tackle::wstring_view name;
    std::uint64_t code;
    wire_form form;
};

constexpr signature_type signature_types[] = {
    {u"tru", 64, wire_form::text}, // the most frequent first
    {u"tbd", 2, wire_form::fixed}, {u"tsd", 3, wire_form::fixed},   {u"tlc", 65, wire_form::counted},
    {u"prd", 4, wire_form::fixed}, {u"hsi", 0, wire_form::address}, {u"pid", 5, wire_form::fixed},
};

constexpr std::uint32_t utf8 = 65001;

string narrow(const tackle::wstring& value) {
    return tackle::unicode::to_narrow(value, tackle::unicode::raw_code_page, true);
}

void write_signature(packet& out, const signature_record& record) {
    const auto* const type = std::ranges::find(signature_types, record.type, &signature_type::name);
    if (type == std::end(signature_types)) throw generic("unsupported signature type");
    out.write_number(type->code);
    switch (type->form) {
    case wire_form::address: {
        const auto address = tackle::internet::address::ip4::from_numeric(narrow(record.value), 0);
        out.body.append(static_cast<const char*>(address.data()) + 4, 4);
        break;
    }
    case wire_form::text:
        out.write_text(tackle::unicode::to_narrow(record.value, utf8, true));
        break;
    case wire_form::counted:
        out.write_text(tackle::coding::translate::base64_decode(narrow(record.value), true));
        break;
    case wire_form::fixed:
        tackle::coding::translate::base64_decode(narrow(record.value), out.body, true);
        break;
    }
}

} // namespace

void write_query(packet& out, const signature_list& signatures) {
    out.write_number(signatures.size());
    for (const auto& record : signatures)
        write_signature(out, record);
}

void write_update(packet& out, float probability, const signature_list& signatures) {
    out.write_number(static_cast<std::uint64_t>(probability));
    out.write_number(static_cast<std::uint64_t>(std::ranges::count_if(signatures, &signature_record::matched)));
    for (const auto& record : signatures)
        if (record.matched) out.write_number(record.id);
}

void write_message(packet& out, bool report_flag, string_view message) {
    out.write_number(report_flag ? 1 : 0);
    out.write_text(message);
}

} // namespace brimwarden::analysis::community
