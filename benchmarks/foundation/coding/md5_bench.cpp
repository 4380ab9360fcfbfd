#include "foundation/coding/md5.h"

#include "benchmarks/corpus.h"
#include "benchmarks/yardstick.h"

#ifdef BRMX_COMPARE_OPENSSL
#include <openssl/evp.h>
#endif

namespace brimwarden::benchmarks {
namespace {

using tackle::string;
using tackle::string_view;

std::vector<string_view> real() { return {real_messages().begin(), real_messages().end()}; }

void md5_real(benchmark::State& state) {
    const auto pieces = real();
    measure(state, pieces, [&] {
        for (const auto piece : pieces)
            benchmark::DoNotOptimize(tackle::coding::md5_digest(piece));
    });
}
BENCHMARK(md5_real);

void md5_long(benchmark::State& state) {
    const string text(1 << 20, 'a');
    measure(state, {text}, [&] { benchmark::DoNotOptimize(tackle::coding::md5_digest(text)); });
}
BENCHMARK(md5_long);

#ifdef BRMX_COMPARE_OPENSSL
// Read x_md5 as theirs over ours: not below 0.9 is the aim.
void openssl_md5_long(benchmark::State& state) {
    const string text(1 << 20, 'a');
    measure(state, {text}, [&] {
        unsigned char digest[EVP_MAX_MD_SIZE];
        EVP_Digest(text.data(), text.size(), digest, nullptr, EVP_md5(), nullptr);
        benchmark::DoNotOptimize(digest);
    });
}
BENCHMARK(openssl_md5_long);
#endif

} // namespace
} // namespace brimwarden::benchmarks
