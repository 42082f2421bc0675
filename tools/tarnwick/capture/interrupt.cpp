#include "capture/interrupt.h"

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <sys/eventfd.h>
#include <unistd.h>
#include <utility>

namespace tarnwick::program {
namespace {

std::sig_atomic_t volatile is_requested = 0;
int interrupt_event = -1;

void record_interrupt(int /*signal*/)
{
    auto const error = errno;
    is_requested = 1;
    std::uint64_t const one = 1;
    [[maybe_unused]] auto const written = ::write(interrupt_event, &one, sizeof one);
    errno = error;
}

} // namespace

Interrupt::Interrupt()
{
    interrupt_event = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    struct sigaction before = {};
    ::sigaction(SIGINT, nullptr, &before);
    if (before.sa_handler == SIG_IGN)
        return;
    struct sigaction action = {};
    action.sa_handler = record_interrupt;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    ::sigaction(SIGINT, &action, nullptr);
}

Interrupt::~Interrupt()
{
    struct sigaction action = {};
    ::sigaction(SIGINT, nullptr, &action);
    if (action.sa_handler == record_interrupt)
        std::signal(SIGINT, SIG_DFL); // NOLINT(cert-err33-c): it cannot fail for this signal
    ::close(std::exchange(interrupt_event, -1));
    is_requested = 0;
}

bool Interrupt::requested()
{
    return is_requested != 0;
}

int Interrupt::descriptor()
{
    return interrupt_event;
}

} // namespace tarnwick::program
