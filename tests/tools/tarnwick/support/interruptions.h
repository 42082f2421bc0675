#pragma once

#include <csignal>
#include <functional>
#include <sys/time.h>
#include <utility>

namespace tarnwick::test {

/// Interrupts this thread's system calls by twenty signals, a millisecond apart; the last one does something that lets the
/// interrupted call come to its end.
class Interruptions {
public:
    explicit Interruptions(std::function<void()> last)
    {
        last_ = std::move(last);
        left_ = 20;
        struct sigaction action = {};
        action.sa_handler = [](int) {
            left_ = left_ - 1;
            if (left_ == 0)
                last_();
        };
        ::sigaction(SIGALRM, &action, &before_);
        itimerval const often{.it_interval = {0, 1000}, .it_value = {0, 1000}};
        ::setitimer(ITIMER_REAL, &often, nullptr);
    }
    ~Interruptions()
    {
        itimerval const never{};
        ::setitimer(ITIMER_REAL, &never, nullptr);
        std::signal(SIGALRM, SIG_IGN); // takes away one that is pending, which would end the process
        ::sigaction(SIGALRM, &before_, nullptr);
    }
    Interruptions(Interruptions const &) = delete;
    Interruptions &operator=(Interruptions const &) = delete;

private:
    inline static std::function<void()> last_;
    inline static std::sig_atomic_t volatile left_ = 0;
    struct sigaction before_ = {};
};

} // namespace tarnwick::test
