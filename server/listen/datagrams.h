#pragma once

#include "server/handler/handler.h"
#include "server/listen/address.h"

#include <thread>
#include <vector>

namespace brimwarden::server::listen {

// Answers datagrams at one address, from the address that was asked: a client drops an answer from any other. Takes and
// sends them in batches. Raises std::system_error if the address cannot be had.
class datagrams {
public:
    datagrams(const address& here, handler::handler& answering, unsigned threads);
    ~datagrams(); // ends the threads
    datagrams(const datagrams&) = delete;
    datagrams& operator=(const datagrams&) = delete;

private:
    struct batch;
    void serve();

    handler::handler& handler_;
    int socket_ = -1;
    int wake_ = -1; // readable when it is time to end
    std::vector<std::jthread> threads_;
};

} // namespace brimwarden::server::listen
