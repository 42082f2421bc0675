#include "capture/interrupt.h"

#include <cerrno>
#include <cstdint>
#include <sys/eventfd.h>
#include <unistd.h>
#include <utility>

namespace tarnwick::program {
namespace {

std::sig_atomic_t volatile is_requested = 0;
std::sig_atomic_t volatile is_report_requested = 0;
int interrupt_event = -1;

void wake_poll()
{
    auto const error = errno;
    std::uint64_t const one = 1;
    [[maybe_unused]] auto const written = ::write(interrupt_event, &one, sizeof one);
    errno = error;
}

void record_interrupt(int /*signal*/)
{
    is_requested = 1;
    wake_poll();
}

void record_report_request(int /*signal*/)
{
    is_report_requested = 1;
    wake_poll();
}

void handle(int signal, void (*handler)(int), unsigned int flags)
{
    struct sigaction before = {};
    ::sigaction(signal, nullptr, &before);
    if (before.sa_handler == SIG_IGN)
        return;
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = static_cast<int>(flags);
    ::sigaction(signal, &action, nullptr);
}

void restore(int signal, void (*handler)(int))
{
    struct sigaction action = {};
    ::sigaction(signal, nullptr, &action);
    if (action.sa_handler == handler)
        std::signal(signal, SIG_DFL); // NOLINT(cert-err33-c): it cannot fail for these signals
}

} // namespace

Interrupt::Interrupt(std::span<int const> ends)
    : ends_(ends)
{
    interrupt_event = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    for (auto const signal : ends_)
        handle(signal, record_interrupt, SA_RESETHAND);
}

Interrupt::~Interrupt()
{
    for (auto const signal : ends_)
        restore(signal, record_interrupt);
    restore(SIGUSR1, record_report_request);
    ::close(std::exchange(interrupt_event, -1));
    is_requested = 0;
    is_report_requested = 0;
}

void Interrupt::enable_reports()
{
    handle(SIGUSR1, record_report_request, 0);
}

bool Interrupt::requested()
{
    return is_requested != 0;
}

bool Interrupt::take_report_request()
{
    if (is_report_requested == 0)
        return false;
    is_report_requested = 0;
    // A signal between these lines leaves the flag set.
    std::uint64_t wakes = 0;
    [[maybe_unused]] auto const count = ::read(interrupt_event, &wakes, sizeof wakes);
    return true;
}

int Interrupt::descriptor()
{
    return interrupt_event;
}

} // namespace tarnwick::program
