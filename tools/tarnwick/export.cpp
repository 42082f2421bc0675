#include "export.h"

#include "capture/captures.h"
#include "capture/record_feed.h"
#include "database/request_store.h"
#include "print/output.h"
#include "requests/whole_request.h"

#include <fmt/format.h>

#include <unistd.h>

namespace tarnwick::program {

ExitStatus export_requests(ExportOptions const &options)
{
    Output output(STDOUT_FILENO);
    RequestStore store(options.output, options.mask);
    WholeRequestSink sink(
        options.filter.reports,
        [&](WholeRequest const &request) {
            if (options.filter.fits(request.summary))
                store.add(request);
        },
        store.masks().are_on());
    RecordFeed feed(sink);
    auto const status = read_captures(capture_files(options.files), output,
                                      [&](auto const &frame, auto const & /*origin*/) { return feed.feed(frame); });
    sink.close_all();
    store.finish();
    auto const &counts = store.counts();
    output.write(fmt::format("requests added: {}, replaced: {}, unchanged: {}\n", counts.added, counts.replaced,
                             counts.unchanged));
    output.flush();
    return options.filter.reports.check_requests(status);
}

} // namespace tarnwick::program
