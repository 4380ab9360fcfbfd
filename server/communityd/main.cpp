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

// What the command line says.
struct options {
    std::string file, state;
    std::vector<std::string> places;
};

daemon::configuration read(const options& given) {
    auto chosen = given.file.empty() ? daemon::default_configuration() : daemon::read_configuration(given.file);
    if (!given.state.empty()) chosen.state = given.state;
    if (!given.places.empty()) chosen.addresses = daemon::parse_addresses(given.places, chosen.addresses.front().port);
    return chosen;
}

// The signals wait while it lives, in all threads that are made meanwhile: one that comes while a server is being made
// neither ends the process nor is lost.
class signals_wait {
public:
    explicit signals_wait(bool wait) {
        sigset_t all;
        sigemptyset(&all);
        for (const int one : {SIGTERM, SIGINT, SIGHUP})
            sigaddset(&all, one);
        (void)::pthread_sigmask(wait ? SIG_BLOCK : SIG_UNBLOCK, &all, &before_);
    }
    ~signals_wait() { (void)::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    signals_wait(const signals_wait&) = delete;
    signals_wait& operator=(const signals_wait&) = delete;

private:
    sigset_t before_{};
};

// Waits for a signal to end, or for one to read the configuration again; a bad one is told and changes nothing.
class ending {
public:
    ending(asio::io_context& loop, const options& given)
        : loop_(loop), given_(given), signals_(loop, SIGTERM, SIGINT, SIGHUP) {
        wait();
    }
    // The configuration to go on with; nullopt: end.
    std::optional<daemon::configuration> next;

private:
    void wait() {
        signals_.async_wait([this](const asio::error_code& error, int number) {
            if (error) return;
            if (number != SIGHUP) return loop_.stop();
            try {
                next = read(given_);
                loop_.stop();
            } catch (const std::exception& problem) {
                std::fprintf(stderr, "brmx-communityd: goes on as before: %s\n", problem.what());
                wait();
            }
        });
    }
    asio::io_context& loop_;
    const options& given_;
    asio::signal_set signals_;
};

// Until a signal; the configuration to begin anew with, so that each of its settings counts.
std::optional<daemon::configuration> serve(const daemon::configuration& chosen, const options& given) {
    daemon::community served(chosen);
    admin::console commands(served);
    asio::io_context loop;
    asio::thread_pool workers(std::max(2U, std::thread::hardware_concurrency()));
    ending until(loop, given);
    admin::control control(loop, workers, daemon::control_path(chosen), commands);
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
    {
        const signals_wait no_more(false);
        loop.run();
    }
    notify(until.next ? "RELOADING=1" : "STOPPING=1");
    workers.join(); // reports under way are finished
    flush(served);
    return until.next;
}

} // namespace

} // namespace brimwarden::server::communityd

int main(int count, char** arguments) {
    using namespace brimwarden::server;
    CLI::App program("A server of a community that knows which mail is spam");
    communityd::options given;
    bool check = false;
    program.add_option("--config", given.file, "TOML file; without it: loopback alone, port 2409")
        ->check(CLI::ExistingFile);
    program.add_option("--state", given.state, "folder of the state, whatever the configuration says");
    program.add_option("--listen", given.places, "IPv4 address, whatever the configuration says")
        ->check(CLI::ValidIPV4);
    program.add_flag("--check", check, "read the configuration, say what is wrong, and end");
    program.set_version_flag("--version", BRMX_SERVER_VERSION);
    CLI11_PARSE(program, count, arguments);
    std::signal(SIGPIPE, SIG_IGN);
    try {
        std::optional chosen = communityd::read(given);
        if (check) {
            std::puts("The configuration is good.");
            return 0;
        }
        const communityd::signals_wait for_a_server(true);
        while (chosen)
            chosen = communityd::serve(*chosen, given);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "brmx-communityd: %s\n", error.what());
        return 1;
    }
}
