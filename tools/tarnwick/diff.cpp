#include "diff.h"

#include "capture/captures.h"
#include "capture/record_feed.h"
#include "capture/rereadable_captures.h"
#include "print/change_text.h"
#include "print/difference_printer.h"
#include "print/output.h"
#include "print/readable_text.h"
#include "requests/activity_sink.h"
#include "requests/difference.h"
#include "requests/find_request.h"
#include "requests/key_difference.h"
#include "requests/request_columns.h"
#include "standard_error.h"

#include <tarnwick/data/records.h>

#include <fmt/format.h>

#include <algorithm>
#include <memory>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

namespace tarnwick::program {
namespace {

/// Two profiles that limits compare.
struct ProfilePair {
    std::string name; ///< of their route; empty for two requests
    Profile const *a;
    Profile const *b;
};

/// Reports what exceeds the limits on standard error.
ExitStatus check_limits(std::vector<GrowthLimit> const &limits, std::vector<ProfilePair> const &pairs)
{
    auto status = success;
    auto const report = [&status](std::string const &text) {
        status = limit_exceeded;
        print_error(fmt::format("tarnwick: {}\n", escaped_text(text)));
    };
    for (auto const &limit : limits) {
        bool is_checked = false;
        for (auto const &[name, a, b] : pairs) {
            auto const is_exceeded = limit.is_exceeded(*a, *b);
            is_checked = is_checked || is_exceeded.has_value();
            if (!is_exceeded.value_or(false))
                continue;
            auto const mean_a = a->mean(limit.measure());
            auto const mean_b = b->mean(limit.measure());
            auto const growth = mean_a && mean_b ? growth_text(*mean_a, *mean_b) : std::string();
            report(fmt::format("{}{}{} is exceeded: {} → {}{}", name, name.empty() ? "" : ": ", limit.text(),
                               measure_text(limit.measure(), mean_a), measure_text(limit.measure(), mean_b),
                               growth.empty() ? "" : fmt::format(" ({})", growth)));
        }
        if (!is_checked)
            report(fmt::format("{} cannot be checked: A and B have no {} to compare", limit.text(),
                               measures[limit.measure()]));
    }
    return status;
}

/// Compares places that both name a request, or both a capture.
class Comparison {
public:
    explicit Comparison(DiffOptions const &options)
        : options_(options)
        , output_(STDOUT_FILENO)
    {
        using Format = DiffOptions::Format;
        auto const automatic = output_.is_terminal() ? Format::text : Format::jsonl;
        bool const is_text = (options.format == Format::automatic ? automatic : options.format) == Format::text;
        masks_ = Masks::of(options.mask, is_text);
        printer_ = is_text ? make_difference_text(output_, options.top)
                           : make_difference_json(output_, options.top, options.json_style);
    }

    ExitStatus compare_requests(RequestName const &request_a, RequestName const &request_b)
    {
        RereadableCaptures const captures_a({options_.a.file});
        RereadableCaptures const captures_b({options_.b.file});
        auto const a = find_request(captures_a, request_a, options_.filter, output_);
        auto const b = find_request(captures_b, request_b, options_.filter, output_);
        auto const status = std::max(a.status, b.status);
        if (!a.request || !b.request)
            return status;
        // Both requests share their secrets, because names that they share are printed once.
        collect(masks_, a.request->records);
        collect(masks_, b.request->records);
        auto const compared_a = compared(options_.a.file, *a.request);
        auto const compared_b = compared(options_.b.file, *b.request);
        mask_names(names_, compared_a.activity, masks_);
        mask_names(names_, compared_b.activity, masks_);
        printer_->print_requests(compared_a, compared_b);
        for (auto const kind : activity_kinds)
            printer_->print(compare(kind, compared_a.activity.of(kind), compared_b.activity.of(kind), names_));
        auto keys = compare_keys(key_arrays_of(a.request->records), key_arrays_of(b.request->records));
        for (auto &difference : keys) {
            for (auto &key : difference.path)
                key = masked(key, ranges_of_key(masks_, key));
        }
        printer_->print(keys);
        return finish(status, {{"", &compared_a.profile, &compared_b.profile}});
    }

