#include "server/listen/connections.h"

#include <array>
#include <asio/post.hpp>
#include <asio/steady_timer.hpp>
#include <asio/write.hpp>
#include <string>

namespace brimwarden::server::listen {

using asio::ip::tcp;

struct connections::shared {
    asio::thread_pool& workers;
    handler::handler& answering;
    connection_limits limits;
    std::size_t open = 0;     // in the loop's thread, as the next
    std::size_t buffered = 0; // bytes of all connections

    class visit;
};

// One connection; its callbacks keep it alive.
class connections::shared::visit : public std::enable_shared_from_this<visit> {
public:
    visit(tcp::socket&& socket, std::shared_ptr<shared> common)
        : socket_(std::move(socket)), timer_(socket_.get_executor()), common_(std::move(common)) {
        ++common_->open;
    }
    ~visit() {
        --common_->open;
        common_->buffered -= held_;
    }
    visit(const visit&) = delete;
    visit& operator=(const visit&) = delete;

    void start() {
        timer_.expires_after(common_->limits.time);
        timer_.async_wait([self = weak_from_this()](const asio::error_code& error) {
            if (const auto alive = self.lock(); alive && !error) alive->close();
        });
        read();
    }

private:
    void read() {
        socket_.async_read_some(asio::buffer(block_),
                                [self = shared_from_this()](const asio::error_code& error, std::size_t count) {
                                    if (!error) return self->take(count);
                                    if (error == asio::error::eof) return self->answer();
                                });
    }

    void take(std::size_t count) {
        const auto& limits = common_->limits;
        if (request_.size() + count > limits.request || common_->buffered + count > limits.buffered) too_large_ = true;
        if (too_large_) { // the header stays, for the refusal
            constexpr std::size_t header_size = analysis::community::packet::header_size;
            if (request_.size() < header_size) request_.append(block_.data(), count);
            request_.resize(std::min(request_.size(), header_size));
            request_.shrink_to_fit();
        } else {
            request_.append(block_.data(), count);
        }
        common_->buffered = common_->buffered - held_ + request_.size();
        held_ = request_.size();
        read();
    }

    // The worker has nothing of this object but the request, and gives the answer back to the loop's thread.
    void answer() {
        asio::post(common_->workers, [self = shared_from_this()]() mutable {
            std::optional<std::string> made;
            try {
                auto& answering = self->common_->answering;
                made = self->too_large_ ? answering.refusal(self->request_, handler::indicator::over_limit)
                                        : answering.answer(self->request_, handler::road::connection);
            } catch (const std::bad_alloc&) { // closed without an answer: the client asks again
            }
            auto* const raw = self.get();
            asio::post(raw->socket_.get_executor(),
                       [self = std::move(self), made = std::move(made)]() mutable { self->send(std::move(made)); });
        });
    }

    void send(std::optional<std::string> made) {
        if (!made) return close();
        request_ = std::move(*made);
        asio::async_write(socket_, asio::buffer(request_),
                          [self = shared_from_this()](const asio::error_code&, std::size_t) { self->close(); });
    }

    void close() {
        asio::error_code ignored;
        timer_.cancel();
        socket_.close(ignored);
    }

    tcp::socket socket_;
    asio::steady_timer timer_;
    std::shared_ptr<shared> common_;
    std::array<char, 16384> block_;
    std::string request_;
    std::size_t held_ = 0; // how much of `buffered` is this connection's
    bool too_large_ = false;
};

connections::connections(asio::io_context& loop, asio::thread_pool& workers, const address& here,
                         handler::handler& answering, const connection_limits& limits)
    : acceptor_(loop), shared_(new shared{workers, answering, limits}) {
    const tcp::endpoint place(asio::ip::address_v4(here.host), here.port);
    acceptor_.open(tcp::v4());
    acceptor_.set_option(tcp::acceptor::reuse_address(true));
    acceptor_.bind(place);
    acceptor_.listen();
    accept();
}

connections::~connections() = default;

void connections::accept() {
    acceptor_.async_accept([this](const asio::error_code& error, tcp::socket socket) {
        if (error == asio::error::operation_aborted) return; // this object may be gone
        // Beyond the limit a connection is closed at once: its client goes to another server or comes again.
        if (!error && shared_->open < shared_->limits.connections)
            std::make_shared<shared::visit>(std::move(socket), shared_)->start();
        if (error == asio::error::no_descriptors) { // all are in use: wait for one rather than spin
            auto pause = std::make_shared<asio::steady_timer>(acceptor_.get_executor(), std::chrono::milliseconds(50));
            return pause->async_wait([this, pause](const asio::error_code& ended) {
                if (!ended) accept();
            });
        }
        accept();
    });
}

} // namespace brimwarden::server::listen
