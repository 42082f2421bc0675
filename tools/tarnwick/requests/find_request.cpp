#include "requests/find_request.h"

#include "capture/captures.h"
#include "capture/record_feed.h"
#include "print/readable_text.h"
#include "requests/records_sink.h"
#include "requests/request_columns.h"
#include "requests/summary_sink.h"
#include "requests/table_options.h"
#include "standard_error.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>

namespace tarnwick::program {
namespace {

std::string listed_requests(std::vector<std::string> const &words, std::uint64_t count)
{
    auto const listed = std::min(words.size(), max_listed_requests);
    return fmt::format("{}{}", fmt::join(words.begin(), words.begin() + static_cast<std::ptrdiff_t>(listed), ", "),
                       listed < count ? ", ..." : "");
}

/// Chooses the request of a name from those that pass.
class RequestFinder {
public:
    explicit RequestFinder(RequestName const &name)
        : name_(name)
    {
    }

    void pass(RequestSummary const &request)
    {
        ++count_;
        last_ = request.number;
        if (first_.size() < max_listed_requests)
            first_.push_back(fmt::to_string(request.id));
        if (!is_meant(request))
            return;
        if (name_.kind == RequestName::Kind::id && found_) {
            if (++other_count_ <= max_listed_requests)
                others_.push_back(fmt::format("@{}", request.number));
            return;
        }
        found_ = request;
        if (request.end)
            slowest_ = nanoseconds(request.end->duration);
    }

    /// Takes a request that does not fulfil the conditions.
    void exclude(RequestSummary const &request)
    {
        bool const is_named = name_.kind == RequestName::Kind::id || name_.kind == RequestName::Kind::number;
        is_excluded_ = is_excluded_ || (is_named && is_meant(request));
    }

    [[nodiscard]] std::optional<RequestSummary> const &found() const { return found_; }

    /// Returns what a person should know about the choice; empty if nothing.
    [[nodiscard]] std::string message(bool has_requests) const
    {
        if (found_ && others_.empty())
            return {};
        if (found_)
            return fmt::format("several requests have the id {}: this is @{}, others are {}", found_->id,
                               found_->number, listed_requests(others_, other_count_));
        if (is_excluded_)
            return "the request does not fulfil the conditions";
        if (count_ == 0)
            return has_requests ? "no request fulfils the conditions" : "no request is in the captures";
        if (name_.kind == RequestName::Kind::slowest)
            return "no request has a duration, because no report is the end of one";
        if (name_.kind == RequestName::Kind::number)
            return fmt::format("no request has the number @{}; the last is @{}", name_.value, last_);
        return no_request_text(name_.value, listed_requests(first_, count_));
    }

private:
    [[nodiscard]] bool is_meant(RequestSummary const &request) const
    {
        switch (name_.kind) {
        case RequestName::Kind::id:
            return request.id == name_.value;
        case RequestName::Kind::number:
            return request.number == name_.value;
        case RequestName::Kind::slowest:
            return request.end && nanoseconds(request.end->duration) > slowest_;
        case RequestName::Kind::last:
            return true;
        }
        return false;
    }

    RequestName name_;
    std::uint64_t count_ = 0;
    std::uint64_t last_ = 0;         ///< number of the last request
    std::vector<std::string> first_; ///< ids of the first requests
    std::optional<RequestSummary> found_;
    long double slowest_ = std::numeric_limits<long double>::lowest(); ///< duration of `found_`
    std::vector<std::string> others_;                                  ///< the first with the same id
    std::uint64_t other_count_ = 0;
    bool is_excluded_ = false; ///< whether a request has the name, but does not fulfil the conditions
};

} // namespace

RequestSearch find_request(RereadableCaptures const &captures, RequestName const &name, RequestFilter const &filter,
                           Output &output, TraceChunks chunks)
{
    RequestFinder finder(name);
    bool has_requests = false;
    SummarySink summaries(filter.reports, [&](RequestSummary const &request) {
        has_requests = true;
        if (filter.fits(request))
            finder.pass(request);
        else
            finder.exclude(request);
    });
    RecordFeed summary_feed(summaries);
    RequestSearch search{
        read_captures(captures.files(), output,
                      [&](auto const &frame, auto const & /*origin*/) { return summary_feed.feed(frame); }),
        std::nullopt};
    summaries.close_all();
    // Without any request, the fault of the file is enough.
    bool const is_unread = search.status == file_failure && !has_requests;
    if (auto const message = finder.message(has_requests); !message.empty() && !is_unread) {
        auto const &files = captures.files();
        bool const is_one_file = files.size() == 1 && files.front().name != "-";
        print_error(
            fmt::format("tarnwick: {}{}\n", is_one_file ? escaped_text(files.front().name) + ": " : "", message));
    }
    if (!finder.found()) {
        search.status = std::max(search.status, wrong_usage);
        return search;
    }

    search.request = {*finder.found(), {}};
    auto const &summary = search.request->summary;
    bool is_complete = false;
    RecordsSink records(
        filter.reports, [&](std::uint64_t number) { return number == summary.number; },
        [&](RequestRecords &request) {
            if (request.number != summary.number || is_complete)
                return;
            search.request->records = std::move(request);
            is_complete = true;
            throw EnoughResults();
        },
        chunks);
    RecordFeed record_feed(records);
    reread_captures(captures.files(), [&](auto const &frame, auto const &origin) {
        records.set_origin(origin);
        return record_feed.feed(frame);
    });
    try {
        records.close_all();
    } catch (EnoughResults const &) { // NOLINT(bugprone-empty-catch): the others are not wanted
    }
    return search;
}

} // namespace tarnwick::program
