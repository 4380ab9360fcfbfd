#include "server/admin/control.h"
#include "server/communityd/notify.h"
#include "server/daemon/community.h"
#include "server/listen/connections.h"
#include "server/listen/datagrams.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <asio/signal_set.hpp>
#include <asio/steady_timer.hpp>
#include <csignal>
#include <cstdio>
#include <deque>
#include <thread>

namespace brimwarden::server::communityd {

namespace {

constexpr auto flush_period = std::chrono::seconds(10);

// Calls `work` at each period in the loop's thread, until the loop ends.
class repeated {
public:
    repeated(asio::io_context& loop, std::chrono::microseconds period, std::function<void()> work)
        : timer_(loop), period_(period), work_(std::move(work)) {
        wait();
    }

private:
    void wait() {
        timer_.expires_after(period_);
        timer_.async_wait([this](const asio::error_code& error) {
            if (error) return;
            work_();
            wait();
        });
    }
    asio::steady_timer timer_;
    std::chrono::microseconds period_;
    std::function<void()> work_;
};

void flush(daemon::community& served) {
    try {
        served.reporting.flush();
    } catch (const store::failure& error) { // comes again with the next period
        std::fprintf(stderr, "brmx-communityd: %s\n", error.what());
    }
}

std::string control_path(const daemon::configuration& chosen) {
    return chosen.socket.empty() ? chosen.state + "/control" : chosen.socket;
}

void serve(const daemon::configuration& chosen) {
    daemon::community served(chosen);
    admin::console commands(served);
    asio::io_context loop;
    asio::thread_pool workers(std::max(2U, std::thread::hardware_concurrency()));
    asio::signal_set signals(loop, SIGTERM, SIGINT);
    signals.async_wait([&](const asio::error_code&, int) { loop.stop(); });
    admin::control control(loop, workers, control_path(chosen), commands);
    std::deque<listen::datagrams> datagrams;
    std::deque<listen::connections> connections;
    for (const auto& here : chosen.addresses) {
        connections.emplace_back(loop, workers, here, served.handler, chosen.connections);
        datagrams.emplace_back(here, served.handler, chosen.threads);
    }
    const repeated flushing(loop, flush_period, [&] { flush(served); });
    std::optional<repeated> watchdog;
    if (const auto period = watchdog_period()) watchdog.emplace(loop, *period / 2, [] { notify("WATCHDOG=1"); });

    for (const auto& here : chosen.addresses)
        std::fprintf(stderr, "brmx-communityd: listening at %s\n", listen::to_text(here).c_str());
    notify("READY=1");
    loop.run();
    notify("STOPPING=1");
    workers.join(); // reports under way are finished
    flush(served);
}

} // namespace

} // namespace brimwarden::server::communityd

int main(int count, char** arguments) {
    using namespace brimwarden::server;
    CLI::App program("A server of a community that knows which mail is spam");
    std::string file;
    std::string state;
    std::vector<std::string> places;
    bool check = false;
    program.add_option("--config", file, "TOML file; without it: loopback alone, port 2409")->check(CLI::ExistingFile);
    program.add_option("--state", state, "folder of the state, whatever the configuration says");
    program.add_option("--listen", places, "IPv4 address, whatever the configuration says")->check(CLI::ValidIPV4);
    program.add_flag("--check", check, "read the configuration, say what is wrong, and end");
    program.set_version_flag("--version", BRMX_SERVER_VERSION);
    CLI11_PARSE(program, count, arguments);
    std::signal(SIGPIPE, SIG_IGN);
    try {
        auto chosen = file.empty() ? daemon::default_configuration() : daemon::read_configuration(file);
        if (!state.empty()) chosen.state = state;
        if (!places.empty()) chosen.addresses = daemon::parse_addresses(places, chosen.addresses.front().port);
        if (check) {
            std::puts("The configuration is good.");
            return 0;
        }
        communityd::serve(chosen);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "brmx-communityd: %s\n", error.what());
        return 1;
    }
}
