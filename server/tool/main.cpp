#include "server/tool/init.h"
#include "server/tool/operator_link.h"
#include "server/tool/print.h"
#include "server/tool/teach.h"
#include "server/tool/transfer.h"
#include "tools/brmx_scan/sources.h"

#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <nlohmann/json.hpp>

namespace brimwarden::server::tool {

using json = nlohmann::json;

namespace {

constexpr const char* system_configuration = "/etc/brimwarden/community.toml";

using printer = void (*)(const json& answer);

// What the command line asks for. CLI11 writes into the members, so they have to stay where they are.
class command_line {
public:
    command_line() : program_("Operates a community server") {
        program_.fallthrough(); // options of all commands may come after the command
        program_.require_subcommand(1);
        program_.set_version_flag("--version", BRMX_SERVER_VERSION);
        program_.add_option("--config", file_, "the server's configuration, which says where its socket file is");
        program_.add_option("--state", state_, "the server's state folder, whatever the configuration says");
        program_.add_option("--socket", socket_, "the server's socket file")->envname("BRMX_COMMUNITY_SOCKET");
        program_.add_option("--why", why_, "reason, for the audit list");
        program_.add_flag("--json", json_, "answers as JSON, one object a line");
        add_init();
        add_credential();
        add_evidence();
        add_store();
    }

    int run(int count, char** arguments) {
        CLI11_PARSE(program_, count, arguments);
        try {
            return work_() ? 0 : 1;
        } catch (const std::exception& error) {
            std::fprintf(stderr, "brmx-community: %s\n", error.what());
            return 1;
        }
    }

private:
    [[nodiscard]] daemon::configuration configuration() const {
        std::string path = file_;
        std::error_code ignored;
        if (path.empty() && state_.empty() && std::filesystem::exists(system_configuration, ignored))
            path = system_configuration;
        auto chosen = path.empty() ? daemon::default_configuration() : daemon::read_configuration(path);
        if (!state_.empty()) chosen.state = state_;
        return chosen;
    }

    [[nodiscard]] std::string socket_path() const {
        return socket_.empty() ? daemon::control_path(configuration()) : socket_;
    }

    // Asks the server and prints its answer: by `print`, as JSON, or not at all.
    bool ask(json request, printer print, std::string_view message = {}) const {
        if (!why_.empty()) request["why"] = why_;
        const json answer = operator_link(socket_path()).ask(std::move(request), message);
        if (json_)
            std::puts(answer.dump(-1, ' ', false, json::error_handler_t::replace).c_str());
        else if (print != nullptr)
            print(answer);
        return true;
    }

    CLI::App* add(CLI::App& above, const char* name, const char* help, std::function<bool()> work) {
        auto* const command = above.add_subcommand(name, help);
        command->callback([this, work = std::move(work)] { work_ = work; });
        return command;
    }

    void add_init() {
        auto* const command =
            add(program_, "init", "write a configuration, make keys and the first credential", [this] {
                beginning_.state = state_.empty() ? daemon::default_configuration().state : state_;
                beginning_.state = std::filesystem::absolute(beginning_.state).string();
                beginning_.file = file_.empty() ? system_configuration : file_;
                beginning_.json = json_;
                init(beginning_);
                return true;
            });
        command->add_option("--listen", beginning_.addresses, "IPv4 address; without one: loopback")
            ->check(CLI::ValidIPV4);
        command->add_option("--name", beginning_.name, "of the server, as clients show it")->default_val("Brimwarden");
        command->add_option("--mailboxes", beginning_.mailboxes, "of the first credential")->default_val(1);
    }

    void add_credential() {
        auto* const all = program_.add_subcommand("credential", "who may ask and report");
        all->require_subcommand(1);
        auto* command = add(*all, "add", "give out a credential; its secret is shown this once", [this] {
            json request = {
                {"command", "credential add"}, {"name", name_}, {"mailboxes", mailboxes_}, {"roles", roles_}};
            if (id_ != 0) request["id"] = id_;
            return ask(request, &print::credential);
        });
        command->add_option("--name", name_, "of whom it is");
        command->add_option("--mailboxes", mailboxes_, "a range of so many ids, one for each mailbox of a site");
        command->add_option("--role", roles_, "ask, report, operate; without one: ask and report")
            ->check(CLI::IsMember({"ask", "report", "operate"}));
        command->add_option("--id", id_, "the id, or the first; without it: the next that is free");
        add(*all, "list", "all credentials, without their secrets", [this] {
            return ask({{"command", "credential list"}}, &print::credentials);
        });
        command = add(*all, "disable", "refuse a credential from now on", [this] {
            return ask({{"command", "credential disable"}, {"id", id_}, {"enable", enable_}}, &print::credential);
        });
        command->add_option("ID", id_)->required();
        command->add_flag("--enable", enable_, "take it again");
        command = add(*all, "rotate", "give out a new secret; the old one stays good for a while", [this] {
            return ask({{"command", "credential rotate"}, {"id", id_}, {"hours", hours_}}, &print::credential);
        });
        command->add_option("ID", id_)->required();
        command->add_option("--hours", hours_, "how long both are good")->default_val(24);
        command = add(*all, "mailbox", "show the secret of one mailbox of a range", [this] {
            return ask({{"command", "credential mailbox"}, {"id", id_}},
                       [](const json& answer) { std::puts(answer.at("secret").get<std::string>().c_str()); });
        });
        command->add_option("ID", id_)->required();
    }

