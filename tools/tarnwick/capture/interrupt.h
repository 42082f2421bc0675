#pragma once

#include <csignal>
#include <span>

namespace tarnwick::program {

inline constexpr int ctrl_c[] = {SIGINT};
/// The signals that end a service: Ctrl-C, `kill`, and a terminal that is closed.
inline constexpr int ends_of_service[] = {SIGHUP, SIGINT, SIGTERM};

/// Makes signals a request to end, as long as the object exists. The second signal of a kind ends the process. A signal
/// that the process ignores stays ignored. There can be one such object at a time.
class Interrupt {
public:
    explicit Interrupt(std::span<int const> ends = ctrl_c);
    ~Interrupt();
    Interrupt(Interrupt const &) = delete;
    Interrupt &operator=(Interrupt const &) = delete;

    /// Makes SIGUSR1 a request to report, as long as the object exists.
    void enable_reports();

    [[nodiscard]] static bool requested();
    /// Returns whether a report was requested since the last call. REQUIRED before each poll() of `descriptor`, if
    /// reports are enabled.
    [[nodiscard]] static bool take_report_request();
    /// A descriptor that is readable after a request, for poll(); negative if there is none.
    [[nodiscard]] static int descriptor();

private:
    std::span<int const> ends_;
};

} // namespace tarnwick::program
