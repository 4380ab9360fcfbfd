#include "platform/file.h"

#include "platform/posix/code_page/utf8.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tackle::platform {
namespace {

constexpr std::size_t size_limit = UINT32_MAX;             // the same as on the other target
constexpr std::size_t transfer_limit = 1024 * 1024 * 1024; // below what one call takes
constexpr std::size_t first_read = 64 * 1024;              // for pipes and the like, whose size nobody knows

class file_descriptor final {
public:
    file_descriptor(std::u16string_view path, int flags) {
        std::string name;
        std::u16string again;
        if (path.empty() || path.find(u'\0') != path.npos) return;
        encode_utf8(path, name);
        decode_utf8(name, again);
        if (again != path) return; // a lone surrogate, and U+FFFD in its place would be the name of another file
        do
            descriptor_ = ::open(name.c_str(), flags | O_CLOEXEC, 0666);
        while (descriptor_ < 0 && errno == EINTR);
    }
    ~file_descriptor() {
        if (open()) ::close(descriptor_);
    }
    file_descriptor(const file_descriptor&) = delete;
    file_descriptor& operator=(const file_descriptor&) = delete;

    bool open() const { return descriptor_ >= 0; }
    int get() const { return descriptor_; }

private:
    int descriptor_ = -1;
};

} // namespace

file_result read_whole_file(std::u16string_view path, std::string& out) {
    const file_descriptor file(path, O_RDONLY);
    struct stat about {};
    if (!file.open() || fstat(file.get(), &about) != 0) return file_result::open_failed;
    if (S_ISDIR(about.st_mode)) return file_result::open_failed; // opens here, but not on the other target
    const auto expected = S_ISREG(about.st_mode) ? static_cast<std::size_t>(about.st_size) : first_read;
    if (expected > size_limit) return file_result::transfer_failed;
    // One byte more than expected: the read that finds the end then needs no larger buffer. Files below /proc say 0.
    out.resize(std::max(expected + 1, std::size_t{4096}));
    std::size_t size = 0;
    for (;;) {
        const auto got = ::read(file.get(), out.data() + size, std::min(out.size() - size, transfer_limit));
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return file_result::transfer_failed;
        if (got == 0) break;
        size += static_cast<std::size_t>(got);
        if (size > size_limit) return file_result::transfer_failed;
        if (size == out.size()) out.resize(size * 2);
    }
    out.resize(size);
    return file_result::ok;
}

file_result write_whole_file(std::u16string_view path, std::string_view bytes) {
    const file_descriptor file(path, O_WRONLY | O_CREAT | O_TRUNC);
    if (!file.open()) return file_result::open_failed;
    while (!bytes.empty()) {
        const auto written = ::write(file.get(), bytes.data(), std::min(bytes.size(), transfer_limit));
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return file_result::transfer_failed;
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return file_result::ok;
}

} // namespace tackle::platform
