// Other processes that a test needs: forked, with a way to wait for what they reached.
#pragma once

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <functional>

namespace child_process {

// Lets the child say "I am here" and the parent wait for it (and the other way round).
class Signpost {
public:
    Signpost() {
        if (pipe(ends_) != 0) {
            std::abort();
        }
    }
    ~Signpost() {
        close(ends_[0]);
        close(ends_[1]);
    }
    Signpost(const Signpost &) = delete;
    Signpost &operator=(const Signpost &) = delete;

    void reach() const {
        const char here = 1;
        if (write(ends_[1], &here, 1) != 1) {
            std::abort();
        }
    }
    void wait() const {
        char here = 0;
        if (read(ends_[0], &here, 1) != 1) {
            std::abort();
        }
    }

private:
    int ends_[2];
};

// Runs `work` in a process of its own; its result is the exit status. Killed when forgotten.
class Child {
public:
    explicit Child(const std::function<int()> &work) : id_(fork()) {
        if (id_ == 0) {
            _exit(work());
        }
        if (id_ < 0) {
            std::abort();
        }
    }
    ~Child() {
        if (!ended_) {
            kill_now();
        }
    }
    Child(const Child &) = delete;
    Child &operator=(const Child &) = delete;

    pid_t id() const { return id_; }
    // The exit status, 128 + signal for one that was killed.
    int wait() {
        int status = 0;
        while (waitpid(id_, &status, 0) < 0 && errno == EINTR) {
        }
        ended_ = true;
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    void kill_now() {
        kill(id_, SIGKILL);
        wait();
    }

private:
    pid_t id_;
    bool ended_ = false;
};

}  // namespace child_process
