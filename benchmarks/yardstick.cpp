#include "benchmarks/yardstick.h"

#include "foundation/coding/md5.h"

#include <cstring>
#include <limits>

namespace brimwarden::benchmarks {
namespace {

// The fastest of many rounds of at least 2 ms each, which is far above the grain of the clock.
template <typename work>
double fastest(const work& body) {
    constexpr double shortest_round = 0.002;
    constexpr double all_rounds = 0.05;
    double best = std::numeric_limits<double>::max();
    double total = 0;
    for (int times = 1; total < all_rounds;) {
        const auto start = std::clock();
        for (int i = 0; i < times; ++i)
            body();
        const auto seconds = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
        if (seconds < shortest_round) {
            times *= 2;
            continue;
        }
        best = std::min(best, seconds / times);
        total += seconds;
    }
    return best;
}

} // namespace

yardstick measure_yardstick(const std::vector<tackle::string_view>& pieces) {
    std::size_t longest = 0;
    for (const auto piece : pieces)
        longest = std::max(longest, piece.size());
    std::vector<char> copy(longest);
    yardstick result{};
    result.hashing = fastest([&] {
        for (const auto piece : pieces)
            benchmark::DoNotOptimize(tackle::coding::md5_digest(piece));
    });
    result.copying = fastest([&] {
        for (const auto piece : pieces) {
            std::memcpy(copy.data(), piece.data(), piece.size());
            benchmark::ClobberMemory();
        }
    });
    return result;
}

} // namespace brimwarden::benchmarks
