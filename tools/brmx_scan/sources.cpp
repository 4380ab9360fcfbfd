#include "tools/brmx_scan/sources.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <iostream>
#include <new>
#include <system_error>

namespace brmx_scan {

namespace {

namespace fs = std::filesystem;

constexpr const char* too_large = "larger than 4 GiB, which is the most that a message can have";

fs::path path_of(const std::string& name) { return {std::u8string(name.begin(), name.end())}; }

std::string name_of(const fs::path& path) {
    const auto text = path.u8string();
    return {text.begin(), text.end()};
}

bool leads_to_directory(const fs::path& path) {
    std::error_code ignored;
    return fs::is_directory(path, ignored);
}

bool is_maildir(const fs::path& directory) {
    return leads_to_directory(directory / "cur") && leads_to_directory(directory / "new");
}

// True for cur/ and new/ of a Maildir, also when named with a slash behind.
bool is_in_maildir(const fs::path& directory) {
    const auto named = directory.has_filename() ? directory : directory.parent_path();
    return (named.filename() == "cur" || named.filename() == "new") && is_maildir(named.parent_path());
}

std::string read_stream(std::istream& in, std::string& content) {
    char block[1 << 16];
    for (;;) {
        in.read(block, sizeof block);
        content.append(block, static_cast<std::size_t>(in.gcount()));
        if (content.size() > largest_message) return too_large;
        if (in.bad()) return "cannot be read";
        if (!in) return {};
    }
}

} // namespace

message_feed::message_feed(const std::vector<std::string>& paths, when mbox) : mbox_(mbox) {
    for (const auto& given : paths) {
        if (given == "-" || !leads_to_directory(path_of(given))) {
            files_.push_back({given, {}});
            continue;
        }
        const auto before = static_cast<std::ptrdiff_t>(files_.size());
        list_directory(given);
        std::ranges::sort(files_.begin() + before, files_.end(), {}, &file::name);
    }
}

void message_feed::list_directory(const std::string& top) {
    std::vector<fs::path> waiting{path_of(top)}; // the library's own recursive walk ends at the first failure
    while (!waiting.empty()) {
        const fs::path directory = std::move(waiting.back());
        waiting.pop_back();
        const bool maildir = is_maildir(directory);
        const bool in_maildir = is_in_maildir(directory);
        std::error_code failure;
        fs::directory_iterator entry(directory, failure);
        for (; !failure && entry != fs::directory_iterator(); entry.increment(failure)) {
            std::error_code ignored;
            if (entry->is_directory(ignored) && !entry->is_symlink(ignored)) {
                const auto name = entry->path().filename();
                if (maildir && name != "cur" && name != "new" && !is_maildir(entry->path())) continue;
                waiting.push_back(entry->path());
            } else if (entry->is_regular_file(ignored) && !maildir) {
                files_.push_back({name_of(entry->path()), {}, in_maildir});
            }
        }
        if (failure) files_.push_back({name_of(directory), failure.message()});
    }
}

std::uint64_t message_feed::total_bytes() const {
    std::uint64_t total = 0;
    for (const auto& given : files_) {
        std::error_code failure;
        const auto size = given.error.empty() ? fs::file_size(path_of(given.name), failure) : 0;
        if (!failure) total += size;
    }
    return total;
}

bool message_feed::is_mbox(const file& given) const {
    if (mbox_ != when::automatic || given.is_one_message) return mbox_ == when::always && !given.is_one_message;
    const auto path = path_of(given.name);
    return given.name != "-" && (path.filename() == "mbox" || path.extension() == ".mbox");
}

// Only what can be read twice: the first look would take the bytes out of a pipe.
bool message_feed::may_be_mbox(const file& given) const {
    std::error_code failure;
    return mbox_ == when::automatic && !given.is_one_message && given.name != "-" &&
           fs::is_regular_file(path_of(given.name), failure);
}

void message_feed::open(const file& given) {
    const bool sure = is_mbox(given);
    if (!sure && !may_be_mbox(given)) return;
    if (given.name == "-") {
        reader_.emplace(std::cin);
        return;
    }
    stream_ = std::ifstream(path_of(given.name), std::ios::binary);
    char start[5] = {};
    if (!sure && (!stream_.read(start, sizeof start) || std::string_view(start, sizeof start) != "From ")) return;
    if (!stream_) return; // whoever reads the file as one message will tell why it cannot be opened
    stream_.seekg(0);
    reader_.emplace(stream_);
}

void message_feed::close() {
    reader_.reset();
    stream_.close();
    number_ = 0;
    ++at_;
}

// False if the file has no more messages.
bool message_feed::next_in_file(source& out) {
    const auto& given = files_[at_];
    out = {given.name, given.error, {}, 0};
    if (!reader_ && given.error.empty()) open(given);
    if (!reader_) {
        close();
        return true;
    }
    auto& message = out.content.emplace();
    if (!reader_->next(message, out.bytes)) {
        const bool failed = reader_->failed();
        if (failed) out.error = "cannot be read any further";
        close();
        return failed;
    }
    ++number_;
    if (number_ > 1 || reader_->more() || is_mbox(given)) { // otherwise one message, whatever its first line
        out.name += ':' + std::to_string(number_);
        take_out_of_mbox(message);
    }
    if (out.bytes > largest_message) out.error = too_large;
    return true;
}

bool message_feed::next(source& out) {
    while (at_ < files_.size()) {
        try {
            if (next_in_file(out)) return true;
        } catch (const std::bad_alloc&) { // the rest of the file goes with it: its place in there is lost
            out = {files_[at_].name, "not enough memory", {}, 0};
            close();
            return true;
        }
    }
    return false;
}

std::string read_source(const std::string& name, std::string& content) {
    content.clear();
    if (name == "-") return read_stream(std::cin, content);
    errno = 0;
    std::ifstream file(path_of(name), std::ios::binary);
    if (!file) return errno != 0 ? std::generic_category().message(errno) : "cannot be opened";
    file.seekg(0, std::ios::end);
    const auto size = static_cast<std::streamoff>(file.tellg());
    if (size > 0 && static_cast<std::uint64_t>(size) > largest_message) return too_large;
    if (size > 0) content.reserve(static_cast<std::size_t>(size));
    file.clear(); // a pipe has no position, and can be read all the same
    file.seekg(0);
    file.clear();
    return read_stream(file, content);
}

} // namespace brmx_scan
