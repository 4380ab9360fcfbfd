#include "server/tool/transfer.h"

#include "server/admin/transfer.h"
#include "server/daemon/community.h"

#include <cstdio>
#include <fstream>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <pwd.h>
#include <unistd.h>

namespace brimwarden::server::tool {

using json = nlohmann::json;

namespace {

void write_all(operator_link& server, std::FILE* out) {
    json request = {{"command", "export"}};
    for (;;) {
        const json page = server.ask(request);
        for (const auto& line : page.at("lines"))
            if (std::fprintf(out, "%s\n", line.dump().c_str()) < 0) throw failure("the export cannot be written");
        if (!page.contains("next")) break;
        request = {{"command", "export page"}, {"after", page.at("next")}};
    }
    if (std::fflush(out) != 0) throw failure("the export cannot be written");
}

std::string user() {
    const passwd* const found = ::getpwuid(::getuid());
    return found != nullptr ? found->pw_name : "user " + std::to_string(::getuid());
}

} // namespace

void export_knowledge(operator_link& server, const std::string& path) {
    if (path == "-") return write_all(server, stdout);
    std::FILE* const out = std::fopen(path.c_str(), "wxe");
    if (out == nullptr) throw failure(path + ": " + std::generic_category().message(errno));
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> closer(out, &std::fclose);
    try {
        write_all(server, out);
    } catch (...) {
        (void)::unlink(path.c_str());
        throw;
    }
}

void import_knowledge(const daemon::configuration& chosen, const std::string& path, const std::string& why) {
    std::ifstream file;
    if (path != "-") {
        file.open(path);
        if (!file) throw failure(path + ": cannot be opened");
    }
    std::istream& in = path == "-" ? std::cin : file;
    daemon::community into(chosen); // refuses the state of a server that runs
    admin::transfer reader(into.identity_key);
    std::string line;
    std::size_t number = 0;
    try {
        while (std::getline(in, line)) {
            ++number;
            reader.take(json::parse(line));
        }
    } catch (const json::exception&) {
        throw failure(path + ":" + std::to_string(number) + ": not a line of an export");
    } catch (const admin::bad_transfer& problem) {
        throw failure(path + ":" + std::to_string(number) + ": " + problem.what());
    }
    if (number == 0) throw failure(path + ": is empty");
    const auto& read = reader.taken();
    into.kept.merge(read);
    into.kept.audit({into.clock.now(), user(), json{{"command", "import"}, {"path", path}}.dump(), why});
    std::printf("%zu statements, %zu reporters, %zu marks\n", read.statements.size(), read.reporters.size(),
                read.marks.size());
}

} // namespace brimwarden::server::tool
