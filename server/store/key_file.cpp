#include "server/store/key_file.h"

#include "platform/random.h"
#include "server/store/store.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <openssl/evp.h>
#include <span>
#include <sys/stat.h>
#include <unistd.h>

namespace brimwarden::server::store {

namespace {

constexpr std::size_t nonce_size = 12;
constexpr std::size_t tag_size = 16;

class open_file {
public:
    open_file(const std::string& path, int flags) : number_(::open(path.c_str(), flags | O_CLOEXEC, 0600)) {}
    ~open_file() {
        if (number_ >= 0) ::close(number_);
    }
    open_file(const open_file&) = delete;
    open_file& operator=(const open_file&) = delete;
    [[nodiscard]] int get() const { return number_; }

private:
    int number_;
};

[[noreturn]] void fail(const std::string& path, const char* what) {
    throw failure(path + ": " + what + ": " + std::strerror(errno));
}

void fill_random(std::span<std::uint8_t> out) {
    if (!tackle::platform::fill_random(std::as_writable_bytes(out))) throw failure("the system has no random numbers");
}

using context = std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)>;

unsigned char* bytes_of(std::string& text) { return reinterpret_cast<unsigned char*>(text.data()); }
const unsigned char* bytes_of(std::string_view text) { return reinterpret_cast<const unsigned char*>(text.data()); }

} // namespace

key_file::key_file(const std::string& path) : path_(path) {
    if (const open_file made(path, O_WRONLY | O_CREAT | O_EXCL); made.get() >= 0) {
        fill_random(key_);
        if (::write(made.get(), key_.data(), key_.size()) != static_cast<ssize_t>(key_.size()) ||
            ::fsync(made.get()) != 0) {
            (void)::unlink(path.c_str());
            fail(path, "cannot write the key file");
        }
        return;
    }
    const open_file existing(path, O_RDONLY);
    struct stat about {};
    if (existing.get() < 0 || ::fstat(existing.get(), &about) != 0) fail(path, "cannot open the key file");
    if ((about.st_mode & (S_IRWXG | S_IRWXO)) != 0)
        throw failure(path + ": others may use the key file; give it the rights 0600");
    if (about.st_size != static_cast<off_t>(key_.size()) ||
        ::read(existing.get(), key_.data(), key_.size()) != static_cast<ssize_t>(key_.size()))
        throw failure(path + ": not a key file, it has to have 32 bytes");
}

// Layout: nonce, ciphertext, tag.
std::string key_file::seal(std::string_view name, std::string_view secret) const {
    std::string sealed(nonce_size + secret.size() + tag_size, '\0');
    fill_random(std::span(bytes_of(sealed), nonce_size));
    const context cipher(EVP_CIPHER_CTX_new(), &EVP_CIPHER_CTX_free);
    int written = 0;
    unsigned char* const out = bytes_of(sealed) + nonce_size;
    const bool done =
        cipher && EVP_EncryptInit_ex(cipher.get(), EVP_aes_256_gcm(), nullptr, key_.data(), bytes_of(sealed)) == 1 &&
        EVP_EncryptUpdate(cipher.get(), nullptr, &written, bytes_of(name), static_cast<int>(name.size())) == 1 &&
        EVP_EncryptUpdate(cipher.get(), out, &written, bytes_of(secret), static_cast<int>(secret.size())) == 1 &&
        EVP_EncryptFinal_ex(cipher.get(), out + written, &written) == 1 &&
        EVP_CIPHER_CTX_ctrl(cipher.get(), EVP_CTRL_GCM_GET_TAG, tag_size, out + secret.size()) == 1;
    if (!done) throw failure("cannot seal a secret");
    return sealed;
}

std::string key_file::open(std::string_view name, std::string_view sealed) const {
    if (sealed.size() < nonce_size + tag_size) throw failure(path_ + ": a sealed secret is cut off");
    const std::string_view body = sealed.substr(nonce_size, sealed.size() - nonce_size - tag_size);
    std::string tag(sealed.substr(sealed.size() - tag_size));
    std::string secret(body.size(), '\0');
    const context cipher(EVP_CIPHER_CTX_new(), &EVP_CIPHER_CTX_free);
    int written = 0;
    const bool done =
        cipher && EVP_DecryptInit_ex(cipher.get(), EVP_aes_256_gcm(), nullptr, key_.data(), bytes_of(sealed)) == 1 &&
        EVP_DecryptUpdate(cipher.get(), nullptr, &written, bytes_of(name), static_cast<int>(name.size())) == 1 &&
        EVP_DecryptUpdate(cipher.get(), bytes_of(secret), &written, bytes_of(body), static_cast<int>(body.size())) ==
            1 &&
        EVP_CIPHER_CTX_ctrl(cipher.get(), EVP_CTRL_GCM_SET_TAG, tag_size, tag.data()) == 1 &&
        EVP_DecryptFinal_ex(cipher.get(), bytes_of(secret) + written, &written) == 1;
    if (!done) throw failure(path_ + ": a secret was not sealed with this key file");
    return secret;
}

} // namespace brimwarden::server::store
