#include "platform/posix/code_page/sequence_page.h"

#include <algorithm>
#include <climits>
#include <iterator>
#include <memory>
#include <mutex>
#include <new>
#include <unicode/ucnv.h>
#include <unicode/ucnv_cb.h>
#include <utility>

namespace tackle::platform {
namespace {

using converter_owner = std::unique_ptr<UConverter, decltype(&ucnv_close)>;

// Converters that are open and not in use. Opening one costs more than converting a line, and each serves one thread at
// a time. They are not kept by thread: the C library ends the whole process if it has no memory for what a thread has
// to destroy at its end.
class idle_converters {
public:
    // An own one for the caller, null if the system has none for this page. Throws std::bad_alloc.
    static converter_owner take(const converter_row& row) {
        {
            const std::lock_guard lock(guard);
            for (auto& [idle_row, idle] : places)
                if (idle_row == &row && idle != nullptr) return {std::exchange(idle, nullptr), &ucnv_close};
        }
        UErrorCode error = U_ZERO_ERROR;
        converter_owner opened(ucnv_open(row.name, &error), &ucnv_close);
        if (opened) ucnv_setSubstString(opened.get(), u"?", 1, &error);
        if (error == U_MEMORY_ALLOCATION_ERROR) throw std::bad_alloc();
        if (U_FAILURE(error)) opened.reset();
        return opened;
    }

    static void give_back(const converter_row& row, converter_owner used) noexcept {
        converter_owner closed(nullptr, &ucnv_close); // behind the lock
        const std::lock_guard lock(guard);
        auto place = std::ranges::find(places, nullptr, &entry::idle);
        if (place == std::end(places)) place = std::begin(places) + oldest++ % std::size(places);
        closed.reset(place->idle);
        *place = {&row, used.release()};
    }

    // At the end of the library. What a thread that still runs gives back later stays.
    ~idle_converters() {
        for (auto& place : places) {
            const std::lock_guard lock(guard);
            const converter_owner closed(std::exchange(place.idle, nullptr), &ucnv_close);
        }
    }

private:
    struct entry {
        const converter_row* row;
        UConverter* idle;
    };
    static constinit inline std::mutex guard;
    static constinit inline entry places[16] = {};
    static constinit inline unsigned oldest = 0;
};
const idle_converters ended_with_the_library;

// One for the life of this object.
class borrowed_converter {
public:
    explicit borrowed_converter(const converter_row& row) : row_(row), converter_(idle_converters::take(row)) {}
    ~borrowed_converter() {
        if (converter_) idle_converters::give_back(row_, std::move(converter_));
    }
    borrowed_converter(const borrowed_converter&) = delete;
    borrowed_converter& operator=(const borrowed_converter&) = delete;
    [[nodiscard]] UConverter* get() const { return converter_.get(); }

private:
    const converter_row& row_;
    converter_owner converter_;
};

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

// What the page lacks becomes its substitute, or ends the conversion if `stop` is set. ICU's own callbacks of these two
// kinds let invisible characters vanish without a word, soft hyphens and joiners for instance.
void replace_missing(const void* stop, UConverterFromUnicodeArgs* arguments, const UChar*, std::int32_t, UChar32,
                     UConverterCallbackReason reason, UErrorCode* error) {
    if (reason > UCNV_IRREGULAR || stop != nullptr) return;
    *error = U_ZERO_ERROR;
    ucnv_cbFromUWriteSub(arguments, 0, error);
}

conversion encode(UConverter* converter, bool stop, std::u16string_view units, std::string& out) {
    UErrorCode error = U_ZERO_ERROR;
    ucnv_reset(converter);
    static constexpr char stopping = 0;
    ucnv_setFromUCallBack(converter, &replace_missing, stop ? &stopping : nullptr, nullptr, nullptr, &error);
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
    const borrowed_converter borrowed(row);
    auto* const converter = borrowed.get();
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
    const borrowed_converter borrowed(row);
    auto* const converter = borrowed.get();
    if (converter == nullptr) return conversion::invalid_code_page;
    const auto result = encode(converter, true, units, out);
    if (result != conversion::unmappable) return result;
    if (used_default != nullptr) *used_default = true;
    return encode(converter, false, units, out);
}

} // namespace tackle::platform
