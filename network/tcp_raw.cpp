#include "network/tcp_raw.h"

#include <utility>

namespace tackle::internet::transport::tcp {

void raw::flush() {
    if (send_buffer_.empty()) return;
    send_all(std::exchange(send_buffer_, {})); // emptied also when the sending fails
}

void raw::fill() {
    char block[8192];
    const std::size_t count = receive(block);
    if (taken_ != 0) { // what has been read makes room, so that a long line costs no more than its length
        receive_buffer_.erase(0, taken_);
        taken_ = 0;
    }
    receive_buffer_.append(block, count);
}

} // namespace tackle::internet::transport::tcp
