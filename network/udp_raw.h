#pragma once

#include "network/transport.h"

#include <memory>

namespace tackle::internet::transport::udp {

// A datagram socket. Any number of threads may send at once while one other thread receives.
class raw final : public base {
public:
    class operation_failed : public generic {
    public:
        explicit operation_failed(const string& text) : generic(text) { append_code("operation_failed"); }
    };
    class message_truncated : public operation_failed {
    public:
        explicit message_truncated(const string& text) : operation_failed(text) { append_code("message_truncated"); }
    };
    class operation_timed_out : public operation_failed {
    public:
        explicit operation_timed_out(const string& text) : operation_failed(text) {
            append_code("operation_timed_out");
        }
    };
    class network_unreachable : public operation_failed {
    public:
        explicit network_unreachable(const string& text) : operation_failed(text) {
            append_code("network_unreachable");
        }
    };
    class host_unreachable : public operation_failed {
    public:
        explicit host_unreachable(const string& text) : operation_failed(text) { append_code("host_unreachable"); }
    };
    class port_unreachable : public operation_failed {
    public:
        explicit port_unreachable(const string& text) : operation_failed(text) { append_code("port_unreachable"); }
    };

    void create(const address::base& address) override;
    // One datagram with all the bytes, or message_truncated.
    void send_to(const address::base& address, string_view bytes);
    // Waits for one datagram of at most `size` bytes; `buffer` then holds just that, and `sender` who sent it. After
    // port_unreachable and host_unreachable `sender` is who did not want an earlier datagram, where the system tells.
    void receive_from(address::base& sender, string& buffer, std::uint32_t size);

private:
    std::unique_ptr<char[]>
        block_; // where a datagram is received; in the buffer, all of its room would be cleared first
};

} // namespace tackle::internet::transport::udp
