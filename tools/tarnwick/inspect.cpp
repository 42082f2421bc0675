#include "inspect.h"

#include "capture_reader.h"
#include "input_file.h"
#include "loopback.h"
#include "messages.h"
#include "output.h"
#include "progress.h"
#include "record_feed.h"
#include "record_printer.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>
#include <unistd.h>

namespace tarnwick::program {
namespace {

using Step = CaptureReader::Step;

RecordPrinter::Style style(InspectOptions const &options, Output const &output)
{
    return {
        .json = options.format == Format::jsonl || (options.format == Format::automatic && !output.is_terminal()),
        .color = is_colored(options.color, output),
        .name_files = options.files.size() > 1,
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
    void take(Step step);
    void take_frame();
    void say(std::string_view what);
    void say_of_frame(std::string_view what);
    void fault(std::string_view what);

    std::string const &name_;
    Output &output_;
    RecordPrinter &printer_;
    RecordFeed &feed_;
    InputFile input_;
    CaptureReader reader_;
    Progress progress_;
    ExitStatus status_ = done;
    bool any_frame_ = false;
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
    } while (step == Step::frame || step == Step::fault);

    if (!any_frame_ && status_ != file_failure) {
        status_ = input_fault;
        say(reader_.number() == 0 ? "is empty: a capture has at least one frame"
                                  : "is no capture: no frame of it can be read");
    }
    return status_;
}

void Inspection::take(Step step)
{
    switch (step) {
    case Step::frame:
        any_frame_ = true;
        take_frame();
        break;
    case Step::fault:
    case Step::last_fault:
        fault(reader_.problem());
        break;
    case Step::failure:
        status_ = file_failure;
        say(fmt::format("cannot be read: {}", reader_.problem()));
        break;
    case Step::end:
        break;
    }
}

void Inspection::take_frame()
{
    if (reader_.frame().report_case() == capture::v1::Frame::REPORT_NOT_SET) {
        say_of_frame("holds no report that this program knows");
        return;
    }
    printer_.set_origin({name_, reader_.number(), reader_.offset()});
    if (output_.is_terminal())
        progress_.clear();
    try {
        auto const problem = feed_.feed(reader_.frame());
        if (output_.is_terminal())
            output_.flush();
        if (!problem.empty())
            fault(problem);
    } catch (SocketError const &error) {
        status_ = file_failure;
        say_of_frame(fmt::format("its chunk takes sockets to read: {}", error.what()));
    }
}

// What is printed stays in the order of the capture, also where both streams go to one place.
void Inspection::say(std::string_view what)
{
    progress_.clear();
    output_.flush();
    tell(fmt::format("{}: {}\n", name_, what));
}

void Inspection::say_of_frame(std::string_view what)
{
    say(fmt::format("frame {} at byte {}: {}", reader_.number(), reader_.offset(), what));
}

void Inspection::fault(std::string_view what)
{
    status_ = std::max(status_, input_fault);
    say_of_frame(what);
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
