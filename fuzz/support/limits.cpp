// Holds the library as it is shipped to its limits, by the bodies of the fuzz targets: fuzz_limits TARGET FILE... runs
// a target on each file, and fetches from the folders given what is in them. A second of processor time an input, and
// 512 MB for all of them.
#include <climits>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#define TARGET(name)                                                                                                   \
    extern "C" int fuzz_##name(const std::uint8_t* data, std::size_t size);                                            \
    extern "C" __attribute__((weak)) int initialize_##name(int*, char***);
#include "fuzz_targets.h"
#undef TARGET

namespace {

namespace fs = std::filesystem;

struct target {
    std::string_view name;
    int (*run)(const std::uint8_t* data, std::size_t size);
    int (*initialize)(int*, char***); // null if it needs none
};
#define TARGET(name) {#name, fuzz_##name, initialize_##name},
const target targets[] = {
#include "fuzz_targets.h"
};
#undef TARGET

constexpr double most_seconds = 1;
constexpr long most_kilobytes = 512L * 1024;

std::vector<fs::path> files_in(char** first, char** last) {
    std::vector<fs::path> files;
    for (; first != last; ++first) {
        if (!fs::is_directory(*first)) {
            files.emplace_back(*first);
            continue;
        }
        for (const auto& entry : fs::directory_iterator(*first))
            files.push_back(entry.path());
    }
    return files;
}

// The most memory that this process has had, in kilobytes. ru_maxrss would begin with what the parent had at its fork.
long most_memory() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with("VmHWM:")) return std::stol(line.substr(6));
    return LONG_MAX;
}

bool run(const target& asked, const std::vector<fs::path>& files) {
    double slowest = 0;
    bool within = !files.empty();
    for (const auto& path : files) {
        std::ifstream in(path, std::ios::binary);
        const std::vector<char> bytes{std::istreambuf_iterator<char>(in), {}};
        const auto start = std::clock();
        asked.run(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
        const double seconds = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
        slowest = seconds > slowest ? seconds : slowest;
        if (seconds > most_seconds) std::printf("%s takes %.2f s\n", path.c_str(), seconds);
        within = within && seconds <= most_seconds;
    }
    const long kilobytes = most_memory();
    std::printf("%.*s: %zu files, %.3f s at most, %ld KB\n", static_cast<int>(asked.name.size()), asked.name.data(),
                files.size(), slowest, kilobytes);
    return within && kilobytes <= most_kilobytes;
}

} // namespace

int main(int count, char** arguments) {
    if (count < 3) return 2;
    for (const auto& asked : targets) {
        if (asked.name != arguments[1]) continue;
        if (asked.initialize != nullptr) asked.initialize(&count, &arguments);
        return run(asked, files_in(arguments + 2, arguments + count)) ? 0 : 1;
    }
    return 2;
}
