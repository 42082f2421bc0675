#include "ls.h"

#include "capture/captures.h"
#include "capture/record_feed.h"
#include "print/output.h"
#include "print/table_printer.h"
#include "requests/find_request.h"
#include "requests/request_columns.h"
#include "requests/sorted_rows.h"
#include "requests/summary_sink.h"
#include "standard_error.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unistd.h>
#include <utility>
#include <vector>

namespace tarnwick::program {
namespace {

constexpr std::array<std::string_view, 10> columns_for_people{"number",   "start",  "method", "uri",    "status",
                                                              "duration", "memory", "errors", "events", "statements"};
constexpr std::array<std::string_view, 8> left_out_columns{"start",  "events", "statements", "memory",
                                                           "method", "errors", "status",     "duration"};

/// The chosen ids that no request has.
class MissingIds {
public:
    explicit MissingIds(std::vector<std::uint64_t> ids)
        : ids_(std::move(ids))
        , has_choice_(!ids_.empty())
    {
    }

    void pass(RequestSummary const &request)
    {
        if (!has_choice_)
            return;
        std::erase(ids_, request.id);
        ++count_;
        if (first_.size() < max_listed_requests)
            first_.push_back(fmt::to_string(request.id));
    }

    /// Reports them on standard error.
    [[nodiscard]] ExitStatus report() const
    {
        if (ids_.empty())
            return success;
        // Without any request, all messages are equal.
        for (auto const id : std::span(ids_).first(count_ > 0 ? ids_.size() : 1))
            print_error(fmt::format("tarnwick: {}\n", no_request_text(id, first_, count_)));
        return wrong_usage;
    }

private:
    std::vector<std::uint64_t> ids_;
    bool has_choice_;
    std::uint64_t count_ = 0; ///< of all requests
    std::vector<std::string> first_;
};

} // namespace

ExitStatus ls(LsOptions const &options)
{
    Output output(STDOUT_FILENO);
    TablePrinter<RequestSummary> printer(output, options, request_columns(), columns_for_people, left_out_columns);
    std::optional<SortedRows<RequestSummary>> sorted;
    if (options.sort != nullptr)
        sorted.emplace(*options.sort, options.is_descending, options.top);
    std::uint64_t left = options.top.value_or(UINT64_MAX);
    MissingIds missing(options.reports.requests);
    auto const pass_on = [&](RequestSummary &request) {
        missing.pass(request);
        if (!options.reports.accepts(data::php::RequestId(request.id)) ||
            !fulfils(request, options.conditions, request_columns()))
            return;
        if (sorted) {
            sorted->add(std::move(request));
            return;
        }
        if (left > 0) {
            printer.print(request);
            --left;
        }
        if (options.follow) {
            printer.finish();
            output.flush();
        }
        if (left == 0)
            throw EnoughResults();
    };
    SummarySink sink(options.reports, pass_on,
                     options.follow ? SummarySink::Clock(std::chrono::steady_clock::now) : nullptr, printer.masks());
    RecordFeed feed(sink);
    auto const handle = [&](auto const &frame, auto const & /*origin*/) { return feed.feed(frame); };
    auto status = options.follow ? read_captures(capture_files(options.files), output, handle, AtEnd::follow,
                                                 [&sink] { sink.close_due(); })
                                 : read_captures(capture_files(options.files), output, handle);
    try {
        sink.close_all();
    } catch (EnoughResults const &) { // NOLINT(bugprone-empty-catch): the others are not wanted
    }
    if (sorted) {
        for (auto const &request : sorted->sorted())
            printer.print(request);
    }
    printer.finish();
    output.flush();
    // A capture that cannot be read, is followed or is not read to its end can have other requests.
    if (status != file_failure && !options.follow && left > 0)
        status = std::max(status, missing.report());
    return status;
}

} // namespace tarnwick::program
