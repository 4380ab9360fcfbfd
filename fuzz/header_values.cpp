// Reads any raw value as each type, and what it renders once more.
#include "foundation/coding/coding.h"
#include "foundation/text/unicode.h"
#include "fuzz/support/expect.h"
#include "message/header_type/addresses_value_type.h"
#include "message/header_type/parametized_value_type.h"

#include <cstdint>

using namespace tackle;
using namespace internet::message2::header_type;

namespace {

template <typename value_type>
void read(string_view raw) {
    try {
        value_type value("utf-8");
        value.parse(raw);
        const string rendered = value.render();
        value.parse(rendered);
    } catch (const unicode::generic&) {
    } catch (const coding::translate::generic&) {
    }
}

// Reading what can be read never fails, and loses nothing of a value that can be read whole.
void read_readable(string_view raw) {
    parametized_value_type readable;
    readable.parse_readable(raw);
    try {
        parametized_value_type whole;
        whole.parse(raw);
        EXPECT(readable.value() == whole.value() && readable.parameters().size() == whole.parameters().size());
    } catch (const unicode::generic&) {
    } catch (const coding::translate::generic&) {
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const string_view raw(reinterpret_cast<const char*>(data), size);
    read<unstructured_value_type>(raw);
    read<parametized_value_type>(raw);
    read<addresses_value_type>(raw);
    read_readable(raw);
    return 0;
}
