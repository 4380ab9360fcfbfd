#pragma once

#include "network/tcp_base.h"

namespace tackle::internet::transport::tcp {

// The bytes of the queues as they are.
class raw final : public base {
public:
    void flush() override;
    void fill() override;
};

} // namespace tackle::internet::transport::tcp
