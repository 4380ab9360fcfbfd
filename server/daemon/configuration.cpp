#include "server/daemon/configuration.h"

#include <arpa/inet.h>
#include <cstdlib>
#include <limits>
#include <set>
#include <sstream>
#include <toml++/toml.h>

namespace brimwarden::server::daemon {

namespace {

constexpr std::uint16_t community_port = 2409;
// Clients that name the group "localhost" ask all of these.
constexpr std::uint32_t first_loopback = 0x7F000001;
constexpr std::uint32_t last_loopback = 0x7F000006;

std::string default_state() {
    if (const char* folder = std::getenv("STATE_DIRECTORY"); folder != nullptr && *folder != '\0') return folder;
    const char* home = std::getenv("HOME");
    return std::string(home != nullptr ? home : "") + "/.local/state/brimwarden";
}

// One table of the file. It hands out values by name, and at its end says which names nobody has asked for.
class section {
public:
    section(const toml::table* values, std::string file) : values_(values), file_(std::move(file)) {}

    [[noreturn]] void fail(const toml::source_region& where, const std::string& what) const {
        std::ostringstream text;
        text << file_ << ":" << where.begin.line << ":" << where.begin.column << ": " << what;
        throw bad_configuration(text.str());
    }

    void read(const char* name, bool& out) { read_as<bool>(name, out, "true or false"); }
    void read(const char* name, std::string& out) { read_as<std::string>(name, out, "a text"); }
    template <std::integral number>
    void read(const char* name, number& out, std::int64_t least, std::int64_t most) {
        std::int64_t value = 0;
        const toml::node* const found = read_as<std::int64_t>(name, value, "a whole number");
        if (found == nullptr) return;
        if (value < least || value > most)
            fail(found->source(),
                 std::string(name) + " has to be between " + std::to_string(least) + " and " + std::to_string(most));
        out = static_cast<number>(value);
    }
    void read(const char* name, float& out, float least, float most, float unit = 1) {
        const toml::node* const found = find(name);
        if (found == nullptr) return;
        const auto value = found->value<double>();
        if (!value || !(*value >= least && *value <= most)) {
            std::ostringstream text;
            text << name << " has to be a number between " << least << " and " << most;
            fail(found->source(), text.str());
        }
        out = static_cast<float>(*value) * unit;
    }
    void read(const char* name, std::vector<std::string>& out) {
        const toml::node* const found = find(name);
        if (found == nullptr) return;
        const auto* const list = found->as_array();
        if (list == nullptr) fail(found->source(), std::string(name) + " has to be a list of texts");
        out.clear();
        for (const auto& one : *list) {
            if (!one.is_string()) fail(one.source(), std::string(name) + " has to be a list of texts");
            out.push_back(one.as_string()->get());
        }
    }
    section table(const char* name) {
        const toml::node* const found = find(name);
        if (found != nullptr && !found->is_table())
            fail(found->source(), std::string(name) + " has to be a table, [" + name + "]");
        return {found == nullptr ? nullptr : found->as_table(), file_};
    }
    [[nodiscard]] toml::source_region where(const char* name) const {
        const toml::node* const found = values_ == nullptr ? nullptr : values_->get(name);
        return found == nullptr ? toml::source_region{} : found->source();
    }
    void finish() const {
        if (values_ == nullptr) return;
        for (const auto& [key, value] : *values_)
            if (!asked_.contains(std::string(key.str())))
                fail(value.source(), "\"" + std::string(key.str()) + "\" is not known here");
    }

private:
    const toml::node* find(const char* name) {
        asked_.insert(name);
        return values_ == nullptr ? nullptr : values_->get(name);
    }
    template <typename type, typename target>
    const toml::node* read_as(const char* name, target& out, const char* kind) {
        const toml::node* const found = find(name);
        if (found == nullptr) return nullptr;
        const auto* const value = found->as<type>();
        if (value == nullptr) fail(found->source(), std::string(name) + " has to be " + kind);
        out = value->get();
        return found;
    }

