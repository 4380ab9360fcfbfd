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

// Who may read and write `file` from now on, if that is not so yet: not every file system knows how to change it.
void set_mode(const fs::path& file, fs::perms mode, std::error_code& failure) {
    if (fs::status(file, failure).permissions() != mode && !failure) fs::permissions(file, mode, failure);
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
    failure.clear();
    if (const auto replaced = fs::status(target); out && fs::exists(replaced))
        set_mode(beside, replaced.permissions(), failure); // before there is anything to read
    if (!failure) out << to_utf8(last_state());
    out.close();
    if (out && !failure) fs::rename(beside, target, failure);
    if (out && !failure) return;
    fs::remove(beside, failure);
    throw std::runtime_error(file + ": the state could not be written");
}

} // namespace brmx_scan
