#include "inspect.h"

#include "capture/capture_reader.h"
#include "capture/file_kind.h"
#include "capture/input_file.h"
#include "capture/loopback.h"
#include "standard_error.h"
#include "print/output.h"
#include "progress.h"
#include "print/readable_text.h"
#include "print/record_feed.h"
#include "print/record_printer.h"
#include "capture/report_check.h"
#include "print/terminal.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <unistd.h>
#include <utility>
#include <vector>

namespace tarnwick::program {
namespace {

using Step = CaptureReader::Step;

RecordPrinter::Style style(InspectOptions const &options, Output const &output)
{
    return {
        .json = options.format == Format::jsonl || (options.format == Format::automatic && !output.is_terminal()),
        .color = is_colored(options.color, STDOUT_FILENO),
        .name_files = options.files.size() > 1,
        .width = terminal_width(STDOUT_FILENO),
    };
}

/// The inspection of one capture.
class Inspection {
public:
    Inspection(std::string const &name, Output &output, RecordPrinter &printer, RecordFeed &feed)
        : name_(name)
        , output_(output)
        , printer_(printer)
        , feed_(feed)
        // Someone may follow a capture that is still being made.
        , input_(name, [&output] { output.flush(); })
        , reader_(input_)
        , progress_(name, input_.size())
    {
    }

    ExitStatus run();

private:
    /// A message about a frame, or about adjacent frames of which the same is true.
    struct Note {
        std::uint64_t number;
        std::uint64_t offset;
        std::string what;
        std::uint64_t last_number;
        std::uint64_t last_offset;
    };

    void take(Step step);
    void take_frame();
    void finish();
    void say(std::string_view what);
    void say_notes();
    void note(std::string_view what);
    void fault(std::string_view what);

    std::string const &name_;
    Output &output_;
    RecordPrinter &printer_;
    RecordFeed &feed_;
    InputFile input_;
    CaptureReader reader_;
    Progress progress_;
    ExitStatus status_ = done;
    bool any_report_ = false;
    std::vector<Note> notes_; ///< more than one only before the first report
};

ExitStatus Inspection::run()
{
    // Each record that is printed would become input.
    if (input_.is_file_of(STDOUT_FILENO)) {
        say("cannot be read: standard output goes to this file");
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

void Inspection::take(Step step)
{
    switch (step) {
    case Step::frame:
        take_frame();
        break;
    case Step::fault:
        fault(reader_.problem());
        break;
    case Step::seeking:
        break;
    case Step::failure:
        status_ = file_failure;
        say_notes();
        say(fmt::format("cannot be read: {}", reader_.problem()));
        break;
    case Step::end:
        finish();
        break;
    }
}

void Inspection::take_frame()
{
    auto const &frame = reader_.frame();
    if (frame.report_case() == capture::v1::Frame::REPORT_NOT_SET) {
        note("holds no report that this program knows");
        return;
    }
    any_report_ = true;
    // What is printed stays in the order of the capture. A frame that prints nothing can add to the last note.
    if (!notes_.empty() && has_valid_report(frame))
        say_notes();
    printer_.set_origin({name_, reader_.number(), reader_.offset()});
    if (output_.is_terminal())
        progress_.clear();
    try {
        auto const problem = feed_.feed(frame);
        if (output_.is_terminal())
            output_.flush();
        if (problem)
            fault(*problem);
    } catch (SocketError const &error) {
        status_ = file_failure;
        note(fmt::format("its chunk takes sockets to read: {}", error.what()));
    }
}

void Inspection::finish()
{
    if (any_report_ || (reader_.number() > 0 && status_ == done)) {
        say_notes();
        return;
    }
    status_ = std::max(status_, input_fault);
    say(reader_.number() == 0 ? "is empty: a capture has at least one frame" : describe_foreign_file(reader_.head()));
}

// What is printed stays in the order of the capture, also where both streams go to one place.
void Inspection::say(std::string_view what)
{
    progress_.clear();
    output_.flush();
    print_error(fmt::format("{}: {}\n", shown_text(name_), what));
}

void Inspection::say_notes()
{
    for (auto const &[number, offset, what, last_number, last_offset] : std::exchange(notes_, {})) {
        auto const more = last_number == number
                              ? std::string()
                              : fmt::format("; the same up to frame {} at byte {}", last_number, last_offset);
        say(fmt::format("frame {} at byte {}: {}{}", number, offset, what, more));
    }
}

void Inspection::note(std::string_view what)
{
    auto const number = reader_.number();
    auto const offset = reader_.offset();
    if (!notes_.empty() && notes_.back().what == what) {
        notes_.back().last_number = number;
        notes_.back().last_offset = offset;
        return;
    }
    // Before the first report it can turn out that the file is no capture at all, which is all that is reported then.
    if (any_report_)
        say_notes();
    notes_.push_back({number, offset, std::string(what), number, offset});
}

void Inspection::fault(std::string_view what)
{
    status_ = std::max(status_, input_fault);
    note(what);
}

} // namespace

ExitStatus inspect(InspectOptions const &options)
{
    Output output(STDOUT_FILENO);
    RecordPrinter printer(output, style(options, output));
    RecordFeed feed(printer, options.all_records);
    auto status = done;
    for (auto const &name : options.files)
        status = std::max(status, Inspection(name, output, printer, feed).run());
    output.flush();
    return status;
}

} // namespace tarnwick::program
