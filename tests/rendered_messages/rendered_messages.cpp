// What a report tells the servers is the rendered message, and a query asks about the signatures of the message itself:
// they have to be the same. Compares them for each file below the given paths, and ends with 1 if they differ in a file
// that is not in the list of exceptions, or do not differ in one that is.
//
// Digests of whole parts ("prd") are compared for parts in base64. Rendering writes any other body as lines, with one
// more at its end, so that its digest is another one each time: for those the lines are compared, without the empty ones
// at the end.
//
//     rendered_messages EXCEPTIONS PATH...
#include "analysis/analysis_engine.h"
#include "foundation/text/line_scanner.h"
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

bool is_of_part(const string& signature) { return signature.starts_with("prd "); }

void add_signatures(const part& message, bool of_parts, signatures& out) {
    brimwarden::analysis::scan_context scan(message);
    brimwarden::analysis::analysis_engine::generate_signatures(scan);
    for (const auto& signature : scan.signatures) {
        const string text =
            tackle::unicode::to_narrow(tackle::wstring(signature.type) + u" " + signature.value, 65001, false);
        if (is_of_part(text) == of_parts) out.insert(text);
    }
}

void leave_lines_alone(part& message) {
    std::vector<part*> parts;
    message.find_parts(parts, false, "");
    for (part* const each : parts) {
        if (each->transfer_encoding() == "base64") continue;
        string lines;
        tackle::line_scanner scanner(each->data());
        for (tackle::string_view line; scanner.next(line);)
            (lines += line) += '\n';
        lines.erase(lines.find_last_not_of('\n') + 1);
        each->set_data(lines);
    }
}

signatures signatures_of(part message) {
    signatures out;
    add_signatures(message, false, out);
    leave_lines_alone(message);
    add_signatures(message, true, out);
    return out;
}

// The lines of the list hold a file name and a reason; those that begin with "#" explain.
std::set<string> read_exceptions(const char* path) {
    std::set<string> names;
    std::ifstream file(path);
    for (string line; std::getline(file, line);)
        if (!line.empty() && line.front() != '#') names.insert(line.substr(0, line.find(' ')));
    return names;
}

void print_missing(const char* label, const signatures& some, const signatures& others) {
    for (const string& each : some)
        if (!others.contains(each)) std::printf("    %s %s\n", label, each.c_str());
}

class comparison {
public:
    explicit comparison(std::set<string> exceptions) : exceptions_(std::move(exceptions)) {}

    void look_at(const fs::path& path) {
        const part message(tackle::wstring_view(path.u16string()));
        const part rendered{tackle::string_view(message.render_text())};
        const signatures before = signatures_of(message);
        const signatures after = signatures_of(rendered);
        ++messages_;
        const bool excepted = exceptions_.contains(path.filename().string());
        if (excepted) ++excepted_;
        if ((before == after) != excepted) return;
        ++wrong_;
        std::printf("%s: %s\n", path.string().c_str(), excepted ? "no exception any more" : "differs");
        print_missing("lost", before, after);
        print_missing("new ", after, before);
    }

    int end() const {
        std::printf("%u messages, %u of them known exceptions, %u not as expected\n", messages_, excepted_, wrong_);
        return wrong_ == 0 && messages_ > 0 ? 0 : 1;
    }

private:
    std::set<string> exceptions_;
    unsigned messages_ = 0;
    unsigned excepted_ = 0;
    unsigned wrong_ = 0;
};

bool is_message(const fs::path& path) { return path.extension() == ".eml" || path.extension() == ".txt"; }

} // namespace

int main(int count, char** arguments) {
    if (count < 3) return 2;
    comparison all(read_exceptions(arguments[1]));
    for (int i = 2; i < count; ++i) {
        const fs::path path(arguments[i]);
        if (!fs::exists(path)) {
            std::printf("%s is not there\n", arguments[i]); // real mail is fetched by those who want it
            continue;
        }
        if (!fs::is_directory(path)) {
            all.look_at(path);
            continue;
        }
        for (const auto& entry : fs::recursive_directory_iterator(path))
            if (is_message(entry.path())) all.look_at(entry.path());
    }
    return all.end();
}
