#include "tools/brmx_scan/sources.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <limits>
#include <system_error>

namespace brmx_scan {

namespace {

namespace fs = std::filesystem;

fs::path path_of(const std::string& name) { return {std::u8string(name.begin(), name.end())}; }

std::string name_of(const fs::path& path) {
    const auto text = path.u8string();
    return {text.begin(), text.end()};
}

void list_directory(const fs::path& top, std::vector<source>& out) {
    std::vector<fs::path> waiting{top}; // a list of our own: the library's recursive walk ends at the first failure
    while (!waiting.empty()) {
        const fs::path directory = std::move(waiting.back());
        waiting.pop_back();
        std::error_code failure;
        fs::directory_iterator entry(directory, failure);
        for (; !failure && entry != fs::directory_iterator(); entry.increment(failure)) {
            std::error_code ignored;
            if (entry->is_directory(ignored) && !entry->is_symlink(ignored)) {
                waiting.push_back(entry->path());
            } else if (entry->is_regular_file(ignored)) {
                out.push_back({name_of(entry->path()), {}});
            }
        }
        if (failure) out.push_back({name_of(directory), failure.message()});
    }
}

// The interface counts bytes in 32 bits.
constexpr std::size_t largest_message = std::numeric_limits<std::uint32_t>::max();

std::string read_stream(std::istream& in, std::string& content) {
    char block[1 << 16];
    for (;;) {
        in.read(block, sizeof block);
        content.append(block, static_cast<std::size_t>(in.gcount()));
        if (content.size() > largest_message) return "larger than 4 GiB";
        if (in.bad()) return "cannot be read";
        if (!in) return {};
    }
}

} // namespace

std::vector<source> list_sources(const std::vector<std::string>& paths) {
    std::vector<source> sources;
    for (const auto& given : paths) {
        std::error_code ignored;
        if (given == "-" || !fs::is_directory(path_of(given), ignored)) {
            sources.push_back({given, {}});
            continue;
        }
        std::vector<source> found;
        list_directory(path_of(given), found);
        std::ranges::sort(found, {}, &source::name);
        std::ranges::move(found, std::back_inserter(sources));
    }
    return sources;
}

std::string read_source(const std::string& name, std::string& content) {
    content.clear();
    if (name == "-") return read_stream(std::cin, content);
    errno = 0;
    std::ifstream file(path_of(name), std::ios::binary);
    if (!file) return errno != 0 ? std::generic_category().message(errno) : "cannot be opened";
    file.seekg(0, std::ios::end);
    const auto size = static_cast<std::streamoff>(file.tellg());
    if (size > 0 && static_cast<std::uintmax_t>(size) > largest_message) return "larger than 4 GiB";
    if (size > 0) content.reserve(static_cast<std::size_t>(size));
    file.clear(); // a pipe has no position, and can be read all the same
    file.seekg(0);
    file.clear();
    return read_stream(file, content);
}

} // namespace brmx_scan
