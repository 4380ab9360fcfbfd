#include "network/tls/posix/wire.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

namespace tackle::internet::transport::tcp::tls {

namespace {

wire& ends_of(BIO* bio) { return *static_cast<wire*>(BIO_get_data(bio)); }

int read_wire(BIO* bio, char* out, std::size_t room, std::size_t* count) {
    auto& incoming = ends_of(bio).incoming;
    BIO_clear_retry_flags(bio);
    *count = std::min(room, incoming.size());
    if (*count == 0) {
        BIO_set_retry_read(bio);
        return 0;
    }
    std::memcpy(out, incoming.data(), *count);
    incoming.remove_prefix(*count);
    return 1;
}

// No exception may cross the frames of a C library.
int write_wire(BIO* bio, const char* bytes, std::size_t size, std::size_t* count) {
    BIO_clear_retry_flags(bio);
    try {
        ends_of(bio).outgoing.append(bytes, size);
    } catch (const std::bad_alloc&) {
        *count = 0;
        return 0;
    }
    *count = size;
    return 1;
}

long control_wire(BIO*, int command, long, void*) { return command == BIO_CTRL_FLUSH ? 1 : 0; }

struct free_method {
    void operator()(BIO_METHOD* method) const noexcept { BIO_meth_free(method); }
};

std::unique_ptr<BIO_METHOD, free_method> make_method() {
    std::unique_ptr<BIO_METHOD, free_method> method(BIO_meth_new(BIO_get_new_index() | BIO_TYPE_SOURCE_SINK, "wire"));
    if (!method) return method;
    const bool all = BIO_meth_set_read_ex(method.get(), read_wire) != 0 &&
                     BIO_meth_set_write_ex(method.get(), write_wire) != 0 &&
                     BIO_meth_set_ctrl(method.get(), control_wire) != 0;
    if (!all) method.reset();
    return method;
}

} // namespace

BIO* make_wire_bio(wire& ends) noexcept {
    static const auto method = make_method();
    BIO* const bio = method ? BIO_new(method.get()) : nullptr;
    if (bio == nullptr) return nullptr;
    BIO_set_data(bio, &ends);
    BIO_set_init(bio, 1);
    return bio;
}

} // namespace tackle::internet::transport::tcp::tls
