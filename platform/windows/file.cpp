#include "platform/file.h"

#include <windows.h>

namespace tackle::platform {
namespace {

class file_handle final {
public:
    file_handle(std::u16string_view path, DWORD access, DWORD disposition) {
        if (path.find(u'\0') != path.npos) return;
        const std::wstring name(path.begin(), path.end());
        handle_ = CreateFileW(name.c_str(), access, FILE_SHARE_READ, nullptr, disposition, FILE_FLAG_SEQUENTIAL_SCAN,
                              nullptr);
    }
    ~file_handle() {
        if (open()) CloseHandle(handle_);
    }
    file_handle(const file_handle&) = delete;
    file_handle& operator=(const file_handle&) = delete;

    bool open() const { return handle_ != INVALID_HANDLE_VALUE; }
    HANDLE get() const { return handle_; }

private:
    HANDLE handle_ = INVALID_HANDLE_VALUE;
};

} // namespace

file_result read_whole_file(std::u16string_view path, std::string& out) {
    const file_handle file(path, GENERIC_READ, OPEN_EXISTING);
    if (!file.open()) return file_result::open_failed;
    DWORD high = 0;
    DWORD size = GetFileSize(file.get(), &high);
    if (size == INVALID_FILE_SIZE || high != 0) return file_result::transfer_failed;
    out.resize(size);
    DWORD got = 0;
    if (!ReadFile(file.get(), out.data(), size, &got, nullptr)) return file_result::transfer_failed;
    out.resize(got); // somebody may have cut the file meanwhile
    return file_result::ok;
}

file_result write_whole_file(std::u16string_view path, std::string_view bytes) {
    const file_handle file(path, GENERIC_WRITE, CREATE_ALWAYS);
    if (!file.open()) return file_result::open_failed;
    if (bytes.size() > MAXDWORD) return file_result::transfer_failed;
    DWORD written = 0;
    const auto size = static_cast<DWORD>(bytes.size());
    if (!WriteFile(file.get(), bytes.data(), size, &written, nullptr)) return file_result::transfer_failed;
    return written == size ? file_result::ok : file_result::transfer_failed;
}

} // namespace tackle::platform
