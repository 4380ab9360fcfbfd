#ifndef _WIN32
#include "tests/engine_community/community.h"

#include <algorithm>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <unistd.h>

// Looks through the memory of this process for what must not be there any more.
namespace {

using client::community;

struct secret_case {
    const char* label;
    std::string masked; // so that the test itself is not found
};
constexpr char mask = 0x15;
const secret_case secret_cases[] = {
    {"inside its object", "DxF$b>K"},
    {"inside the hash's block", "bxG#q%Zw0Lk@9dVs&n"},
    {"longer than the hash's block", "bxG#q%Zw0Lk@9dVs&n_Tg^2cHr!8YpAfJx+M3uEe*oB7iK?hW,vC6tS(jX1lD-yRzG~aQ$"},
};

// As UTF-8 or UTF-16, in all that can be written to but the huge ranges of sanitizers. Copied before it is read, since
// other threads may give ranges back meanwhile.
bool is_in_memory(const std::string& masked) {
    static char window[1 << 18];
    constexpr unsigned long huge = 1UL << 30;
    bool found = false;
    const int memory = open("/proc/self/mem", O_RDONLY | O_CLOEXEC);
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        unsigned long from = 0;
        unsigned long to = 0;
        char writable = 0;
        (void)std::sscanf(line.c_str(), "%lx-%lx %*c%c", &from, &to, &writable);
        if (writable != 'w' || to - from > huge) continue;
        for (; from < to; from += sizeof window - 256) { // what lies across the end is found in the next one
            const auto got = pread(memory, window, std::min(sizeof window, to - from), static_cast<off_t>(from));
            for (const char *at = window, *end = window + std::max<ssize_t>(got, 0); at != end; ++at) {
                at = static_cast<const char*>(std::memchr(at, masked[0] ^ mask, end - at));
                if (at == nullptr) break;
                for (const std::ptrdiff_t width : {1, 2}) {
                    std::size_t same = 1;
                    while (same < masked.size() && end - at > width * static_cast<std::ptrdiff_t>(same) &&
                           at[width * same] == (masked[same] ^ mask))
                        ++same;
                    const char* const origin = reinterpret_cast<const char*>(from) + (at - window);
                    const bool own = origin >= window && origin < std::end(window);
                    found = found || (same == masked.size() && !own);
                }
            }
        }
    }
    close(memory);
    return found;
}

void give_secret(std::uint32_t handle, const std::string& masked) {
    client::text secret(masked.begin(), masked.end());
    for (auto& unit : secret)
        unit = static_cast<brmx_char>(unit ^ mask);
    const auto length = static_cast<std::uint32_t>(secret.size());
    EXPECT_EQ(BRMX_Spam_SetCommunityCredentials(handle, 1, 300, secret.data(), length), status_ok);
    explicit_bzero(secret.data(), length * sizeof secret[0]);
}

TEST_F(community, forgets_a_secret_with_its_session) {
    serve();
    const auto use = [&](const std::string& masked, const std::string& searched) {
        const auto handle = open_session(client::small_message);
        give_secret(handle, masked);
        EXPECT_TRUE(is_in_memory(searched));
        std::int32_t number = 0;
        EXPECT_EQ(BRMX_Spam_GetProbability(handle, client::generous_ms, &number), community_invalid_credentials);
        give_secret(handle, "8" + masked); // replaced by a longer one
        EXPECT_EQ(BRMX_Session_Destroy(handle), status_ok);
    };
    use("warm up", "warm up"); // the loader puts registers on the stack when it looks a function up for its first call
    for (const auto& c : secret_cases) {
        SCOPED_TRACE(c.label);
        const auto end =
            c.masked.substr(c.masked.size() - 7); // the allocator writes over the beginning of what is freed
        use(c.masked, end);
        EXPECT_FALSE(is_in_memory(end));
    }
}

} // namespace
#endif
