// A report carries the rendered message, and a query asks about the signatures of the message itself: they have to be the
// same for a server that reads the report with part::from_rendered. Compares them for each file below the given folders.
// Ends with 1 if they differ in a file that is not in the list of exceptions, or are the same in one that is.
//
//     rendered_messages EXCEPTIONS FOLDER...
#include "analysis/analysis_engine.h"
#include "foundation/text/unicode.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <set>

namespace {

namespace fs = std::filesystem;
using tackle::string;
using tackle::internet::message2::part;
using signatures = std::set<string>;

signatures signatures_of(const part& message) {
    brimwarden::analysis::scan_context scan(message);
    brimwarden::analysis::analysis_engine::generate_signatures(scan);
    signatures out;
    for (const auto& signature : scan.signatures)
        out.insert(tackle::unicode::to_narrow(tackle::wstring(signature.type) + u" " + signature.value, 65001, false));
    return out;
}

void print_missing(const char* label, const signatures& some, const signatures& others) {
    for (const string& each : some)
        if (!others.contains(each)) std::printf("    %s %s\n", label, each.c_str());
}

std::set<string> exceptions;
unsigned messages = 0;
unsigned excepted = 0;
unsigned wrong = 0;

// The lines of the list hold a file name and a reason; those that begin with "#" explain.
void read_exceptions(const char* path) {
    std::ifstream file(path);
    for (string line; std::getline(file, line);)
        if (!line.empty() && line.front() != '#') exceptions.insert(line.substr(0, line.find(' ')));
}

void look_at(const fs::path& path) {
    const part message(tackle::wstring_view(path.u16string()));
    const signatures before = signatures_of(message);
    const signatures after = signatures_of(part::from_rendered(message.render_text()));
    const bool is_exception = exceptions.contains(path.filename().string());
    ++messages;
    excepted += is_exception ? 1 : 0;
    if ((before == after) != is_exception) return;
    ++wrong;
    std::printf("%s: %s\n", path.string().c_str(), is_exception ? "no exception any more" : "differs");
    print_missing("lost", before, after);
    print_missing("new ", after, before);
}

} // namespace

int main(int count, char** arguments) {
    if (count < 3) return 2;
    read_exceptions(arguments[1]);
    for (int i = 2; i < count; ++i) {
        if (!fs::exists(arguments[i])) continue; // real mail is fetched by those who want it
        for (const auto& entry : fs::recursive_directory_iterator(arguments[i]))
            if (const auto kind = entry.path().extension(); kind == ".eml" || kind == ".txt") look_at(entry.path());
    }
    std::printf("%u messages, %u of them known exceptions, %u not as expected\n", messages, excepted, wrong);
    return wrong == 0 && messages > 0 ? 0 : 1;
}
