#include "tools/brmx_scan/state_file.h"

#include "tools/brmx_scan/engine.h"
#include "tools/brmx_scan/output.h"
#include "tools/brmx_scan/sources.h"

#include <filesystem>
#include <fstream>
#include <random>
#include <stdexcept>
#include <system_error>

namespace brmx_scan {

namespace {

namespace fs = std::filesystem;

fs::path path_of(const std::string& name) { return {std::u8string(name.begin(), name.end())}; }

// The engine adds a record to the ones before; the last one is the present state.
std::u16string last_record(std::u16string_view text) {
    std::size_t ends = 0;
    std::size_t start = text.size();
    while (start > 0 && (text[start - 1] != u'\r' || ++ends <= 4))
        --start;
    return std::u16string(text.substr(start));
}

} // namespace

void load_state(const std::string& file) {
    std::error_code ignored;
    if (!fs::exists(path_of(file), ignored)) return;
    if (fs::is_directory(path_of(file), ignored)) throw std::runtime_error(file + ": a directory, and no file");
    std::string content;
    if (const auto failure = read_source(file, content); !failure.empty()) {
        throw std::runtime_error(file + ": " + failure);
    }
    const auto text = to_units(content);
    const auto status = text ? set_state(*text) : status_failed;
    if (status != status_ok) throw std::runtime_error(file + ": no state to go on from (" + status_name(status) + ")");
}

void save_state(const std::string& file) {
    std::error_code failure;
    auto target = fs::canonical(path_of(file), failure); // a link stays one
    if (failure) target = path_of(file);
    auto beside = target;
    beside += "." + std::to_string(std::random_device()()) + ".new"; // of no other process that does the same
    std::ofstream out(beside, std::ios::binary | std::ios::trunc);
    out << to_utf8(last_record(get_state()));
    out.close();
    failure.clear();
    if (out) fs::rename(beside, target, failure);
    if (out && !failure) return;
    fs::remove(beside, failure);
    throw std::runtime_error(file + ": the state could not be written");
}

} // namespace brmx_scan
