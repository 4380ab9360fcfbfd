#pragma once

#include "network/tls_provider.h"

#include <windows.h>

#define SECURITY_WIN32
#include <schannel.h>
#include <security.h>

namespace tackle::internet::transport::tcp::tls {

inline constexpr CtxtHandle no_handle = {static_cast<ULONG_PTR>(-1), static_cast<ULONG_PTR>(-1)};

// A handle of AcquireCredentialsHandle. Lives as long as any session made from it.
struct credentials_handle {
    credentials_handle() = default;
    ~credentials_handle();
    credentials_handle(const credentials_handle&) = delete;
    credentials_handle& operator=(const credentials_handle&) = delete;
    CredHandle handle = no_handle;
};

// One security context of Schannel.
class schannel_session : public session {
public:
    ~schannel_session() override;
    status step(std::span<char> received, std::size_t& used, string& token) override;
    status read_connection_info() override;
    status read_stream_sizes() override;
    std::size_t largest_message() const override { return stream_sizes_.cbMaximumMessage; }
    status encrypt(string_view piece, string& block) override;
    status decrypt(std::span<char> received, std::size_t& used, string& plain, string& reply) override;

protected:
    explicit schannel_session(std::shared_ptr<credentials_handle> shown) : shown_(std::move(shown)) {}
    [[nodiscard]] CredHandle* shown() const { return &shown_->handle; }
    [[nodiscard]] bool begun() const { return context_handle_.dwLower != no_handle.dwLower; }
    // One call of the role's function. Null for no context and for no input.
    [[nodiscard]] virtual SECURITY_STATUS call(CtxtHandle* context, SecBufferDesc* input, CtxtHandle* made,
                                               SecBufferDesc* output) = 0;

private:
    std::shared_ptr<credentials_handle> shown_;
    SecPkgContext_ConnectionInfo connection_info_ = {};
    CtxtHandle context_handle_ = no_handle;
    SecPkgContext_StreamSizes stream_sizes_ = {};
};

class client_session final : public schannel_session {
public:
    client_session(std::shared_ptr<credentials_handle> shown, string principal)
        : schannel_session(std::move(shown)), principal_(std::move(principal)) {}

private:
    SECURITY_STATUS call(CtxtHandle* context, SecBufferDesc* input, CtxtHandle* made, SecBufferDesc* output) override;
    string principal_;
};

class server_session final : public schannel_session {
public:
    using schannel_session::schannel_session;
    explicit server_session(std::shared_ptr<credentials_handle> shown) : schannel_session(std::move(shown)) {}

private:
    SECURITY_STATUS call(CtxtHandle* context, SecBufferDesc* input, CtxtHandle* made, SecBufferDesc* output) override;
};

} // namespace tackle::internet::transport::tcp::tls
