// Scans files in several threads, and prints for each the probability, the findings and the languages:
//
//     scan_some FILE...
//
// Ends with 0, with 1 if a file could not be scanned, or with 2 after a wrong call.
#include "brmx.hpp"

#include <algorithm>
#include <atomic>
#include <exception>
#include <filesystem>
#include <future>
#include <iostream>
#include <string>
#include <thread>
#include <vector>

namespace {

struct answer {
    std::string text;
    bool good = false;
};

answer scan(const brmx::engine& running, const std::filesystem::path& file) {
    const std::string name = file.u8string();
    try {
        auto opened = brmx::session::from_file(running, file);
        const auto result = opened.scan();
        std::string text = std::to_string(result.probability) + ' ' + name + '\n';
        bool findings = false;
        for (const auto& line : opened.trace()) {
            if (line.indent == 0) findings = line.text == "Test Results:";
            if (findings && line.indent > 0) text += "    " + brmx::printable(line.text) + '\n';
        }
        for (const auto& share : opened.languages()) // after the trace, which this replaces
            text +=
                "    language " + std::to_string(share.lcid) + ": " + std::to_string(share.relevance) + " letters\n";
        return {text, true};
    } catch (const brmx::status_error<file_not_loaded>&) {
        return {name + ": cannot be read\n", false};
    } catch (const brmx::error& failure) {
        return {name + ": " + failure.what() + '\n', false};
    }
}

bool scan_all(const std::vector<std::filesystem::path>& files) {
    const brmx::engine running;
    std::vector<answer> answers(files.size());
    std::atomic<std::size_t> next{0};
    const auto work = [&] {
        for (std::size_t i = next++; i < files.size(); i = next++)
            answers[i] = scan(running, files[i]);
    };
    {
        // Their destructors wait for them, so no scan can meet the shutdown of the engine.
        std::vector<std::future<void>> workers;
        const std::size_t cores = std::max(1U, std::thread::hardware_concurrency());
        for (std::size_t i = 0; i < std::min(cores, files.size()); ++i)
            workers.push_back(std::async(std::launch::async, work));
        for (auto& worker : workers)
            worker.get();
    }
    for (const auto& [text, good] : answers)
        (good ? std::cout : std::cerr) << text;
    return std::all_of(answers.begin(), answers.end(), [](const answer& each) { return each.good; });
}

} // namespace

#ifdef _WIN32
int wmain(int count, wchar_t** values) // a file's name need not fit into the system's code page
#else
int main(int count, char** values)
#endif
{
    const std::vector<std::filesystem::path> files(values + std::min(count, 1), values + count);
    if (files.empty()) {
        std::cerr << "usage: scan_some FILE...\n";
        return 2;
    }
    try {
        return scan_all(files) && std::cout.flush() ? 0 : 1;
    } catch (const std::exception& failure) {
        std::cerr << "scan_some: " << failure.what() << '\n';
        return 1;
    }
}
