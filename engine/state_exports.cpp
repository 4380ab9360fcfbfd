#include "engine/at_edge.h"
#include "engine/process_objects.h"
#include "findings/signature_record.h"
#include "foundation/coding/coding.h"
#include "foundation/sync/scope.h"
#include "foundation/text/unicode.h"

#include <array>

using namespace brimwarden::engine;
using brimwarden::analysis::digit_string;
using tackle::scope;
using tackle::wstring;
using tackle::wstring_view;

namespace {

constexpr wstring_view format_number = u"1";
constexpr char16_t field_end = u'\r';

// The first fields of the first record; what stands behind them, further records included, is for nobody. False if
// there are fewer: the end of the text ends a field as well.
bool split_fields(wstring_view text, std::array<wstring_view, 4>& fields) {
    for (std::size_t i = 0; i < fields.size(); ++i) {
        const auto end = text.find(field_end);
        fields[i] = text.substr(0, end);
        if (end == wstring_view::npos) return i + 1 == fields.size();
        text.remove_prefix(end + 1);
    }
    return true;
}

std::uint32_t read_digits(wstring_view digits) {
    std::uint64_t number = 0;
    tackle::coding::translate::base64_decode(tackle::unicode::to_narrow(digits, tackle::unicode::raw_code_page, true),
                                             number, true);
    return static_cast<std::uint32_t>(number);
}

} // namespace

engine_status BRMX_Engine_GetState(const brmx_char** text, std::uint32_t* length) {
    if (text == nullptr || length == nullptr) return null_argument;
    return at_edge([&] {
        const scope lifecycle(&engine_lock);
        wstring record(format_number);
        record.push_back(field_end);
        {
            const scope table(&session_table_lock);
            record.append(digit_string(session_counter)).push_back(field_end);
        }
        {
            const scope values(&group_lock);
            record.append(server_group).push_back(field_end);
            record.append(digit_string(rediscovery_seconds)).push_back(field_end);
        }
        state_buffer.append(record.begin(), record.end()); // behind what is there: readers take the oldest record
        *text = state_buffer.data();
        *length = static_cast<std::uint32_t>(state_buffer.size());
        return status_ok;
    });
}

engine_status BRMX_Engine_SetState(const brmx_char* text, std::uint32_t length) {
    if (text == nullptr) return null_argument;
    return at_edge([&] {
        const scope lifecycle(&engine_lock);
        // A copy first: the text may be the buffer itself, as GetState has handed it out.
        const wstring given(text, text + length);
        state_buffer.assign(given.begin(), given.end());
        std::array<wstring_view, 4> fields;
        if (!split_fields(given, fields) || fields[0] != format_number) return status_failed;
        const std::uint32_t counter = read_digits(fields[1]);
        {
            const scope table(&session_table_lock);
            session_counter = counter;
        }
        if (fields[2].empty()) return status_ok;
        const std::uint32_t rediscovery = read_digits(fields[3]);
        const std::basic_string<brmx_char> group(fields[2].begin(), fields[2].end());
        return BRMX_Spam_SetCommunityServerGroup(group.data(), static_cast<std::uint32_t>(group.size()), rediscovery);
    });
}
