#include "tools/brmx_scan/options.h"

#include "tools/brmx_scan/host.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <string_view>

namespace brmx_scan {

const char* const usage_text =
    R"(Usage: brmx-scan [OPTION]... FILE|DIRECTORY|-...
Tells how probably each message is spam, from 0 to 100. A file is one message or
an mbox of many, a directory a Maildir or a tree of files; - reads one message
from standard input.

What is shown:
  --trace         print the explanation below each message
  --languages     tell in which languages each message is written, and with
                  --trace how that came about
  --json          print one JSON object a line: file, status, status_name,
                  probability, trace as a list of [indent, text], languages as a
                  list of objects with lcid, tag and relevance, and statistics of
                  the community
  --sort          print the most probable spam first, after the last scan
  --summary[=WHEN]  print totals and a histogram on standard error: always,
                  never, or auto, after several messages on a terminal
  --color[=WHEN]  always, never, or auto, on a terminal without NO_COLOR

What is read:
  --mbox[=WHEN]   read files as an mbox: always, never, or auto, if they are
                  called mbox or *.mbox or look like more than one message
  --jobs N        scan with N threads; the order of the output stays the same
  --fail-above N  exit with status 3 if a message has more than N

The community of servers:
  --community GROUP  ask the servers at the addresses of this host name
  --rediscover SECONDS  look up the host name again at this interval
  --timeout MS    wait at most so long for an answer (default 10000)
  --credentials MODE:ID:SECRET  identify to the servers; better set in the
                  environment as BRMX_CREDENTIALS, which others cannot read
  --report        report the messages as spam; sends them whole
  --revoke        withdraw such reports
  --health        print how many servers can be reached
  --state FILE    keep the server group and the count of sessions in this file

  --help          print this text
  --version       print the versions of the library and its build

Exit status: 0 success, 1 some messages could not be scanned, reported or
revoked, 2 wrong usage, 3 all were scanned and some are above --fail-above.
)";

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
    const auto secret = to_units(std::string(text.substr(second + 1)));
    if (!secret) return false;
    read.secret = *secret;
    out = std::move(read);
    return true;
}

bool read_when(std::string_view text, when& out) {
    constexpr std::string_view names[] = {"auto", "always", "never"}; // as in the type
    const auto* const found = std::ranges::find(names, text);
    out = static_cast<when>(found - std::begin(names));
    return found != std::end(names);
}

struct flag {
    std::string_view name;
    void (*set)(options&);
};
constexpr flag flags[] = {
    {"--trace", [](options& o) { o.trace = true; }},
    {"--languages", [](options& o) { o.asked.languages = true; }},
    {"--json", [](options& o) { o.json = true; }},
    {"--sort", [](options& o) { o.sort = true; }},
    {"--summary", [](options& o) { o.summary = when::always; }},
    {"--color", [](options& o) { o.color = when::always; }},
    {"--mbox", [](options& o) { o.mbox = when::always; }},
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
constexpr std::string_view one_of_when = "auto, always or never after a \"=\"";
constexpr auto any_number = std::numeric_limits<std::uint32_t>::max();
constexpr setting settings[] = {
    {"--jobs", "a number from 1 to 1024",
     [](options& o, std::string_view value) { return read_number(value, most_jobs, o.jobs) && o.jobs > 0; }},
    {"--summary", one_of_when, [](options& o, std::string_view value) { return read_when(value, o.summary); }},
    {"--color", one_of_when, [](options& o, std::string_view value) { return read_when(value, o.color); }},
    {"--mbox", one_of_when, [](options& o, std::string_view value) { return read_when(value, o.mbox); }},
    {"--fail-above", "a number from 0 to 100",
     [](options& o, std::string_view value) {
         std::uint32_t number = 0;
         const bool good = read_number(value, 100, number);
         o.fail_above = static_cast<int>(number);
         return good;
     }},
    {"--community", "a host name",
     [](options& o, std::string_view value) {
         o.group = to_units(std::string(value));
         return o.group && !value.empty();
     }},
    {"--rediscover", "a number of seconds",
     [](options& o, std::string_view value) { return read_number(value, any_number, o.rediscovery_seconds); }},
    {"--timeout", "a number of milliseconds",
     [](options& o, std::string_view value) { return read_number(value, any_number, o.asked.timeout_ms); }},
    {"--credentials", "MODE:ID:SECRET in UTF-8, MODE and ID being numbers",
     [](options& o, std::string_view value) { return read_credentials(value, o.asked.identity); }},
    {"--state", "a file name",
     [](options& o, std::string_view value) {
         o.state = value;
         return !value.empty();
     }},
};

std::string unknown_option(std::string_view name) {
    std::string_view nearest;
    std::size_t most = 3; // equal in front, dashes included: less is no help
    const auto compare = [&](std::string_view known) {
        const auto equal = static_cast<std::size_t>(std::ranges::mismatch(name, known).in1 - name.begin());
        if (equal > most) nearest = known;
        most = std::max(most, equal);
    };
    for (const auto& known : flags)
        compare(known.name);
    for (const auto& known : settings)
        compare(known.name);
    auto text = "unknown option \"" + std::string(name) + '"';
    return nearest.empty() ? text : text + "; did you mean " + std::string(nearest) + '?';
}

// Takes one option; its value is joined by "=" or is the next argument. Returns the error message, empty without error.
std::string take_option(const std::vector<std::string>& arguments, std::size_t& index, options& values) {
    const std::string_view argument = arguments[index];
    if (const auto* known = std::ranges::find(flags, argument, &flag::name); known != std::end(flags)) {
        known->set(values);
        return {};
    }
    const auto equals = argument.find('=');
    const auto name = argument.substr(0, equals);
    const auto* known = std::ranges::find(settings, name, &setting::name);
    if (known == std::end(settings)) {
        const bool is_flag = std::ranges::find(flags, name, &flag::name) != std::end(flags);
        return is_flag ? std::string(name) + " takes no value" : unknown_option(name);
    }
    const bool joined = equals != argument.npos;
    if (!joined && index + 1 == arguments.size()) return std::string(name) + " needs a value";
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
    const auto from_environment = environment_value("BRMX_CREDENTIALS");
    if (!values.asked.identity && from_environment && !read_credentials(*from_environment, values.asked.identity)) {
        result.error = "BRMX_CREDENTIALS must be MODE:ID:SECRET in UTF-8, MODE and ID being numbers";
    } else if (values.paths.empty() && !values.help && !values.version && !values.health) {
        result.error = "no message given; name files, directories, or - for standard input";
    }
    return result;
}

} // namespace brmx_scan