    void add_evidence() {
        add(program_, "status", "what the server has and has done", [this] {
            return ask({{"command", "status"}}, &print::status);
        });
        auto* command = add(program_, "explain", "why a message gets its points: signatures, counts, rules", [this] {
            std::string message;
            if (const std::string problem = brmx_scan::read_source(paths_.front(), message); !problem.empty())
                throw failure(paths_.front() + ": " + problem);
            return ask({{"command", "explain"}}, &print::explanation, message);
        });
        command->add_option("MESSAGE", paths_, "a file, \"-\" for standard input")->required()->expected(1);
        command = add(program_, "teach", "prove what messages are: mbox, Maildir, folders, files", [this] {
            operator_link server(socket_path());
            return teach(server, {paths_, wanted_, why_, json_});
        });
        command->add_option("PATH", paths_)->required();
        auto* const which = command->add_option_group("which");
        which->add_flag("--spam", spam_, "they are spam");
        which->add_flag("--wanted", wanted_, "they are wanted");
        which->require_option(1);
        command = add(program_, "mark", "decide on one signature, whatever is reported", [this] {
            return ask({{"command", "mark"}, {"type", type_}, {"value", value_}, {"mark", mark_}, {"force", force_}},
                       nullptr);
        });
        auto* const marks = command->add_option_group("mark");
        for (const char* name : {"ignore", "black", "white", "none"})
            marks->add_flag_callback(std::string("--") + name, [this, name] { mark_ = name; });
        marks->require_option(1);
        command->add_flag("--force", force_, "white on a link, a text or a file, which clears all that carries it");
        command->add_option("TYPE", type_, "as `explain` shows it: hsi, tru, prd, ...")->required();
        command->add_option("VALUE", value_, "as `explain` shows it")->required();
        command = add(program_, "forget-reporter", "undo everything that a mailbox ever said", [this] {
            return ask({{"command", "forget-reporter"}, {"id", id_}}, nullptr);
        });
        command->add_option("ID", id_)->required();
        add(program_, "reporters", "who has reported, and how far each is trusted", [this] {
            return ask({{"command", "reporters"}}, &print::reporters);
        });
        command = add(program_, "audit", "what operators did: when, who, what, why", [this] {
            return ask({{"command", "audit"}, {"most", most_}}, &print::audit);
        });
        command->add_option("--most", most_, "so many lines, the latest first")->default_val(100);
    }

    void add_store() {
        auto* command = add(program_, "export", "what the community knows, as lines of JSON, without secrets", [this] {
            operator_link server(socket_path());
            export_knowledge(server, paths_.front());
            return true;
        });
        command->add_option("FILE", paths_, "a new file, \"-\" for standard output")->required()->expected(1);
        command = add(program_, "import", "merge an export into the state of a server that does not run", [this] {
            import_knowledge(configuration(), paths_.front(), why_);
            return true;
        });
        command->add_option("FILE", paths_)->required()->expected(1);
        command =
            add(program_, "backup", "a copy of all of the state while the server runs; secrets stay sealed", [this] {
                return ask({{"command", "backup"}, {"path", std::filesystem::absolute(paths_.front()).string()}},
                           nullptr);
            });
        command->add_option("FILE", paths_, "a new file, which the server has to be able to write")
            ->required()
            ->expected(1);
    }

    CLI::App program_;
    std::function<bool()> work_;
    std::string file_, state_, socket_, why_, name_, type_, value_, mark_;
    std::vector<std::string> paths_, roles_{"ask", "report"};
    std::uint32_t id_ = 0;
    std::uint32_t mailboxes_ = 1;
    std::uint32_t hours_ = 24;
    std::uint32_t most_ = 100;
    bool json_ = false, enable_ = false, spam_ = false, wanted_ = false, force_ = false;
    beginning beginning_;
};

} // namespace

} // namespace brimwarden::server::tool

int main(int count, char** arguments) {
    std::signal(SIGPIPE, SIG_IGN); // a server that goes is an error to tell
    return brimwarden::server::tool::command_line().run(count, arguments);
}
