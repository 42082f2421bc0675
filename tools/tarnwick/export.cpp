#include "export.h"

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
    auto const status = read_whole_requests(options.files, options.filter, store.masks().are_on(), output,
                                            [&](WholeRequest const &request) { store.add(request); });
    store.finish();
    auto const &counts = store.counts();
    output.write(fmt::format("requests added: {}, replaced: {}, unchanged: {}\n", counts.added, counts.replaced,
                             counts.unchanged));
    output.flush();
    return status;
}

} // namespace tarnwick::program
