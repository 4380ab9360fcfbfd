// Loads any bytes, renders the tree, and loads that again: the same tree where the model promises it, and some tree in
// any case.
#include "fuzz/support/expect.h"
#include "fuzz/support/round_trip.h"

#include <cstdint>

using namespace tackle;
namespace round_trip = internet::message2::round_trip;
using internet::message2::part;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    try {
        const part root{string_view(reinterpret_cast<const char*>(data), size)};
        EXPECT(round_trip::compare(root) != round_trip::outcome::different);
        const string rendered = root.render_text();
        EXPECT(rendered.size() <= 8 * size + 64 * 1024);
        const part again{string_view(rendered)};
        static_cast<void>(again.render());
        static_cast<void>(part::from_rendered(rendered).render());
    } catch (const internet::message2::depth_limit&) {
    } catch (const unicode::generic&) {
    } catch (const coding::translate::generic&) {
    }
    return 0;
}
