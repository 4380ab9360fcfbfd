#include "foundation/text/strings.h"
#include "message/header_type/parametized_value_type.h"
#include "message/part.h"

namespace tackle::internet::message2 {
namespace {

// Fields of fewer bytes are read again each time: what was read would take more memory than they do.
constexpr std::size_t long_fields = 128;

// Whether a Content-Type could have the parameter "name". Asked for each part several times in a scan, and most have
// none.
bool may_have_name(string_view raw) {
    constexpr string_view name = "name";
    std::size_t matched = 0;
    for (const char c : raw) {
        if (c == '\\' || c == '?' || (c & 0x80) != 0) return true;
        if (c == '"') continue; // may stand anywhere inside of a name
        const char letter = lower_letter(c);
        if (letter != name[matched]) matched = 0;
        if (letter == name[matched] && ++matched == name.size()) return true;
    }
    return false;
}

} // namespace

part::field_readings part::read_fields(std::optional<string_view> type, std::optional<string_view> disposition) {
    field_readings read;
    header_type::parametized_value_type value;
    if (type) {
        value.parse_readable(*type);
        value.get_parameter("name", read.file_name);
        if (string charset; value.get_parameter("charset", charset)) read.charset = std::move(charset);
    }
    if (disposition) {
        if (value.parse_readable(*disposition)) read.is_disposed = iequals(value.value(), u"attachment");
        value.get_parameter("filename", read.file_name);
    }
    return read;
}

// A scan asks a dozen times, and reading can cost a conversion for every other byte.
const part::field_readings* part::kept_readings(std::optional<string_view> type,
                                                std::optional<string_view> disposition) const {
    if (type.value_or("").size() + disposition.value_or("").size() < long_fields) return nullptr;
    auto& kept = rest().readings;
    if (kept == nullptr) kept = std::make_unique<const field_readings>(read_fields(type, disposition));
    return kept.get();
}

void part::forget_readings() noexcept {
    if (body_ && body_->rest) body_->rest->readings.reset();
}

attachment_info part::attachment_info() const {
    if (headers_from_ == header_origin::file) return {true, file_name()};
    auto type = find_header("Content-Type");
    const auto disposition = find_header("Content-Disposition");
    message2::attachment_info info;
    // The type in force, and not the one that stands in the field: a message attached as a file has become one.
    info.is_attachment = type && iequals(content_type(), "message/rfc822");
    if (type && !may_have_name(*type)) type.reset();
    if (!type && !disposition) return info;
    const auto take = [&](auto&& read) {
        if (read.is_disposed) info.is_attachment = *read.is_disposed;
        info.filename = std::forward<decltype(read)>(read).file_name;
    };
    if (const field_readings* const kept = kept_readings(find_header("Content-Type"), disposition)) {
        take(*kept);
    } else {
        take(read_fields(type, disposition));
    }
    return info;
}

std::optional<string> part::named_charset() const {
    const auto type = find_header("Content-Type");
    const field_readings* const kept = kept_readings(type, find_header("Content-Disposition"));
    return kept != nullptr ? kept->charset : read_fields(type, {}).charset;
}

} // namespace tackle::internet::message2
