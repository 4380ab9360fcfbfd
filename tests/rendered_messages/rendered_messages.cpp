// What a report tells the servers is the rendered message, and a query asks about the signatures of the message itself:
// they have to be the same. Compares them for each file below the given folders, and ends with 1 if any differ.
//
// Digests of whole parts ("prd") are compared for parts in base64. Rendering writes any other body as lines, with one
// more at its end, so that its digest is another one each time: for those the lines are compared, without the empty ones
// at the end.
//
//     rendered_messages FOLDER...
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

void print_missing(const char* label, const signatures& some, const signatures& others) {
    for (const string& each : some)
        if (!others.contains(each)) std::printf("    %s %s\n", label, each.c_str());
}

unsigned messages = 0;
unsigned different = 0;

void look_at(const fs::path& path) {
    const part message(tackle::wstring_view(path.u16string()));
    const part rendered{tackle::string_view(message.render_text())};
    const signatures before = signatures_of(message);
    const signatures after = signatures_of(rendered);
    ++messages;
    if (before == after) return;
    ++different;
    std::printf("%s differs\n", path.string().c_str());
    print_missing("lost", before, after);
    print_missing("new ", after, before);
}

} // namespace

int main(int count, char** arguments) {
    for (int i = 1; i < count; ++i) {
        if (!fs::exists(arguments[i])) continue; // real mail is fetched by those who want it
        for (const auto& entry : fs::recursive_directory_iterator(arguments[i]))
            if (const auto kind = entry.path().extension(); kind == ".eml" || kind == ".txt") look_at(entry.path());
    }
    std::printf("%u messages, %u different\n", messages, different);
    return different == 0 && messages > 0 ? 0 : 1;
}
