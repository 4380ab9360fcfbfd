#include "tools/brmx_scan/options.h"

#include <charconv>
#include <string_view>

namespace brmx_scan {

const char* const usage_text = "Usage: brmx-scan [OPTION]... FILE|DIRECTORY|-...\n"
                               "Tells how probably each message is spam, from 0 to 100. Directories are searched\n"
                               "for files at every depth; - reads one message from standard input.\n"
                               "\n"
                               "  --trace      print the explanation below each message\n"
                               "  --languages  tell in which languages each message is written, and with --trace\n"
                               "               how that came about\n"
                               "  --json       print one JSON object a line: file, status, status_name,\n"
                               "               probability, trace as a list of [indent, text], and languages as\n"
                               "               a list of objects with lcid, tag and relevance\n"
                               "  --jobs N     scan with N threads; the order of the output stays the same\n"
                               "  --help       print this text\n"
                               "  --version    print the versions of the library and its build\n"
                               "\n"
                               "Exit status: 0 all messages were scanned, 1 some could not be, 2 wrong usage.\n";

namespace {

constexpr unsigned most_jobs = 1024;

bool read_jobs(std::string_view text, unsigned& jobs) {
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), jobs);
    return failure == std::errc() && end == text.data() + text.size() && jobs >= 1 && jobs <= most_jobs;
}

} // namespace

parsed_options parse_options(const std::vector<std::string>& arguments) {
    parsed_options result;
    options& values = result.values;
    bool only_paths = false;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string_view argument = arguments[i];
        if (only_paths || argument == "-" || !argument.starts_with('-')) {
            values.paths.emplace_back(argument);
        } else if (argument == "--") {
            only_paths = true;
        } else if (argument == "--trace") {
            values.trace = true;
        } else if (argument == "--languages") {
            values.languages = true;
        } else if (argument == "--json") {
            values.json = true;
        } else if (argument == "--help" || argument == "-h") {
            values.help = true;
        } else if (argument == "--version") {
            values.version = true;
        } else if (argument == "--jobs" || argument.starts_with("--jobs=")) {
            const bool joined = argument != "--jobs";
            if (!joined && i + 1 == arguments.size()) return {{}, "--jobs needs a number behind it"};
            const std::string_view number = joined ? argument.substr(7) : std::string_view(arguments[++i]);
            if (!read_jobs(number, values.jobs)) {
                return {{}, "--jobs takes a number from 1 to 1024, not \"" + std::string(number) + "\""};
            }
        } else {
            return {{}, "unknown option \"" + std::string(argument) + "\""};
        }
    }
    if (values.paths.empty() && !values.help && !values.version) result.error = "no message given";
    return result;
}

} // namespace brmx_scan