    const toml::table* values_;
    std::string file_;
    std::set<std::string> asked_;
};

void read_listen(section part, configuration& out, bool& anonymous_by_default) {
    std::uint16_t port = community_port;
    std::vector<std::string> names;
    part.read("port", port, 1, 65535);
    part.read("addresses", names);
    part.read("threads", out.threads, 1, 64);
    part.read("connections", out.connections.connections, 1, 100'000);
    part.finish();
    for (auto& one : out.addresses)
        one.port = port;
    if (names.empty()) return;
    try {
        out.addresses = parse_addresses(names, port);
    } catch (const bad_configuration& error) {
        part.fail(part.where("addresses"), error.what());
    }
    anonymous_by_default = std::ranges::all_of(out.addresses, &listen::address::is_loopback);
}

void read_judgement(section part, handler::settings& out) {
    constexpr float largest = 1000;
    part.read("threshold", out.rules.threshold, 0.1F, largest);
    part.read("link", out.rules.link, 0.1F, largest);
    part.read("host", out.rules.host, 0.1F, largest);
    part.read("domain", out.rules.domain, 0.1F, largest);
    part.read("strangers", out.rules.strangers, 0.1F, largest);
    part.read("address", out.rules.address, 0.1F, largest);
    part.read("below_wide", out.rules.below_wide, 0.1F, largest);
    part.read("cold", out.rules.cold, 1, largest);
    part.read("stale", out.rules.stale, 0, 1);
    part.read("revoke", out.rules.revoke, 0, largest);
    part.read("wide_margin", out.rules.wide_margin, 1, 500);
    part.read("wide_ratio", out.rules.wide_ratio, 1, largest);
    part.read("person_weight", out.person_weight, 0, largest);
    part.read("machine_weight", out.machine_weight, 0, largest);
    part.finish();
}

void read_half_lives(section part, handler::settings& out) {
    constexpr float day = 24;
    constexpr float longest = 3650;
    part.read("text", out.half_life_text, 1, longest, day);
    part.read("file", out.half_life_file, 1, longest, day);
    part.read("link", out.half_life_link, 1, longest, day);
    part.read("address", out.half_life_address, 1, longest, day);
    part.finish();
}

void read_trust(section part, judgement::trust_rules& out) {
    part.read("most", out.most, 1, 100);
    part.read("gain", out.gain, 0, 10);
    part.read("loss", out.loss, 0, 1);
    part.finish();
}

} // namespace

std::vector<listen::address> parse_addresses(const std::vector<std::string>& names, std::uint16_t port) {
    std::vector<listen::address> all;
    for (const auto& name : names) {
        in_addr raw{};
        if (inet_pton(AF_INET, name.c_str(), &raw) != 1)
            throw bad_configuration("\"" + name + "\" is no IPv4 address; the protocol has no other");
        all.push_back({ntohl(raw.s_addr), port});
    }
    return all;
}

std::string control_path(const configuration& chosen) {
    return chosen.socket.empty() ? chosen.state + "/control" : chosen.socket;
}

configuration default_configuration() {
    configuration made;
    for (std::uint32_t host = first_loopback; host <= last_loopback; ++host)
        made.addresses.push_back({host, community_port});
    made.state = default_state();
    made.settings.anonymous_queries = true;
    return made;
}

configuration read_configuration(const std::string& path) {
    configuration made = default_configuration();
    toml::table file;
    try {
        file = toml::parse_file(path);
    } catch (const toml::parse_error& error) {
        section(nullptr, path).fail(error.source(), std::string(error.description()));
    }
    section whole(&file, path);
    read_listen(whole.table("listen"), made, made.settings.anonymous_queries);
    section state = whole.table("state");
    state.read("folder", made.state);
    state.read("control", made.socket);
    state.read("key", made.key);
    state.read("most_unproven", made.most_unproven, 1000, 1'000'000'000);
    state.finish();
    section about = whole.table("server");
    about.read("name", made.settings.name);
    about.read("location", made.settings.location);
    about.read("info", made.settings.info);
    about.finish();
    section asking = whole.table("ask");
    asking.read("anonymous", made.settings.anonymous_queries);
    asking.read("signatures", made.settings.most_signatures, 1, 100'000);
    asking.finish();
    section reports = whole.table("report");
    std::size_t megabytes = made.settings.most_message >> 20;
    reports.read("megabytes", megabytes, 1, 1024);
    reports.finish();
    made.settings.most_message = megabytes << 20;
    made.connections.request = made.settings.most_message + 4096;
    read_judgement(whole.table("judgement"), made.settings);
    read_half_lives(whole.table("half_life_days"), made.settings);
    read_trust(whole.table("trust"), made.settings.trust);
    whole.finish();
    return made;
}

} // namespace brimwarden::server::daemon
