#include "server/admin/control.h"

#include <asio/buffers_iterator.hpp>
#include <asio/connect.hpp>
#include <asio/post.hpp>
#include <asio/read.hpp>
#include <asio/read_until.hpp>
#include <asio/streambuf.hpp>
#include <asio/write.hpp>
#include <memory>
#include <nlohmann/json.hpp>
#include <pwd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace brimwarden::server::admin {

using protocol = asio::local::stream_protocol;
using json = nlohmann::json;

namespace {

constexpr std::size_t longest_line = std::size_t{1} << 20;
constexpr std::size_t most_message = std::size_t{1} << 30;

// Who is at the other end, as the system knows it.
std::string name_of_peer(protocol::socket& socket) {
    ucred peer{};
    socklen_t size = sizeof peer;
    if (::getsockopt(socket.native_handle(), SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) return "unknown";
    passwd entry{};
    passwd* found = nullptr;
    char text[4096];
    if (::getpwuid_r(peer.uid, &entry, text, sizeof text, &found) != 0 || found == nullptr)
        return "user " + std::to_string(peer.uid);
    return entry.pw_name;
}

} // namespace

class control::visit : public std::enable_shared_from_this<visit> {
public:
    visit(protocol::socket&& socket, asio::thread_pool& workers, console& commands)
        : socket_(std::move(socket)), workers_(workers), commands_(commands), who_(name_of_peer(socket_)) {}

    void read_line() {
        asio::async_read_until(socket_, asio::dynamic_buffer(read_, longest_line), '\n',
                               [self = shared_from_this()](const asio::error_code& error, std::size_t count) {
                                   if (!error) self->take_line(count);
                               });
    }

private:
    void take_line(std::size_t count) {
        request_ = json::parse(read_.begin(), read_.begin() + static_cast<std::ptrdiff_t>(count), nullptr, false);
        read_.erase(0, count);
        if (!request_.is_object()) return send({{"error", "a request is a JSON object on one line"}});
        const auto bytes = request_.find("bytes");
        std::size_t wanted = 0;
        if (bytes != request_.end()) wanted = bytes->is_number_unsigned() ? bytes->get<std::size_t>() : SIZE_MAX;
        if (wanted > most_message) return send({{"error", "the message is too large"}}, true);
        if (wanted <= read_.size()) return execute(wanted);
        const std::size_t missing = wanted - read_.size();
        asio::async_read(socket_, asio::dynamic_buffer(read_), asio::transfer_exactly(missing),
                         [self = shared_from_this(), wanted](const asio::error_code& error, std::size_t) {
                             if (!error) self->execute(wanted);
                         });
    }

    void execute(std::size_t bytes) {
        message_.assign(read_, 0, bytes);
        read_.erase(0, bytes);
        asio::post(workers_, [self = shared_from_this()]() mutable {
            json answer = self->commands_.execute(self->who_, self->request_, self->message_);
            auto* const raw = self.get();
            asio::post(raw->socket_.get_executor(),
                       [self = std::move(self), answer = std::move(answer)] { self->send(answer); });
        });
    }

    void send(const json& answer, bool last = false) {
        written_ = answer.dump(-1, ' ', false, json::error_handler_t::replace) + "\n";
        asio::async_write(socket_, asio::buffer(written_),
                          [self = shared_from_this(), last](const asio::error_code& error, std::size_t) {
                              if (!error && !last) self->read_line();
                          });
    }

    protocol::socket socket_;
    asio::thread_pool& workers_;
    console& commands_;
    std::string who_, read_, written_, message_;
    json request_;
};

namespace {

protocol::endpoint usable(asio::io_context& loop, const std::string& path) {
    const protocol::endpoint place(path);
    protocol::socket other(loop);
    asio::error_code error;
    other.connect(place, error);
    if (!error) throw std::system_error(asio::error_code(asio::error::address_in_use), path);
    if (error == asio::error::connection_refused) (void)::unlink(path.c_str());
    return place;
}

} // namespace

control::control(asio::io_context& loop, asio::thread_pool& workers, const std::string& path, console& commands)
    : workers_(workers), commands_(commands), path_(path), acceptor_(loop) {
    const auto place = usable(loop, path);
    acceptor_.open();
    // The rights are there before the file is, so that at no time anybody else can connect.
    const mode_t before = ::umask(0117);
    asio::error_code error;
    acceptor_.bind(place, error);
    ::umask(before);
    if (error) throw std::system_error(error, path);
    acceptor_.listen();
    accept();
}

control::~control() { (void)::unlink(path_.c_str()); }

void control::accept() {
    acceptor_.async_accept([this](const asio::error_code& error, protocol::socket socket) {
        if (error == asio::error::operation_aborted) return;
        if (!error) std::make_shared<visit>(std::move(socket), workers_, commands_)->read_line();
        accept();
    });
}

} // namespace brimwarden::server::admin
