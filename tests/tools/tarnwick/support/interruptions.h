#pragma once

#include <csignal>
#include <functional>
#include <sys/time.h>
#include <utility>

namespace tarnwick::test {

/// Interrupts the system calls of this thread with twenty signals, one per millisecond. The last signal calls a
/// function that ends the interrupted call.
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
        std::signal(SIGALRM, SIG_IGN); // drops a pending signal, which would end the process
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
