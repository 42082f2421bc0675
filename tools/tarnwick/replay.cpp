#include "replay.h"

#include "capture/captures.h"
#include "capture/interrupt.h"
#include "capture/record_feed.h"
#include "capture/rereadable_captures.h"
#include "live/frame_choice.h"
#include "live/frame_sender.h"
#include "print/output.h"
#include "print/readable_text.h"
#include "print/short_text.h"
#include "progress.h"
#include "requests/request_filter.h"
#include "standard_error.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <ctime>
#include <filesystem>
#include <optional>
#include <poll.h>
#include <string>
#include <string_view>
#include <system_error>
#include <unistd.h>
#include <unordered_set>
#include <utility>
#include <vector>

namespace tarnwick::program {
namespace {

using Clock = std::chrono::steady_clock;
using RequestIds = std::unordered_set<std::uint64_t>;

/// Waits until a time. Returns false after Ctrl-C.
bool wait_until(Clock::time_point due)
{
    while (!Interrupt::requested()) {
        auto const left = due - Clock::now();
        if (left <= Clock::duration::zero())
            return true;
        auto const seconds = std::chrono::floor<std::chrono::seconds>(left);
        auto const rest = std::chrono::floor<std::chrono::nanoseconds>(left - seconds);
        timespec const time{.tv_sec = seconds.count(), .tv_nsec = rest.count()};
        pollfd event{.fd = Interrupt::descriptor(), .events = POLLIN, .revents = 0};
        ::ppoll(&event, 1, &time, nullptr);
    }
    return false;
}

/// Returns whether reading one of the files shows progress.
bool has_large_file(std::vector<std::string> const &files)
{
    return std::ranges::any_of(files, [](auto const &file) {
        std::error_code error;
        auto const size = std::filesystem::file_size(file, error);
        return !error && size > Progress::min_size;
    });
}

/// Sends the chosen frames when they are due.
class Replay {
public:
    Replay(ReplayOptions const &options, FrameSender &sender, std::optional<RequestIds> request_ids)
        : sender_(sender)
        , schedule_(options.pace)
        , chooses_all_(options.filter.reports.requests.empty() && options.filter.reports.dialects.empty() &&
                       !request_ids)
        , choice_(options.filter.reports, std::move(request_ids))
        , feed_(choice_)
        , endpoint_(options.endpoint->text()) // NOLINT(bugprone-unchecked-optional-access): required
        , progress_(!has_large_file(options.files))
    {
    }

    /// Returns the fault of a report, if it must be parsed. Throws `EnoughResults` after Ctrl-C.
    std::optional<std::string> handle(capture::v1::Frame const &frame, std::string_view bytes)
    {
        if (!chooses_all_) {
            auto fault = feed_.feed(frame);
            if (!choice_.take_choice())
                return fault;
        }
        std::optional<data::TimePair> received;
        if (frame.has_received())
            received = {frame.received().seconds(), frame.received().nanos()};
        auto const due = schedule_.next(received);
        // The first frame can wait long for a receiver. The others follow it.
        if ((start_ && !wait_until(*start_ + due)) || !sender_.send(bytes))
            throw EnoughResults();
        if (!start_)
            start_ = Clock::now();
        sent_bytes_ += bytes.size();
        if (progress_.due())
            progress_.show(escaped_text(endpoint_),
                           fmt::format(": {} frames sent, {}", sender_.sent(),
                                       short_size_text(static_cast<std::int64_t>(sent_bytes_))));
        return std::nullopt;
    }

    void clear_progress() { progress_.clear(); }

private:
    FrameSender &sender_;
    Schedule schedule_;
    bool chooses_all_;
    FrameChoice choice_;
    RecordFeed<FrameChoice> feed_;
    std::optional<Clock::time_point> start_;
    std::string const &endpoint_;
    ProgressLine progress_;
    std::uint64_t sent_bytes_ = 0;
};

/// Returns the ids of the requests that are chosen.
RequestIds ids_of_requests(std::vector<CaptureFile> const &files, RequestFilter const &filter)
{
    RequestIds ids;
    for (auto const &request : chosen_requests(files, filter))
        ids.insert(request.id);
    return ids;
}

} // namespace

ExitStatus replay(ReplayOptions const &options)
{
    Output output(STDOUT_FILENO);                          // nothing is written
    FrameSender sender(*options.endpoint, options.access); // NOLINT(bugprone-unchecked-optional-access): required
    auto const &filter = options.filter;
    bool const chooses_requests = filter.has_conditions() || filter.order.top;
    bool const rereads = options.loop || chooses_requests;
    auto const captures = rereads ? std::optional<RereadableCaptures>(options.files) : std::nullopt;
    auto const files = captures ? captures->files() : capture_files(options.files);

    std::optional<RequestIds> ids;
    if (chooses_requests)
        ids = ids_of_requests(files, filter);
    Replay replay(options, sender, std::move(ids));
    auto const handle = [&](auto const &frame, std::string_view bytes) { return replay.handle(frame, bytes); };
    auto status = read_capture_bytes(files, output, handle);
    bool const has_frames = sender.sent() > 0;
    while (options.loop && has_frames && !Interrupt::requested())
        reread_capture_bytes(files, handle);

    replay.clear_progress();
    bool const is_interrupted = Interrupt::requested();
    bool const has_finished = sender.finish();
    std::string_view end;
    if (!options.loop && is_interrupted)
        end = "; interrupted before the end";
    else if (!options.loop && !has_finished)
        end = "; the last of them may not have arrived";
    if (!end.empty())
        status = std::max(status, file_failure);
    if (!has_frames && !is_interrupted)
        print_error("no frame to send\n");
    else
        print_error(fmt::format("frames sent: {}{}\n", sender.sent(), end));
    return is_interrupted ? status : filter.reports.check_requests(status);
}

} // namespace tarnwick::program
