#include "platform/posix/sequence_page.h"

#include <climits>
#include <memory>
#include <new>
#include <unicode/ucnv.h>

namespace tackle::platform {
namespace {

// Opening a converter costs more than converting a line, and a message tends to stay with one code page.
UConverter* converter_of(const converter_row& row) {
    struct kept {
        const converter_row* row = nullptr;
        std::unique_ptr<UConverter, decltype(&ucnv_close)> converter{nullptr, &ucnv_close};
    };
    static thread_local kept last;
    if (last.row != &row) {
        UErrorCode error = U_ZERO_ERROR;
        last.row = nullptr;
        last.converter.reset(ucnv_open(row.name, &error));
        if (last.converter) ucnv_setSubstString(last.converter.get(), u"?", 1, &error);
        if (error == U_MEMORY_ALLOCATION_ERROR) throw std::bad_alloc(); // and ask again next time
        if (U_FAILURE(error)) last.converter.reset();
        last.row = &row;
    }
    return last.converter.get();
}

conversion judge(UErrorCode error) {
    switch (error) {
    case U_BUFFER_OVERFLOW_ERROR:
        return conversion::too_small;
    case U_INVALID_CHAR_FOUND:
    case U_ILLEGAL_CHAR_FOUND:
    case U_TRUNCATED_CHAR_FOUND:
    case U_ILLEGAL_ESCAPE_SEQUENCE:
    case U_UNSUPPORTED_ESCAPE_SEQUENCE:
        return conversion::unmappable;
    case U_MEMORY_ALLOCATION_ERROR:
        throw std::bad_alloc();
    default:
        return U_SUCCESS(error) ? conversion::ok : conversion::failed;
    }
}

conversion encode(UConverter* converter, bool stop, std::u16string_view units, std::string& out) {
    UErrorCode error = U_ZERO_ERROR;
    ucnv_reset(converter);
    ucnv_setFromUCallBack(converter, stop ? UCNV_FROM_U_CALLBACK_STOP : UCNV_FROM_U_CALLBACK_SUBSTITUTE, nullptr,
                          nullptr, nullptr, &error);
    // Ten units more: for what switches the shift state, at the end among them.
    const auto room = (units.size() + 10) * static_cast<std::size_t>(ucnv_getMaxCharSize(converter));
    if (room > INT_MAX) return conversion::failed;
    out.resize(room);
    const auto length = ucnv_fromUChars(converter, out.data(), static_cast<std::int32_t>(out.size()), units.data(),
                                        static_cast<std::int32_t>(units.size()), &error);
    if (U_SUCCESS(error)) out.resize(static_cast<std::size_t>(length));
    return judge(error);
}

} // namespace

conversion widen_sequence(const converter_row& row, std::string_view bytes, bool strict, std::u16string& out) {
    auto* const converter = converter_of(row);
    if (converter == nullptr) return conversion::invalid_code_page;
    UErrorCode error = U_ZERO_ERROR;
    ucnv_reset(converter);
    ucnv_setToUCallBack(converter, strict ? UCNV_TO_U_CALLBACK_STOP : UCNV_TO_U_CALLBACK_SUBSTITUTE, nullptr, nullptr,
                        nullptr, &error);
    out.resize(bytes.size());
    const auto length = ucnv_toUChars(converter, out.data(), static_cast<std::int32_t>(out.size()), bytes.data(),
                                      static_cast<std::int32_t>(bytes.size()), &error);
    if (U_SUCCESS(error)) out.resize(static_cast<std::size_t>(length));
    return judge(error);
}

conversion narrow_sequence(const converter_row& row, std::u16string_view units, std::string& out, bool* used_default) {
    auto* const converter = converter_of(row);
    if (converter == nullptr) return conversion::invalid_code_page;
    const auto result = encode(converter, true, units, out);
    if (result != conversion::unmappable) return result;
    if (used_default != nullptr) *used_default = true;
    return encode(converter, false, units, out);
}

} // namespace tackle::platform
