#include "server/tool/init.h"

#include "server/admin/console.h"
#include "server/tool/operator_link.h"
#include "server/tool/print.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <unistd.h>

namespace brimwarden::server::tool {

using json = nlohmann::json;

namespace {

// A basic string of TOML has the escapes of JSON.
std::string toml_text(const json& text) { return text.dump(); }

std::string configuration_text(const beginning& wanted) {
    std::string text =
        "# Read by brmx-communityd; `brmx-communityd --check --config FILE` says what is wrong in it.\n\n"
        "[listen]\n# IPv4 addresses of this machine. Without them: loopback, 127.0.0.1 to 127.0.0.6.\n";
    text += wanted.addresses.empty() ? "# addresses = [\"192.0.2.1\"]\n"
                                     : "addresses = " + toml_text(json(wanted.addresses)) + "\n";
    text += "# port = 2409                  # clients ask no other unless they are told to\n\n[state]\n";
    text += "folder = " + toml_text(wanted.state) + "\n";
    text += "# key = \"/path/to/key\"         # better on another medium than the backups\n\n[server]\n";
    text += "name = " + toml_text(wanted.name) + "            # name, location and info: 25 bytes in all\n\n";
    text +=
        "[ask]\n# anonymous = false            # whether asking needs no credentials; by default only on loopback\n";
    return text;
}

void write_new(const std::string& path, const std::string& text) {
    const auto folder = std::filesystem::path(path).parent_path();
    std::error_code ignored;
    if (!folder.empty()) std::filesystem::create_directories(folder, ignored);
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    if (file < 0) throw failure(path + ": " + std::strerror(errno));
    const bool written = ::write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    if (::close(file) != 0 || !written) {
        (void)::unlink(path.c_str());
        throw failure(path + ": cannot be written");
    }
}

json first_credential(const beginning& wanted) {
    daemon::community made(daemon::read_configuration(wanted.file));
    admin::console commands(made);
    if (const auto all = commands.execute("init", {{"command", "credential list"}}, {});
        all.contains("credentials") && !all.at("credentials").empty())
        return json::object(); // a state that was there before
    return commands.execute(
        "init",
        {{"command", "credential add"}, {"mailboxes", wanted.mailboxes}, {"name", "first"}, {"why", "first start"}},
        {});
}

} // namespace

void init(const beginning& wanted) {
    write_new(wanted.file, configuration_text(wanted));
    json made;
    try {
        made = first_credential(wanted);
        if (made.contains("error")) throw failure(made.at("error").get<std::string>());
    } catch (...) {
        (void)::unlink(wanted.file.c_str());
        throw;
    }
    if (wanted.json) {
        std::puts(json{{"configuration", wanted.file}, {"state", wanted.state}, {"credential", made}}.dump().c_str());
        return;
    }
    std::printf("configuration  %s\nstate          %s\n\n", wanted.file.c_str(), wanted.state.c_str());
    if (made.empty())
        std::puts("The state was there before, with its credentials.");
    else
        print::credential(made);
    std::printf("\nStart it:  brmx-communityd --config %s\n", wanted.file.c_str());
}

} // namespace brimwarden::server::tool
