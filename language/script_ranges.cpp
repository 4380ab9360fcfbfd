#include "language/script_ranges.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace brimwarden::language {

namespace {

constexpr std::uint16_t arabic = 1025, armenian = 1067, chinese_simplified = 2052, chinese_traditional = 1028,
                        russian = 1049, amharic = 1118, greek = 1032, hebrew = 1037, korean = 1042, mongolian = 2128,
                        syriac = 1114, tibetan = 2129, thai = 1054, japanese = 1041;

constexpr script_range ranges[] = {
    {0x0370, 0x03FF, {greek}},
    {0x0400, 0x052F, {russian}},
    {0x0530, 0x058F, {armenian}},
    {0x0590, 0x05FF, {hebrew}},
    {0x0600, 0x06FF, {arabic}},
    {0x0700, 0x074F, {syriac}},
    {0x0750, 0x077F, {arabic}},
    {0x0E00, 0x0E7F, {thai}},
    {0x0F00, 0x0FFF, {tibetan}},
    {0x1100, 0x111F, {korean}}, // of the jamo only this much
    {0x1200, 0x139F, {amharic}},
    {0x1800, 0x18AF, {mongolian}},
    {0x1F00, 0x1FFF, {greek}},
    {0x2D80, 0x2DDF, {amharic}},
    {0x2DE0, 0x2DFF, {russian}},
    {0x2E80, 0x2EFF, {japanese, chinese_simplified}},
    {0x2F00, 0x2FDF, {japanese}},
    {0x3040, 0x30FF, {japanese}},
    {0x3100, 0x312F, {chinese_simplified}},
    {0x3130, 0x318F, {korean}},
    {0x3190, 0x319F, {japanese, korean, chinese_simplified}},
    {0x31A0, 0x31BF, {chinese_simplified}},
    {0x31C0, 0x31EF, {japanese, chinese_simplified}},
    {0x31F0, 0x31FF, {japanese}},
    {0x3400, 0x4DBF, {chinese_traditional}}, // ideographs count for one language, whoever else writes them
    {0x4E00, 0x9FCF, {chinese_traditional}},
    {0xA640, 0xA69F, {russian}},
    {0xAC00, 0xD7AF, {korean}},
    {0xFB13, 0xFB17, {armenian}},
    {0xFB1D, 0xFB4F, {armenian}}, // the Hebrew presentation forms: deliberately not Hebrew
    {0xFB50, 0xFDFF, {arabic}},
    {0xFE70, 0xFEFE, {arabic}},
    {0xFF65, 0xFF9F, {japanese}},
    {0xFFA0, 0xFFDC, {korean}},
};

constexpr bool disordered(const script_range& one, const script_range& next) {
    return one.first > one.last || one.last >= next.first;
}
static_assert(std::ranges::adjacent_find(ranges, disordered) == std::end(ranges));

constexpr std::size_t pairs() {
    std::size_t count = 0;
    for (const auto& range : ranges)
        for (const auto lcid : range.lcids)
            count += lcid != 0 ? range.last - range.first + 1U : 0;
    return count;
}
static_assert(pairs() == 43263, "a unit more or less is a slip in one of the bounds");

} // namespace

std::span<const script_range> script_ranges() { return ranges; }

} // namespace brimwarden::language
