#include "community/wire/signature.h"

#include "community/errors.h"
#include "foundation/coding/coding.h"
#include "foundation/text/unicode.h"
#include "network/ip4.h"

#include <algorithm>
#include <charconv>

namespace brimwarden::analysis::community {

namespace {

enum class wire_form : std::uint8_t {
    address, // four bytes in network order
    text,    // counted, UTF-8
    counted, // the bytes that base64 stands for, counted
    fixed,   // the same without a count: the size follows from the code
};

struct signature_type {
    tackle::wstring_view name;
    signature_code code;
    wire_form form;
};

constexpr signature_type signature_types[] = {
    {u"tru", signature_code::link, wire_form::text}, // the most frequent first
    {u"tbd", signature_code::blocks, wire_form::fixed},    {u"tsd", signature_code::structure, wire_form::fixed},
    {u"tlc", signature_code::lengths, wire_form::counted}, {u"prd", signature_code::part, wire_form::fixed},
    {u"hsi", signature_code::address, wire_form::address}, {u"pid", signature_code::part_as_sent, wire_form::fixed},
};

constexpr std::uint32_t utf8 = 65001;
constexpr std::size_t address_size = 4;
constexpr std::size_t digest_size = 16;

const signature_type& type_of(signature_code code) {
    return *std::ranges::find(signature_types, code, &signature_type::code);
}

string narrow(const tackle::wstring& value) {
    return tackle::unicode::to_narrow(value, tackle::unicode::raw_code_page, true);
}

std::size_t dotted_length(string_view address) {
    std::size_t length = address.size() - 1; // the dots
    for (const char byte : address) {
        const auto number = static_cast<std::uint8_t>(byte);
        length += number > 99 ? 3 : number > 9 ? 2 : 1;
    }
    return length;
}

// Each character of UTF-8 has one byte that is no continuation; those with four bytes take two units.
std::size_t utf16_length(string_view text) {
    std::size_t units = 0;
    for (const char byte : text) {
        const auto value = static_cast<std::uint8_t>(byte);
        units += (value & 0xC0) != 0x80 ? 1 : 0;
        units += value >= 0xF0 ? 1 : 0;
    }
    return units;
}

} // namespace

wire_signature to_wire(const signature_record& record) {
    const auto* const type = std::ranges::find(signature_types, record.type, &signature_type::name);
    if (type == std::end(signature_types)) throw generic("unsupported signature type");
    switch (type->form) {
    case wire_form::address: {
        const auto address = tackle::internet::address::ip4::from_numeric(narrow(record.value), 0);
        return {type->code, string(static_cast<const char*>(address.data()) + 4, address_size)};
    }
    case wire_form::text:
        return {type->code, tackle::unicode::to_narrow(record.value, utf8, true)};
    case wire_form::counted:
    case wire_form::fixed:
        break;
    }
    return {type->code, tackle::coding::translate::base64_decode(narrow(record.value), true)};
}

void write_signature(packet& out, const wire_signature& signature) {
    out.write_number(static_cast<std::uint64_t>(signature.code));
    const auto form = type_of(signature.code).form;
    if (form == wire_form::text || form == wire_form::counted)
        out.write_text(signature.value);
    else
        out.body.append(signature.value);
}

namespace {

bool read_signature(packet& payload, wire_signature& signature) {
    std::uint64_t code = 0;
    if (!payload.read_number(code)) return false;
    const auto* const type = std::ranges::find(
        signature_types, code, [](const signature_type& one) { return static_cast<std::uint64_t>(one.code); });
    if (type == std::end(signature_types)) return false;
    signature.code = type->code;
    if (type->form == wire_form::text || type->form == wire_form::counted) return payload.read_text(signature.value);
    const std::size_t size = type->form == wire_form::address ? address_size : digest_size;
    if (payload.body.size() - payload.read_position < size) return false;
    signature.value.assign(payload.body, payload.read_position, size);
    payload.read_position += size;
    return true;
}

} // namespace

bool read_query_payload(packet& payload, std::size_t most, std::vector<wire_signature>& out) {
    std::uint64_t count = 0;
    if (!payload.read_number(count) || count > most) return false;
    out.resize(count);
    for (auto& signature : out)
        if (!read_signature(payload, signature)) return false;
    return payload.read_position == payload.body.size();
}

std::size_t client_length(const wire_signature& signature) {
    switch (type_of(signature.code).form) {
    case wire_form::address:
        return dotted_length(signature.value);
    case wire_form::text:
        return utf16_length(signature.value);
    case wire_form::counted:
    case wire_form::fixed:
        break;
    }
    return (signature.value.size() * 8 + 5) / 6;
}

} // namespace brimwarden::analysis::community
