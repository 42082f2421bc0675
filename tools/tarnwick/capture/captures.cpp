#include "capture/captures.h"

#include "capture/capture_reader.h"
#include "capture/file_kind.h"
#include "capture/input_file.h"
#include "capture/interrupt.h"
#include "capture/loopback.h"
#include "capture/report_check.h"
#include "capture/varint.h"
#include "print/readable_text.h"
#include "progress.h"
#include "standard_error.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <type_traits>
#include <unistd.h>
#include <utility>
#include <vector>

namespace tarnwick::program {
namespace {

using Step = CaptureReader::Step;

/// Handles the frame of a reader.
using ReaderHandler =
    std::function<std::optional<std::string>(CaptureReader const &reader, std::string const &file_name)>;

ReaderHandler reader_handler(FrameHandler const &handle)
{
    return [&handle](CaptureReader const &reader, std::string const &file_name) {
        return handle(reader.frame(), {file_name, reader.number(), reader.offset()});
    };
}

ReaderHandler reader_handler(FrameBytesHandler const &handle)
{
    return [&handle](CaptureReader const &reader, std::string const & /*file_name*/) {
        auto const bytes = reader.bytes();
        return handle(reader.frame(), bytes.substr(read_varint(bytes).size));
    };
}

/// Reads one capture, passes its frames on, and reports its faults.
class Reading {
public:
    Reading(CaptureFile const &file, Output &output, ReaderHandler const &handle, AtEnd at_end,
            std::function<void()> const &before_wait)
        : name_(file.name)
        , output_(output)
        , handle_(handle)
        // The capture can grow while it is read: print what there is before waiting for more.
        , input_(
              file.path, [this] { prepare_wait(); }, at_end)
        , reader_(input_)
        , progress_(name_, at_end == AtEnd::follow ? 0 : input_.size())
        , at_end_(at_end)
        , before_wait_(before_wait)
    {
    }

    ExitStatus run();
    void keep_bytes() { reader_.keep_bytes(); }

private:
    /// A message about a frame, or about adjacent frames with the same message.
    struct Message {
        std::uint64_t number;
        std::uint64_t offset;
        std::string text;
        std::uint64_t last_number;
        std::uint64_t last_offset;
    };

    void take(Step step);
    void take_frame();
    void take_end();
    void prepare_wait();
    void print_line(std::string_view line);
    void print_about_file(std::string_view text);
    void print_messages();
    void add_message(std::string_view text);
    void add_fault(std::string_view text);

