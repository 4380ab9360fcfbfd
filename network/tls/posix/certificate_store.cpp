#include "network/tls/posix/certificate_store.h"

#include "foundation/text/strings.h"

#include <openssl/pem.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>

namespace tackle::internet::transport::tcp::tls {

namespace {

namespace fs = std::filesystem;

owned_bio open_file(const fs::path& path) { return owned_bio(BIO_new_file(path.c_str(), "rb")); }

// Nobody is there to type a password; asking on the terminal would hang a service.
int no_password(char*, int, int, void*) { return -1; }

string subject_of(const X509* certificate) {
    const owned_bio text(BIO_new(BIO_s_mem()));
    constexpr unsigned long values_only = ASN1_STRFLGS_UTF8_CONVERT | XN_FLAG_SEP_CPLUS_SPC | XN_FLAG_FN_NONE;
    if (!text || X509_NAME_print_ex(text.get(), X509_get_subject_name(certificate), 0, values_only) < 0) return {};
    char* bytes = nullptr;
    const long size = BIO_get_mem_data(text.get(), &bytes);
    return size > 0 ? string(bytes, static_cast<std::size_t>(size)) : string();
}

owned_key read_key(const fs::path& path) {
    const owned_bio file = open_file(path);
    return owned_key(file ? PEM_read_bio_PrivateKey(file.get(), nullptr, no_password, nullptr) : nullptr);
}

bool search_file(const string& subject, const fs::path& path, stored_certificate& out) {
    const owned_bio file = open_file(path);
    if (!file) return false;
    std::vector<owned_certificate> all;
    while (owned_certificate next{PEM_read_bio_X509(file.get(), nullptr, no_password, nullptr)})
        all.push_back(std::move(next));
    if (all.empty()) return false;
    owned_key key = read_key(path);
    if (!key) key = read_key(fs::path(path).replace_extension(".key"));
    // The others are issuers, whose names may contain the subject as well, and which may come first.
    auto own = std::ranges::find_if(
        all, [&](const auto& one) { return key && X509_check_private_key(one.get(), key.get()) == 1; });
    if (own == all.end()) own = all.begin();
    if (!contains(to_lower(subject_of(own->get())), subject)) return false;
    out.certificate = std::move(*own);
    all.erase(own);
    out.chain = std::move(all);
    out.key = std::move(key);
    return true;
}

int list_directory(const fs::path& directory, std::vector<fs::path>& out) {
    std::error_code error;
    for (fs::directory_iterator entry(directory, error), end; !error && entry != end; entry.increment(error)) {
        std::error_code unreadable; // tells of this one entry, which is then none of ours
        if (entry->path().extension() == ".pem" && entry->is_regular_file(unreadable)) out.push_back(entry->path());
    }
    std::sort(out.begin(), out.end());
    return error.value();
}

} // namespace

int find_certificate(const string& subject, const string& store, stored_certificate& out) {
    const fs::path place = store.empty() ? fs::path(X509_get_default_private_dir()) : fs::path(store);
    std::error_code error;
    std::vector<fs::path> files;
    if (fs::is_directory(place, error)) {
        if (const int failed = list_directory(place, files); failed != 0) return failed;
    } else if (error) {
        return error.value();
    } else {
        errno = 0;
        if (!open_file(place)) return errno != 0 ? errno : EACCES;
        files.push_back(place);
    }
    const string wanted = to_lower(subject);
    for (const auto& file : files)
        if (search_file(wanted, file, out)) break;
    return 0;
}

} // namespace tackle::internet::transport::tcp::tls
