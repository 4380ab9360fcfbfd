#include "server/tool/print.h"

#include <cstdint>
#include <cstdio>
#include <ctime>
#include <nlohmann/json.hpp>
#include <string>

namespace brimwarden::server::tool::print {

using json = nlohmann::json;

namespace {

// A terminal obeys control characters, and a spammer chooses the links that are shown.
std::string harmless(std::string text) {
    for (char& c : text)
        if (static_cast<unsigned char>(c) < ' ' || c == '\x7F') c = '?';
    for (std::size_t at = 0; (at = text.find('\xC2', at)) != text.npos; ++at) // U+0080 to U+009F
        if (at + 1 < text.size() && static_cast<unsigned char>(text[at + 1]) < 0xA0) text.replace(at, 2, "?");
    return text;
}

std::string text_of(const json& value, const char* name) { return harmless(value.value(name, std::string())); }

std::string time_of(std::int64_t seconds) {
    const auto moment = static_cast<std::time_t>(seconds);
    std::tm split{};
    char text[40] = "?";
    if (::gmtime_r(&moment, &split) != nullptr) (void)std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S UTC", &split);
    return text;
}

std::string joined(const json& names) {
    std::string text;
    for (const auto& name : names)
        text += (text.empty() ? "" : ",") + harmless(name.get<std::string>());
    return text;
}

} // namespace

void status(const json& answer) {
    std::printf("addresses   %s\n", joined(answer.at("addresses")).c_str());
    std::printf("time        %s\n", time_of(answer.at("time").get<std::int64_t>()).c_str());
    for (const auto& [name, value] : answer.items())
        if (name != "time" && value.is_number_integer())
            std::printf("%-11s %lld\n", name.c_str(), static_cast<long long>(value.get<std::int64_t>()));
}

void credential(const json& answer) {
    credentials({{"credentials", json::array({answer})}});
    if (!answer.contains("secret")) return;
    const bool site = answer.value("mailboxes", 1) > 1;
    std::printf("%s %s\nIt is not shown again.\n", site ? "site key" : "secret", text_of(answer, "secret").c_str());
    if (site) std::puts("`brmx-community credential mailbox ID` shows the secret of one of its mailboxes.");
    if (answer.contains("old_until"))
        std::printf("The old one is good until %s.\n", time_of(answer.at("old_until").get<std::int64_t>()).c_str());
}

void credentials(const json& answer) {
    std::printf("%10s %9s %-18s %-8s %-23s %s\n", "id", "mailboxes", "roles", "state", "created", "name");
    for (const auto& one : answer.at("credentials"))
        std::printf("%10u %9u %-18s %-8s %-23s %s\n", one.value("id", 0U), one.value("mailboxes", 1U),
                    joined(one.at("roles")).c_str(), one.value("disabled", false) ? "disabled" : "valid",
                    time_of(one.value("created", std::int64_t{0})).c_str(), text_of(one, "name").c_str());
}

void explanation(const json& answer) {
    std::printf("%-4s %-40s %8s %8s %6s  %s\n", "type", "signature", "reports", "revokes", "width", "answer");
    for (const auto& one : answer.at("signatures")) {
        std::string value = text_of(one, "value");
        std::string known = text_of(one, "known");
        std::string said = text_of(one, "answer") + ": " + text_of(one, "rule");
        if (!known.empty() && known != value) said += " (known is " + known + ")";
        std::printf("%-4s %-40s %8.0f %8.0f %6.0f  %s\n", text_of(one, "type").c_str(), value.c_str(),
                    one.value("reports", 0.0), one.value("revokes", 0.0), one.value("width", 0.0), said.c_str());
    }
    std::puts("");
    for (const auto& one : answer.at("tests"))
        std::printf("%7.2f  %s -- %s\n", one.value("points", 0.0), text_of(one, "name").c_str(),
                    text_of(one, "details").c_str());
    std::printf("%4d     points of 100\n", answer.value("probability", 0));
}

void reporters(const json& answer) {
    std::printf("%10s %6s %8s %8s %10s %13s\n", "id", "trust", "reports", "revokes", "confirmed", "contradicted");
    for (const auto& one : answer.at("reporters"))
        std::printf("%10u %6.2f %8u %8u %10u %13u\n", one.value("id", 0U), one.value("trust", 0.0),
                    one.value("reports", 0U), one.value("revokes", 0U), one.value("confirmed", 0U),
                    one.value("contradicted", 0U));
}

void audit(const json& answer) {
    for (const auto& one : answer.at("audit"))
        std::printf("%s  %s  %s  %s\n", time_of(one.value("at", std::int64_t{0})).c_str(), text_of(one, "who").c_str(),
                    text_of(one, "what").c_str(), text_of(one, "why").c_str());
}

} // namespace brimwarden::server::tool::print
