#pragma once

#include "server/daemon/community.h"

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>

namespace brimwarden::server::admin {

// The operator's commands. A request is an object with "command" and its arguments, and may come with a message; the
// answer is an object, with "error" if the command could not be done. Each command that changes something is in the
// audit list with who, when and why before its answer. Any thread.
class console {
public:
    explicit console(daemon::community& served) : served_(served) {}

    // Never throws but std::bad_alloc.
    [[nodiscard]] nlohmann::json execute(const std::string& who, const nlohmann::json& request,
                                         std::string_view message);

private:
    using json = nlohmann::json;
    json status(const json& request, std::string_view message);
    json add_credential(const json& request, std::string_view message);
    json list_credentials(const json& request, std::string_view message);
    json disable_credential(const json& request, std::string_view message);
    json rotate_credential(const json& request, std::string_view message);
    json mailbox_secret(const json& request, std::string_view message);
    json explain(const json& request, std::string_view message);
    json teach(const json& request, std::string_view message);
    json mark(const json& request, std::string_view message);
    json forget(const json& request, std::string_view message);
    json reporters(const json& request, std::string_view message);
    json back_up(const json& request, std::string_view message);
    json export_start(const json& request, std::string_view message);
    json export_page(const json& request, std::string_view message);
    json audited(const json& request, std::string_view message);
    json set_clock(const json& request, std::string_view message);

    struct command {
        const char* name;
        json (console::*run)(const json& request, std::string_view message);
        bool changes; // and so is audited
    };
    static const command commands[];

    [[nodiscard]] store::credential find_credential(std::uint32_t first);
    void save_credential(const store::credential& row);

    daemon::community& served_;
};

} // namespace brimwarden::server::admin
