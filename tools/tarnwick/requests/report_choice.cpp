#include "requests/report_choice.h"

#include "standard_error.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

namespace tarnwick::program {
namespace {

template <class T>
bool has_element(std::vector<T> const &list, T element)
{
    return std::ranges::find(list, element) != list.end();
}

} // namespace

std::string no_request_text(std::uint64_t id, std::string const &ids)
{
    return ids.empty() ? "no request is in the captures"
                       : fmt::format("no request has the id {}; the ids of requests are {}", id, ids);
}

bool ReportChoice::accepts(Dialect dialect) const
{
    return dialects.empty() || has_element(dialects, dialect);
}

bool ReportChoice::accepts(data::php::RequestId request_id) const
{
    if (requests.empty())
        return true;
    auto const id = request_id.id();
    bool const is_chosen = has_element(requests, id);
    if (is_chosen && !has_element(known->chosen, id))
        known->chosen.push_back(id);
    if (!has_element(known->first, id)) {
        if (known->first.size() < max_listed_requests)
            known->first.push_back(id);
        else
            known->has_more = true;
    }
    return is_chosen;
}

ExitStatus ReportChoice::check_requests(ExitStatus status) const
{
    // A capture that cannot be read can have other requests.
    if (status == file_failure)
        return status;
    auto const ids = fmt::format("{}{}", fmt::join(known->first, ", "), known->has_more ? ", ..." : "");
    for (auto const id : requests) {
        if (has_element(known->chosen, id))
            continue;
        print_error(fmt::format("tarnwick: {}\n", no_request_text(id, ids)));
        status = std::max(status, wrong_usage);
        if (ids.empty()) // all messages are equal
            break;
    }
    return status;
}

} // namespace tarnwick::program
