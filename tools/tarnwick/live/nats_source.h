#pragma once

#include "live/nats_address.h"

#include <atomic>
#include <string>
#include <thread>

namespace tarnwick::program {

/// The frames of a NATS stream, as a capture that is read from a pipe. A thread receives them in the order of the
/// stream. It ends at the last frame that the stream has when it begins, or, if it follows, not at all.
class NatsSource {
public:
    /// Throws `std::invalid_argument` if the text is not a `NatsAddress`, or if this build has no client of NATS.
    static void check(std::string const &address);

    /// Throws as `check` does, and `std::system_error`.
    NatsSource(std::string const &address, bool follows);
    /// The reader must have closed the pipe.
    ~NatsSource();
    NatsSource(NatsSource const &) = delete;
    NatsSource &operator=(NatsSource const &) = delete;

    /// The end of the pipe to read from. The reader closes it.
    [[nodiscard]] int descriptor() const { return reading_end_; }
    /// After the end of the pipe: why not all frames could be received; empty if all were. Waits for the thread, which
    /// has ended or is about to.
    [[nodiscard]] std::string const &problem();

private:
    void run();
    void receive();

    NatsAddress address_;
    bool follows_;
    int reading_end_ = -1;
    int writing_end_ = -1;
    std::string problem_; ///< read when the thread has ended
    std::atomic<bool> is_stopped_ = false;
    std::thread thread_;
};

} // namespace tarnwick::program
