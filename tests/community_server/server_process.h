#pragma once

#include "tests/community_server/community_server.h"

#include <csignal>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace brimwarden::community_server {

// An honest server in a process of its own, so that its memory and its processor time are nobody else's. Linux only, and
// made while this process has no other thread. Ends with this object, or with this process.
class server_process {
public:
    // A query of another secret is refused.
    server_process(const ip4& address, const string& secret) {
        int ready[2];
        if (pipe(ready) != 0) throw tackle::exception("no pipe");
        child_ = fork();
        if (child_ < 0) throw tackle::exception("no process");
        if (child_ == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            server honest(address, secret);
            honest.keep_nothing();
            (void)!write(ready[1], "!", 1);
            for (;;)
                pause();
        }
        close(ready[1]);
        char sign = 0;
        const bool answers = read(ready[0], &sign, 1) == 1;
        close(ready[0]);
        if (!answers) throw tackle::exception("no server");
    }
    ~server_process() {
        kill(child_, SIGKILL);
        waitpid(child_, nullptr, 0);
    }
    server_process(const server_process&) = delete;
    server_process& operator=(const server_process&) = delete;

private:
    pid_t child_ = -1;
};

} // namespace brimwarden::community_server
