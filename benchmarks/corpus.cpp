#include "benchmarks/corpus.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>

namespace brimwarden::benchmarks {

using tackle::string;

const std::vector<string>& messages_of(const string& folder) {
    static std::map<string, std::vector<string>> folders;
    const auto [entry, entered] = folders.try_emplace(folder);
    auto& messages = entry->second;
    if (!entered) return messages;
    const char* const named = std::getenv("BRMX_CORPUS");
    const auto directory = std::filesystem::path(named != nullptr ? named : BRMX_CORPUS) / folder;
    if (!std::filesystem::is_directory(directory)) return messages;
    std::vector<std::filesystem::path> files;
    for (const auto& file : std::filesystem::directory_iterator(directory))
        if (file.path().extension() == ".txt") files.push_back(file.path()); // each message comes as JSON, too
    std::ranges::sort(files);
    for (const auto& file : files) {
        std::ifstream stream(file, std::ios::binary);
        messages.emplace_back(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
    }
    return messages;
}

const std::vector<string>& real_messages() {
    static const std::vector<string> all = [] {
        auto messages = messages_of("spam-1");
        const auto& ham = messages_of("easy-ham-1");
        messages.insert(messages.end(), ham.begin(), ham.end());
        return messages;
    }();
    return all;
}

} // namespace brimwarden::benchmarks
