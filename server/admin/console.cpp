#include "server/admin/console.h"

#include "analysis/analysis_engine.h"
#include "foundation/coding/coding.h"
#include "foundation/exception.h"
#include "foundation/text/unicode.h"
#include "platform/random.h"
#include "server/admin/transfer.h"
#include "server/handler/beginnings.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <span>

namespace brimwarden::server::admin {

using analysis::community::wire_signature;
using handler::role::ask;
using handler::role::operate;
using handler::role::report;
using judgement::signature_code;
using json = nlohmann::json;

namespace {

// What an operator did wrong; its text is the answer.
class refused : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// A secret that nobody can guess: 144 bits in 24 digits.
std::string new_secret() {
    char bytes[18];
    if (!tackle::platform::fill_random(std::as_writable_bytes(std::span(bytes))))
        throw store::failure("the system has no random numbers");
    return tackle::coding::translate::base64_encode({bytes, sizeof bytes}, false);
}

struct role_name {
    const char* name;
    std::uint32_t bit;
};
constexpr role_name role_names[] = {{"ask", ask}, {"report", report}, {"operate", operate}};

std::uint32_t roles_of(const json& names) {
    std::uint32_t roles = 0;
    for (const auto& name : names) {
        const auto* const known =
            std::ranges::find_if(role_names, [&](const role_name& one) { return name.get<std::string>() == one.name; });
        if (known == std::end(role_names)) throw refused("no such role: " + name.get<std::string>());
        roles |= known->bit;
    }
    return roles;
}

json names_of(std::uint32_t roles) {
    json names = json::array();
    for (const auto& one : role_names)
        if ((roles & one.bit) != 0) names.push_back(one.name);
    return names;
}

json shown(const store::credential& row) {
    return {{"id", row.first},  {"mailboxes", row.count},   {"roles", names_of(row.roles)},
            {"name", row.name}, {"disabled", row.disabled}, {"created", row.created}};
}

std::uint32_t id_in(const json& request) {
    const auto id = request.at("id").get<std::int64_t>();
    if (id < 1 || id > std::numeric_limits<std::uint32_t>::max()) throw refused("an id is a number from 1 to 2^32-1");
    return static_cast<std::uint32_t>(id);
}

const char* name_of(judgement::verdict answer) {
    switch (answer) {
    case judgement::verdict::unknown:
        return "unknown";
    case judgement::verdict::low:
        return "known, without points";
    case judgement::verdict::ignored:
        return "ignored";
    case judgement::verdict::spam:
        return "spam";
    case judgement::verdict::black:
        return "black";
    case judgement::verdict::white:
        return "white";
    }
    return "";
}

std::string narrow(tackle::wstring_view text) { return tackle::unicode::to_narrow(text, 65001, false); }

} // namespace

const console::command console::commands[] = {
    {"status", &console::status, false},
    {"credential add", &console::add_credential, true},
    {"credential list", &console::list_credentials, false},
    {"credential disable", &console::disable_credential, true},
    {"credential rotate", &console::rotate_credential, true},
    {"credential mailbox", &console::mailbox_secret, true},
    {"explain", &console::explain, false},
    {"teach", &console::teach, true},
    {"mark", &console::mark, true},
    {"forget-reporter", &console::forget, true},
    {"reporters", &console::reporters, false},
    {"backup", &console::back_up, true},
    {"export", &console::export_start, true},
    {"export page", &console::export_page, false},
    {"audit", &console::audited, false},
    {"clock", &console::set_clock, false},
};

json console::execute(const std::string& who, const json& request, std::string_view message) {
    try {
        const std::string name = request.at("command");
        const auto* const found = std::ranges::find_if(commands, [&](const command& one) { return name == one.name; });
        if (found == std::end(commands)) throw refused("no such command: " + name);
        json answer = (this->*found->run)(request, message);
        if (found->changes)
            served_.reporting.with_store([&](store::store& kept) {
                json arguments = request;
                arguments.erase("why");
                kept.audit({served_.clock.now(), who, arguments.dump(), request.value("why", "")});
            });
        return answer;
    } catch (const refused& error) {
        return {{"error", error.what()}};
    } catch (const handler::mark_refused& error) {
        return {{"error", error.what()}};
    } catch (const store::failure& error) {
        return {{"error", error.what()}};
    } catch (const json::exception&) {
        return {{"error", "the request lacks an argument, or one is of the wrong kind"}};
    } catch (const tackle::exception& error) {
        return {{"error", std::string("the message cannot be read: ") + error.what()}};
    }
}

json console::status(const json&, std::string_view) {
    const auto& counted = served_.handler.counted();
    json addresses = json::array();
    for (const auto& one : served_.chosen.addresses)
        addresses.push_back(listen::to_text(one));
    return {{"addresses", addresses},
            {"time", served_.clock.now()},
            {"signatures", served_.known.size()},
            {"reporters", served_.reporting.reporters().size()},
            {"packets", counted.packets.load()},
            {"queries", counted.queries.load()},
            {"updates", counted.updates.load()},
            {"reports", counted.reports.load()},
            {"revokes", counted.revokes.load()},
            {"refused", counted.refused.load()},
            {"failed", counted.failed.load()}};
}

store::credential console::find_credential(std::uint32_t first) {
    const auto all = served_.reporting.with_store([](store::store& kept) { return kept.load_credentials(); });
    const auto found = std::ranges::find(all, first, &store::credential::first);
    if (found == all.end()) throw refused("no credential has the id " + std::to_string(first));
    return *found;
}

void console::save_credential(const store::credential& row) {
    served_.reporting.with_store([&](store::store& kept) { kept.save_credential(row); });
    served_.members.put(row);
}

json console::add_credential(const json& request, std::string_view) {
    store::credential row;
    row.count = request.value("mailboxes", std::uint32_t{1});
    row.name = request.value("name", "");
    row.roles = roles_of(request.value("roles", json::array({"ask", "report"})));
    row.created = served_.clock.now();
    const auto all = served_.reporting.with_store([](store::store& kept) { return kept.load_credentials(); });
    std::uint64_t next = 1;
    for (const auto& one : all)
        next = std::max(next, std::uint64_t{one.first} + one.count);
    row.first = request.contains("id") ? id_in(request) : static_cast<std::uint32_t>(next);
    const std::uint64_t end = std::uint64_t{row.first} + row.count;
    if (row.count < 1 || end > std::uint64_t{1} << 32) throw refused("a range of ids ends before 2^32");
    for (const auto& one : all)
        if (row.first < std::uint64_t{one.first} + one.count && one.first < end)
            throw refused("the ids overlap with those of " + std::to_string(one.first));
    const std::string secret = request.value("secret", new_secret());
    if (secret.empty()) throw refused("a secret must not be empty");
    row.secret = served_.keys.seal(handler::members::seal_name(row.first), secret);
    save_credential(row);
    json answer = shown(row);
    answer["secret"] = secret; // now and never again
    return answer;
}

json console::list_credentials(const json&, std::string_view) {
    json all = json::array();
    for (const auto& row : served_.reporting.with_store([](store::store& kept) { return kept.load_credentials(); }))
        all.push_back(shown(row));
    return {{"credentials", all}};
}

json console::disable_credential(const json& request, std::string_view) {
    auto row = find_credential(id_in(request));
    row.disabled = !request.value("enable", false);
    save_credential(row);
    return shown(row);
}

json console::rotate_credential(const json& request, std::string_view) {
    auto row = find_credential(id_in(request));
    const std::string secret = new_secret();
    row.old_secret = row.secret;
    row.old_until = served_.clock.now() + request.value("hours", std::int64_t{24}) * 3600;
    row.secret = served_.keys.seal(handler::members::seal_name(row.first), secret);
    save_credential(row);
    json answer = shown(row);
    answer["secret"] = secret;
    answer["old_until"] = row.old_until;
    return answer;
}

// For a site whose mail server hands secrets to mailboxes. Audited, since it shows a secret.
json console::mailbox_secret(const json& request, std::string_view) {
    const auto found = served_.members.find(1, id_in(request), served_.clock.now());
    if (!found) throw refused("no mailbox has this id");
    return {{"id", found->id}, {"secret", found->secret}};
}

json console::explain(const json&, std::string_view message) {
    const tackle::internet::message2::part root(message);
    analysis::scan_context scan(root);
    analysis::analysis_engine::generate_signatures(scan);
    std::vector<wire_signature> asked;
    for (const auto& record : scan.signatures)
        asked.push_back(analysis::community::to_wire(record));
    const auto findings = served_.questions.answer(asked);
    json all = json::array();
    for (std::size_t i = 0; i < findings.size(); ++i) {
        const auto& found = findings[i];
        auto& record = scan.signatures[i];
        const auto& entry = found.entry;
        json one = {{"type", narrow(record.type)},
                    {"value", narrow(record.value)},
                    {"answer", name_of(found.result.answer)},
                    {"rule", found.result.rule},
                    {"reporters", found.known.reporters},
                    {"revokers", found.known.revokers},
                    {"trust", found.known.said},
                    {"reports", found.known.reports},
                    {"revokes", found.known.revokes},
                    {"width", found.known.width}};
        if (found.result.answer != judgement::verdict::unknown) {
            record.matched = true;
            record.value.resize(std::min<std::size_t>(record.value.size(), entry.length));
            record.ignored = entry.ignored;
            record.whitelisted = entry.whitelisted;
            record.blacklisted = entry.blacklisted;
            record.reports = entry.reports;
            record.revokes = entry.revokes;
            one["known"] = narrow(record.value);
            one["age_hours"] = entry.age;
        }
        all.push_back(std::move(one));
    }
    scan.community_answered = true;
    analysis::analysis_engine::classify(scan);
    json tests = json::array();
    for (const auto& result : scan.test_results)
        tests.push_back({{"points", result.value}, {"name", narrow(result.name)}, {"details", narrow(result.details)}});
    return {{"signatures", all}, {"tests", tests}, {"probability", static_cast<int>(scan.probability)}};
}

// As a person's report with the weight of a proof.
json console::teach(const json& request, std::string_view message) {
    const bool wanted = request.at("wanted").get<bool>();
    const auto& rules = served_.chosen.settings.rules;
    const float proof = rules.threshold * std::max({rules.link, rules.host, rules.address, rules.below_wide, 1.0F});
    served_.reporting.take({handler::reporting::operator_id, wanted, true, proof, false}, message);
    return json::object();
}

json console::mark(const json& request, std::string_view) {
    const std::string type = request.at("type");
    const std::string value = request.at("value");
    const std::string how = request.at("mark");
    const auto marked = how == "ignore"  ? judgement::mark::ignore
                        : how == "black" ? judgement::mark::black
                        : how == "white" ? judgement::mark::white
                        : how == "none"  ? judgement::mark::none
                                         : throw refused("a mark is ignore, black, white or none");
    const auto wire =
        analysis::community::to_wire({tackle::unicode::to_wide(type, 65001), tackle::unicode::to_wide(value, 65001)});
    const auto id = knowledge::identify(served_.identity_key, wire.code, wire.value);
    served_.reporting.set_mark(id, wire.code, marked, request.value("force", false));
    return {{"identity", id}};
}

json console::forget(const json& request, std::string_view) {
    served_.reporting.forget(id_in(request));
    return json::object();
}

json console::reporters(const json&, std::string_view) {
    json all = json::array();
    for (const auto& one : served_.reporting.reporters())
        all.push_back({{"id", one.id},
                       {"trust", one.trust},
                       {"reports", one.reports},
                       {"revokes", one.revokes},
                       {"confirmed", one.confirmed},
                       {"contradicted", one.contradicted}});
    return {{"reporters", all}};
}

json console::back_up(const json& request, std::string_view) {
    const std::string path = request.at("path");
    served_.reporting.flush();
    served_.reporting.with_store([&](store::store& kept) { kept.back_up(path); });
    return {{"path", path}};
}

json console::export_start(const json&, std::string_view message) {
    json lines = json::array({head_line(served_.identity_key)});
    served_.reporting.with_store([&](store::store& kept) {
        kept.load_signatures([&](const store::signature_row& row) {
            if (row.marked != judgement::mark::none) lines.push_back(line_of(row));
        });
        for (const auto& one : kept.load_reporters())
            lines.push_back(line_of(one));
    });
    json first = export_page({{"after", {0, 0}}}, message);
    lines.insert(lines.end(), first.at("lines").begin(), first.at("lines").end());
    first["lines"] = std::move(lines);
    return first;
}

// "next" is there as long as there may be more. Reports wait while a page is read, and go on between two.
json console::export_page(const json& request, std::string_view) {
    constexpr std::size_t page = 5000;
    const auto& after = request.at("after");
    const auto found = served_.reporting.with_store(
        [&](store::store& kept) { return kept.statements_after(after.at(0), after.at(1), page); });
    json lines = json::array();
    for (const auto& one : found)
        lines.push_back(line_of(one));
    json answer = {{"lines", std::move(lines)}};
    if (found.size() == page) answer["next"] = {found.back().said.signature, found.back().reporter};
    return answer;
}

json console::audited(const json& request, std::string_view) {
    json all = json::array();
    const auto most = request.value("most", std::size_t{100});
    for (const auto& one : served_.reporting.with_store([&](store::store& kept) { return kept.last_audited(most); }))
        all.push_back({{"at", one.at}, {"who", one.who}, {"what", one.what}, {"why", one.why}});
    return {{"audit", all}};
}

// For replays: from here on the time stands still until it is set again.
json console::set_clock(const json& request, std::string_view) {
    served_.clock.set(request.at("seconds").get<std::int64_t>());
    return json::object();
}

} // namespace brimwarden::server::admin
