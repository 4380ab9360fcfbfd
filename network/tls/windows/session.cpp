#include "network/tls/windows/session.h"

#include <algorithm>
#include <cstring>
#include <functional>

namespace tackle::internet::transport::tcp::tls {

namespace {

// Replay and sequence detection, confidentiality, memory of the provider, extended errors, stream.
constexpr ULONG request_flags = 0xC11C;

status number_of(SECURITY_STATUS result) { return static_cast<status>(result); }

ULONG length_of(std::size_t size) { return static_cast<ULONG>(size); }

SecBufferDesc list_of(SecBuffer* buffers, ULONG count) { return {SECBUFFER_VERSION, count, buffers}; }

// An extra buffer is the tail of what went in.
std::size_t used_of(std::span<char> received, const SecBuffer& extra) {
    return received.size() - std::min<std::size_t>(extra.cbBuffer, received.size());
}

// The provider deciphers in place. Only a buffer that it made itself may go back to it: anything else would be freed
// out of the middle of our own block.
void give_back(std::span<char> received, const SecBuffer& buffer) {
    const auto* const bytes = static_cast<const char*>(buffer.pvBuffer);
    const std::less<> before;
    if (bytes == nullptr) return;
    if (before(bytes, received.data()) || !before(bytes, received.data() + received.size() + 1))
        FreeContextBuffer(buffer.pvBuffer);
}

} // namespace

credentials_handle::~credentials_handle() {
    if (handle.dwLower != no_handle.dwLower) FreeCredentialsHandle(&handle);
}

schannel_session::~schannel_session() {
    if (begun()) DeleteSecurityContext(&context_handle_);
}

status schannel_session::step(std::span<char> received, std::size_t& used, string& token) {
    SecBuffer in[] = {{length_of(received.size()), SECBUFFER_TOKEN, received.data()}, {0, SECBUFFER_EMPTY, nullptr}};
    SecBuffer out[] = {{0, SECBUFFER_TOKEN, nullptr}};
    SecBufferDesc input = list_of(in, 2);
    SecBufferDesc output = list_of(out, 1);
    CtxtHandle made = context_handle_;
    const SECURITY_STATUS result =
        call(begun() ? &context_handle_ : nullptr, received.empty() ? nullptr : &input, &made, &output);
    // Whether a first call that lacks bytes has made a context is for the provider to say.
    if (!FAILED(result) || result == SEC_E_INCOMPLETE_MESSAGE) context_handle_ = made;
    token.clear();
    if (out[0].pvBuffer != nullptr) {
        token.assign(static_cast<const char*>(out[0].pvBuffer), out[0].cbBuffer);
        FreeContextBuffer(out[0].pvBuffer);
    }
    used = in[1].BufferType == SECBUFFER_EXTRA ? used_of(received, in[1]) : received.size();
    return number_of(result);
}

status schannel_session::read_connection_info() {
    return number_of(QueryContextAttributesA(&context_handle_, SECPKG_ATTR_CONNECTION_INFO, &connection_info_));
}

status schannel_session::read_stream_sizes() {
    return number_of(QueryContextAttributesA(&context_handle_, SECPKG_ATTR_STREAM_SIZES, &stream_sizes_));
}

status schannel_session::encrypt(string_view piece, string& block) {
    const std::size_t header = stream_sizes_.cbHeader;
    block.resize(header + piece.size() + stream_sizes_.cbTrailer);
    std::memcpy(block.data() + header, piece.data(), piece.size());
    SecBuffer buffers[] = {
        {stream_sizes_.cbHeader, SECBUFFER_STREAM_HEADER, block.data()},
        {length_of(piece.size()), SECBUFFER_DATA, block.data() + header},
        {stream_sizes_.cbTrailer, SECBUFFER_STREAM_TRAILER, block.data() + header + piece.size()},
        {0, SECBUFFER_EMPTY, nullptr},
    };
    SecBufferDesc list = list_of(buffers, 4);
    const SECURITY_STATUS result = EncryptMessage(&context_handle_, 0, &list, 0);
    // Some ciphers need less room behind a piece than was asked for; what they left is no part of the record.
    if (result == SEC_E_OK)
        block.resize(header + piece.size() + std::min(buffers[2].cbBuffer, stream_sizes_.cbTrailer));
    return number_of(result);
}

status schannel_session::decrypt(std::span<char> received, std::size_t& used, string& plain, string& reply) {
    reply.clear();
    used = 0;
    SecBuffer buffers[4] = {{length_of(received.size()), SECBUFFER_DATA, received.data()}};
    SecBufferDesc list = list_of(buffers, 4);
    const SECURITY_STATUS result = DecryptMessage(&context_handle_, &list, 0, nullptr);
    if (result != SEC_E_OK) return number_of(result);
    used = received.size();
    for (const auto& buffer : std::span(buffers).subspan(1)) {
        if (buffer.BufferType == SECBUFFER_DATA && buffer.cbBuffer != 0) {
            plain.append(static_cast<const char*>(buffer.pvBuffer), buffer.cbBuffer);
            give_back(received, buffer);
        } else if (buffer.BufferType == SECBUFFER_EXTRA) {
            used = used_of(received, buffer);
            give_back(received, buffer);
        }
    }
    return ok;
}

SECURITY_STATUS client_session::call(CtxtHandle* context, SecBufferDesc* input, CtxtHandle* made,
                                     SecBufferDesc* output) {
    const bool first = context == nullptr;
    const ULONG flags = request_flags | (first && principal_.empty() ? ISC_REQ_MANUAL_CRED_VALIDATION : 0);
    ULONG given = 0;
    return InitializeSecurityContextA(shown(), context, first ? principal_.data() : nullptr, flags, 0,
                                      SECURITY_NATIVE_DREP, input, 0, made, output, &given, nullptr);
}

SECURITY_STATUS server_session::call(CtxtHandle* context, SecBufferDesc* input, CtxtHandle* made,
                                     SecBufferDesc* output) {
    ULONG given = 0;
    return AcceptSecurityContext(shown(), context, input, request_flags, SECURITY_NATIVE_DREP, made, output, &given,
                                 nullptr);
}

} // namespace tackle::internet::transport::tcp::tls
