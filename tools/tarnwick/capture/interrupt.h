#pragma once

namespace tarnwick::program {

/// Makes Ctrl-C (SIGINT) a request to end, as long as the object exists. The second Ctrl-C ends the process. There can
/// be one such object at a time.
class Interrupt {
public:
    Interrupt();
    ~Interrupt();
    Interrupt(Interrupt const &) = delete;
    Interrupt &operator=(Interrupt const &) = delete;

    [[nodiscard]] static bool requested();
    /// A descriptor that is readable after the request, for poll(); negative if there is none.
    [[nodiscard]] static int descriptor();
};

} // namespace tarnwick::program