    ExitStatus compare_captures()
    {
        ComparedCapture a{options_.a.file, {}};
        ComparedCapture b{options_.b.file, {}};
        auto const status_of_a = read(a);
        auto const status = std::max(status_of_a, read(b));
        if (status == file_failure)
            return status;
        for (auto const *capture : {&a, &b}) {
            if (options_.filter.has_conditions() && capture->profiles.empty())
                print_error(
                    fmt::format("tarnwick: {}: no request fulfils the conditions\n", escaped_text(capture->file)));
        }
        auto routes = compare(a.profiles, b.profiles);
        for (auto &[route, change, profile_a, profile_b] : routes) {
            for (auto *text : {&route.first, &route.second})
                *text = routes_.shown(routes_.number_of(*text));
        }
        printer_->print_captures(a, b, routes);
        for (auto const kind : activity_kinds)
            printer_->print(compare(kind, routes, names_));
        auto keys = compare_keys(routes);
        for (auto &difference : keys) {
            for (auto &key : difference.path)
                key = keys_.shown(keys_.number_of(key));
        }
        printer_->print(keys);
        std::vector<ProfilePair> pairs;
        for (auto const &route : routes) {
            if (route.a != nullptr && route.b != nullptr)
                pairs.push_back({text_of(route.route), route.a, route.b});
        }
        return finish(status, pairs);
    }

private:
    ComparedRequest compared(std::string const &file, FoundRequest const &found)
    {
        ComparedRequest request{file, {}, {}};
        request.activity.number = found.summary.number;
        request.activity.id = found.summary.id;
        request.activity.dialects = found.summary.dialects;
        ActivityBuilder builder(names_);
        found.records.for_each([&]<class Record>(Record const &record, Dialect dialect) {
            if constexpr (is_activity<Record>)
                builder.add(request.activity, record, dialect);
        });
        mask_start(request.activity, masks_);
        request.profile.add(request.activity);
        return request;
    }

    ExitStatus read(ComparedCapture &capture)
    {
        auto const mask = [&](RequestActivity const &request, bool masks_keys) {
            auto const route = route_of(request);
            for (auto const &text : {route.first, route.second})
                routes_.mask(routes_.number_of(text), masks_,
                             [](Masks const &masks, std::string_view part) { return masks.ranges(part); });
            mask_names(names_, request, masks_);
            if (!masks_keys)
                return;
            for (auto const *tree : request.keys.counted()) {
                if (tree != nullptr)
                    tree->for_each(
                        [&](std::string const &key) { keys_.mask(keys_.number_of(key), masks_, ranges_of_key); });
            }
        };
        ActivitySink sink(options_.filter.reports, names_, masks_, mask, [&](RequestActivity const &request) {
            if (options_.filter.fits(request))
                capture.profiles[route_of(request)].add(request);
        });
        RecordFeed feed(sink);
        auto const status = read_captures(capture_files({capture.file}), output_,
                                          [&](auto const &frame, auto const & /*origin*/) { return feed.feed(frame); });
        sink.close_all();
        return status;
    }

    ExitStatus finish(ExitStatus status, std::vector<ProfilePair> const &pairs)
    {
        printer_->finish();
        output_.flush();
        return std::max(status, check_limits(options_.limits, pairs));
    }

    DiffOptions const &options_;
    Output output_;
    Masks masks_;
    std::unique_ptr<DifferencePrinter> printer_;
    NameTable names_;
    NameTable routes_;
    NameTable keys_;
};

} // namespace

ExitStatus diff(DiffOptions const &options)
{
    Comparison comparison(options);
    return options.a.request && options.b.request ? comparison.compare_requests(*options.a.request, *options.b.request)
                                                  : comparison.compare_captures();
}

} // namespace tarnwick::program
