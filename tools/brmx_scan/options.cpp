#include "tools/brmx_scan/options.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <limits>
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
                               "               probability, trace as a list of [indent, text], languages as a\n"
                               "               list of objects with lcid, tag and relevance, and statistics of\n"
                               "               the community\n"
                               "  --jobs N     scan with N threads; the order of the output stays the same\n"
                               "\n"
                               "  --community GROUP          ask the servers that this host name stands for\n"
                               "  --rediscover SECONDS       look the host name up again so often\n"
                               "  --timeout MS               wait so long for an answer (10000)\n"
                               "  --credentials MODE:ID:SECRET\n"
                               "                             who asks; better in the environment variable\n"
                               "                             BRMX_CREDENTIALS, which others cannot read\n"
                               "  --report     report the messages as spam to the community, whole\n"
                               "  --revoke     take such reports back\n"
                               "  --health     tell how many servers can be reached\n"
                               "  --state FILE keep the server group and the count of sessions in this file\n"
                               "\n"
                               "  --help       print this text\n"
                               "  --version    print the versions of the library and its build\n"
                               "\n"
                               "Exit status: 0 all went well, 1 some messages could not be scanned or told,\n"
                               "2 wrong usage.\n";

namespace {

constexpr unsigned most_jobs = 1024;

bool read_number(std::string_view text, std::uint32_t most, std::uint32_t& number) {
    std::uint32_t value = 0;
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (failure != std::errc() || end != text.data() + text.size() || value > most) return false;
    number = value;
    return true;
}

bool read_credentials(std::string_view text, std::optional<credentials>& out) {
    constexpr auto any = std::numeric_limits<std::uint32_t>::max();
    const auto first = text.find(':');
    const auto second = first == text.npos ? text.npos : text.find(':', first + 1);
    if (second == text.npos) return false;
    credentials read;
    if (!read_number(text.substr(0, first), any, read.mode)) return false;
    if (!read_number(text.substr(first + 1, second - first - 1), any, read.id)) return false;
    read.secret = text.substr(second + 1);
    out = std::move(read);
    return true;
}

struct flag {
    std::string_view name;
    void (*set)(options&);
};
constexpr flag flags[] = {
    {"--trace", [](options& o) { o.asked.trace = true; }},
    {"--languages", [](options& o) { o.asked.languages = true; }},
    {"--json", [](options& o) { o.json = true; }},
    {"--report", [](options& o) { o.asked.what = action::report; }},
    {"--revoke", [](options& o) { o.asked.what = action::revoke; }},
    {"--health", [](options& o) { o.health = true; }},
    {"--help", [](options& o) { o.help = true; }},
    {"-h", [](options& o) { o.help = true; }},
    {"--version", [](options& o) { o.version = true; }},
};

struct setting {
    std::string_view name;
    std::string_view takes; // for the message that says what is wrong
    bool (*set)(options&, std::string_view value);
};
constexpr auto any_number = std::numeric_limits<std::uint32_t>::max();
constexpr setting settings[] = {
    {"--jobs", "a number from 1 to 1024",
     [](options& o, std::string_view value) { return read_number(value, most_jobs, o.jobs) && o.jobs > 0; }},
    {"--community", "a host name",
     [](options& o, std::string_view value) {
         o.group = value;
         return !value.empty();
     }},
    {"--rediscover", "a number of seconds",
     [](options& o, std::string_view value) { return read_number(value, any_number, o.rediscovery_seconds); }},
    {"--timeout", "a number of milliseconds",
     [](options& o, std::string_view value) { return read_number(value, any_number, o.asked.timeout_ms); }},
    {"--credentials", "MODE:ID:SECRET with two numbers in front",
     [](options& o, std::string_view value) { return read_credentials(value, o.asked.identity); }},
    {"--state", "a file name",
     [](options& o, std::string_view value) {
         o.state = value;
         return !value.empty();
     }},
};

// Takes one option, and its value from the argument behind it unless it is joined by "=". Returns what is wrong.
std::string take_option(const std::vector<std::string>& arguments, std::size_t& index, options& values) {
    const std::string_view argument = arguments[index];
    if (const auto* known = std::ranges::find(flags, argument, &flag::name); known != std::end(flags)) {
        known->set(values);
        return {};
    }
    const auto equals = argument.find('=');
    const auto name = argument.substr(0, equals);
    const auto* known = std::ranges::find(settings, name, &setting::name);
    if (known == std::end(settings)) return "unknown option \"" + std::string(argument) + '"';
    const bool joined = equals != argument.npos;
    if (!joined && index + 1 == arguments.size()) return std::string(name) + " needs a value behind it";
    const std::string_view value = joined ? argument.substr(equals + 1) : std::string_view(arguments[++index]);
    if (known->set(values, value)) return {};
    return std::string(name) + " takes " + std::string(known->takes);
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
        } else if (result.error = take_option(arguments, i, values); !result.error.empty()) {
            return result;
        }
    }
    const char* const from_environment = std::getenv("BRMX_CREDENTIALS");
    if (!values.asked.identity && from_environment != nullptr &&
        !read_credentials(from_environment, values.asked.identity)) {
        result.error = "BRMX_CREDENTIALS has to be MODE:ID:SECRET with two numbers in front";
    } else if (values.paths.empty() && !values.help && !values.version && !values.health) {
        result.error = "no message given";
    }
    return result;
}

} // namespace brmx_scan
