#include "inspect.h"

#include "capture/captures.h"
#include "capture/input_file.h"
#include "capture/record_feed.h"
#include "print/output.h"
#include "print/record_printer.h"
#include "print/record_selection.h"
#include "print/terminal.h"

#include <unistd.h>

namespace tarnwick::program {
namespace {

RecordPrinter::Style style(InspectOptions const &options, Output const &output)
{
    bool const json = options.format == InspectOptions::Format::jsonl ||
                      (options.format == InspectOptions::Format::automatic && !output.is_terminal());
    return {
        .json = json,
        .color = is_colored(options.color, STDOUT_FILENO),
        .name_files = options.files.size() > 1,
        .width = terminal_width(STDOUT_FILENO),
        .masks = Masks::of(options.mask, !json),
        .json_style = options.json_style,
    };
}

} // namespace

ExitStatus inspect(InspectOptions const &options)
{
    Output output(STDOUT_FILENO);
    RecordPrinter printer(output, style(options, output));
    RecordSelection selection(printer, options.records, options.reports, options.top);
    RecordFeed feed(selection, options.all_records);
    auto const print = [&](capture::v1::Frame const &frame, Origin const &origin) {
        printer.set_origin(origin);
        auto fault = feed.feed(frame);
        selection.flush();
        return fault;
    };
    auto const status =
        read_captures(capture_files(options.files), output, print, options.follow ? AtEnd::follow : AtEnd::stop);
    // A capture that is followed or not read to its end can have other requests.
    return options.follow || selection.is_complete() ? status : options.reports.check_requests(status);
}

} // namespace tarnwick::program
