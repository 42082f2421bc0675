#include "show.h"

#include "capture/rereadable_captures.h"
#include "print/output.h"
#include "print/record_printer.h"
#include "print/request_page.h"
#include "print/sections.h"
#include "print/text_width.h"

#include <tarnwick/data/records.h>

#include <optional>
#include <unistd.h>

namespace tarnwick::program {
namespace {

/// Prints the records that count, in the order of their reports. The masks know their secrets.
void print_records(Output &output, FoundRequest const &request, RecordPrinter::Style const &style)
{
    data::php::RequestId const request_id(request.summary.id);
    RecordPrinter printer(output, style);
    request.records.for_each_that_counts([&]<class Record>(ReportedRecord<Record> const &reported, Dialect dialect) {
        printer.set_origin(reported.origin);
        // A table has no request id of its own.
        printer.print(data::payload_of(reported.record), dialect, reported.view,
                      data::is_handle<Record> ? std::nullopt : std::optional(request_id));
    });
}

} // namespace

ExitStatus show(ShowOptions const &options)
{
    Output output(STDOUT_FILENO);
    RereadableCaptures const captures(options.files);
    auto const search = find_request(captures, options.request, options.filter, output,
                                     options.all ? TraceChunks::keep : TraceChunks::drop);
    bool const name_files = options.files.size() > 1;
    if (search.request && (options.format == ShowOptions::Format::jsonl ||
                           (options.format == ShowOptions::Format::automatic && !output.is_terminal()))) {
        auto const masks = Masks::of(options.mask, false);
        masks.select_request(search.request->summary.id);
        collect(masks, search.request->records);
        print_records(output, *search.request,
                      {.json = true, .name_files = name_files, .masks = masks, .json_style = options.json_style});
    } else if (search.request) {
        bool const color = is_colored(options.color, STDOUT_FILENO);
        auto const width = options.all ? std::nullopt : terminal_width(STDOUT_FILENO);
        auto const masks = Masks::of(options.mask, true);
        auto const page =
            request_page(*search.request, {.color = color, .all = options.all, .width = width, .masks = masks});
        output.write(width ? cut_lines(page, *width) : page);
        if (options.all) {
            Sections title(color, width);
            title.title("All records");
            output.write("\n" + title.text());
            print_records(output, *search.request,
                          {.color = color, .name_files = name_files, .whole = true, .masks = masks});
        }
    }
    output.flush();
    return search.status;
}

} // namespace tarnwick::program