    std::string const &name_;
    Output &output_;
    ReaderHandler const &handle_;
    InputFile input_;
    CaptureReader reader_;
    Progress progress_;
    AtEnd at_end_;
    std::function<void()> const &before_wait_;
    ExitStatus status_ = success;
    bool has_report_ = false;       ///< whether the reader returned a frame with a known report
    std::vector<Message> messages_; ///< not printed yet; more than one only before the first report
};

ExitStatus Reading::run()
{
    // Results would become input.
    if (input_.is_same_file(STDOUT_FILENO)) {
        print_line(fmt::format("cannot read {}: standard output is the same file", escaped_text(name_)));
        return file_failure;
    }
    Step step{};
    do {
        step = reader_.next();
        take(step);
        if (progress_.due())
            progress_.show(input_.position());
    } while (step == Step::frame || step == Step::fault || step == Step::seeking);
    return status_;
}

void Reading::take(Step step)
{
    switch (step) {
    case Step::frame:
        take_frame();
        break;
    case Step::fault:
        add_fault(reader_.problem());
        break;
    case Step::seeking:
        break;
    case Step::failure:
        status_ = file_failure;
        print_messages();
        print_line(fmt::format("cannot read {}: {}", escaped_text(name_), reader_.problem()));
        break;
    case Step::end:
        take_end();
        break;
    }
}

void Reading::take_frame()
{
    auto const &frame = reader_.frame();
    if (frame.report_case() == capture::v1::Frame::REPORT_NOT_SET) {
        add_message("skipped: no report of a known kind");
        return;
    }
    has_report_ = true;
    // Results and messages keep the order of the capture. A frame without records can extend the last message.
    if (!messages_.empty() && has_valid_report(frame))
        print_messages();
    if (output_.is_terminal())
        progress_.clear();
    try {
        auto const fault = handle_(reader_, name_);
        if (output_.is_terminal())
            output_.flush();
        if (fault)
            add_fault(*fault);
    } catch (SocketError const &error) {
        status_ = file_failure;
        add_message(fmt::format("cannot pass the chunk through a socket: {}", error.what()));
    }
}

void Reading::prepare_wait()
{
    // The next frame of a followed file, which could extend the last message, can be far in the future.
    if (at_end_ == AtEnd::follow && has_report_)
        print_messages();
    if (before_wait_)
        before_wait_();
    output_.flush();
}

void Reading::take_end()
{
    // Nothing is written yet.
    if ((at_end_ == AtEnd::follow || Interrupt::requested()) && reader_.number() == 0)
        return;
    if (has_report_ || (reader_.number() > 0 && status_ == success)) {
        print_messages();
        return;
    }
    status_ = std::max(status_, input_fault);
    print_about_file(reader_.number() == 0 ? "not a capture: the file is empty"
                                           : describe_foreign_file(reader_.head()));
}

// Standard output is flushed first, so that the order is right where both streams go to one place.
void Reading::print_line(std::string_view line)
{
    progress_.clear();
    output_.flush();
    print_error(fmt::format("{}\n", line));
}

void Reading::print_about_file(std::string_view text)
{
    print_line(fmt::format("{}: {}", escaped_text(name_), text));
}

void Reading::print_messages()
{
    for (auto const &[number, offset, text, last_number, last_offset] : std::exchange(messages_, {})) {
        auto const range = last_number == number ? std::string()
                                                 : fmt::format("; the same for all frames up to frame {} at byte {}",
                                                               last_number, last_offset);
        print_about_file(fmt::format("frame {} at byte {}: {}{}", number, offset, text, range));
    }
}

void Reading::add_message(std::string_view text)
{
    auto const number = reader_.number();
    auto const offset = reader_.offset();
    if (!messages_.empty() && messages_.back().text == text) {
        messages_.back().last_number = number;
        messages_.back().last_offset = offset;
        return;
    }
    // A file without any report is not a capture. Then that is the only message, and these are dropped.
    if (has_report_)
        print_messages();
    messages_.push_back({number, offset, std::string(text), number, offset});
}

void Reading::add_fault(std::string_view text)
{
    status_ = std::max(status_, input_fault);
    add_message(text);
}

template <class Handler>
ExitStatus read_all(std::vector<CaptureFile> const &files, Output &output, Handler const &handle, AtEnd at_end,
                    std::function<void()> const &before_wait)
{
    auto const handle_reader = reader_handler(handle);
    auto status = success;
    try {
        for (auto const &file : files) {
            Reading reading(file, output, handle_reader, at_end, before_wait);
            if (std::is_same_v<Handler, FrameBytesHandler>)
                reading.keep_bytes();
            status = std::max(status, reading.run());
        }
    } catch (EnoughResults const &) { // NOLINT(bugprone-empty-catch): the rest is not wanted
    }
    output.flush();
    return status;
}

template <class Handler>
void reread_all(std::vector<CaptureFile> const &files, Handler const &handle)
{
    auto const handle_reader = reader_handler(handle);
    try {
        for (auto const &file : files) {
            InputFile input(file.path);
            CaptureReader reader(input);
            if (std::is_same_v<Handler, FrameBytesHandler>)
                reader.keep_bytes();
            for (auto step = reader.next(); step != Step::end && step != Step::failure; step = reader.next()) {
                if (step == Step::frame && reader.frame().report_case() != capture::v1::Frame::REPORT_NOT_SET)
                    (void)handle_reader(reader, file.name);
            }
        }
    } catch (EnoughResults const &) { // NOLINT(bugprone-empty-catch): the rest is not wanted
    }
}

} // namespace

std::vector<CaptureFile> capture_files(std::vector<std::string> const &names)
{
    std::vector<CaptureFile> files;
    files.reserve(names.size());
    for (auto const &name : names)
        files.push_back({name, name});
    return files;
}

ExitStatus read_captures(std::vector<CaptureFile> const &files, Output &output, FrameHandler const &handle,
                         AtEnd at_end, std::function<void()> const &before_wait)
{
    return read_all(files, output, handle, at_end, before_wait);
}

ExitStatus read_capture_bytes(std::vector<CaptureFile> const &files, Output &output, FrameBytesHandler const &handle)
{
    return read_all(files, output, handle, AtEnd::stop, {});
}

void reread_captures(std::vector<CaptureFile> const &files, FrameHandler const &handle)
{
    reread_all(files, handle);
}

void reread_capture_bytes(std::vector<CaptureFile> const &files, FrameBytesHandler const &handle)
{
    reread_all(files, handle);
}

} // namespace tarnwick::program
