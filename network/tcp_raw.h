#pragma once

#include "network/tcp_base.h"

namespace tackle::internet::transport::tcp {

// The bytes of the queues as they are.
class raw final : public base {
public:
    void flush() override;
    void fill() override;
    // Sends the beginning of `bytes`, without the queue, and returns how many went: for who looks at the time in between.
    using base::send_some;
};

} // namespace tackle::internet::transport::tcp
