#include "diff_dialects.h"

#include "capture/captures.h"
#include "capture/record_feed.h"
#include "capture/rereadable_captures.h"
#include "print/json_parts.h"
#include "print/json_writer.h"
#include "print/output.h"
#include "print/readable_text.h"
#include "print/record_selection.h"
#include "print/terminal.h"
#include "print/text_width.h"
#include "requests/dialect_differences.h"
#include "requests/summary_sink.h"
#include "standard_error.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <map>
#include <optional>
#include <ranges>
#include <string_view>
#include <tuple>
#include <unistd.h>
#include <utility>

namespace tarnwick::program {
namespace {

/// Requests that have reports of both dialects.
struct TwofoldRequests {
    ExitStatus status = success; ///< of reading
    std::vector<bool> numbers;   ///< by number
    std::uint64_t count = 0;
    std::uint64_t others = 0; ///< requests with reports of one dialect
    /// With masks: which frame has the last report of each request, by number.
    std::vector<std::uint64_t> last_frames;
};

TwofoldRequests find_twofold_requests(RereadableCaptures const &captures, RequestFilter const &filter,
                                      Masks const &masks, Output &output)
{
    TwofoldRequests found;
    ReportChoice all; // of any dialect
    all.records = filter.reports.records;
    SummarySink sink(all, [&](RequestSummary const &request) {
        if (!filter.fits(request))
            return;
        if (!request.dialects[0] || !request.dialects[1]) {
            ++found.others;
            return;
        }
        ++found.count;
        found.numbers.resize(request.number + 1);
        found.numbers[request.number] = true;
    });
    RecordFeed feed(sink);
    std::uint64_t frames = 0;
    found.status = read_captures(captures.files(), output, [&](auto const &frame, auto const & /*origin*/) {
        auto fault = feed.feed(frame);
        ++frames;
        if (masks.are_on()) {
            found.last_frames.resize(std::max(found.last_frames.size(), std::size_t{sink.number()} + 1));
            found.last_frames[sink.number()] = frames;
        }
        return fault;
    });
    sink.close_all();
    found.status = filter.reports.check_requests(found.status);
    return found;
}

std::string plural(std::uint64_t count, std::string_view noun)
{
    return fmt::format("{} {}{}", count, noun, count == 1 ? "" : "s");
}

/// Prints each difference as a JSON object.
class DifferenceLines {
public:
    DifferenceLines(Output &output, std::optional<std::uint64_t> top, JsonStyle style)
        : output_(output)
        , style_(style)
        , left_(top.value_or(UINT64_MAX))
    {
    }

    void add(DialectDifference const &difference)
    {
        if (left_ == 0)
            return;
        --left_;
        JsonWriter writer(style_);
        writer.begin_record({});
        writer.field("request_id", data::Sense::id);
        writer.integer(difference.request_id);
        writer.field("number");
        writer.integer(difference.number);
        writer.field("record");
        writer.bytes(difference.records.record);
        if (!difference.records.view.empty()) {
            writer.field("view");
            writer.bytes(difference.records.view);
        }
        if (difference.records.kind) {
            writer.field("kind");
            writer.integer(std::uint64_t{*difference.records.kind});
        }
        for (auto const &[name, path] :
             {std::pair("field", &difference.field), std::pair("place", &difference.place)}) {
            writer.field(name);
            if (path->empty())
                writer.absent();
            else
                writer.bytes(*path);
        }
        output_.write(writer.line());
        for (auto const &[name, value] :
             {std::pair("rpc", difference.rpc), std::pair("protobuf", difference.protobuf)}) {
            output_.write(fmt::format(R"(,"{}":)", name));
            output_.write(value.empty() ? "null" : value);
        }
        output_.write("}\n");
    }

private:
    Output &output_;
    JsonStyle style_;
    std::uint64_t left_; ///< to print
};

constexpr std::size_t longest_equal_start = 60; ///< of two values, in bytes
constexpr std::size_t kept_equal_start = 20;
constexpr std::size_t longest_value = 1000; ///< in bytes; a terminal shows less

bool is_inside_character(std::string_view text, std::size_t at)
{
    return at < text.size() && (static_cast<unsigned char>(text[at]) & 0xc0U) == 0x80U;
}

/// Returns a value without a long start that the other value has too, and without a long end.
std::string differing_part(std::string_view value, std::string_view other)
{
    auto const [differs, differs_too] = std::ranges::mismatch(value, other);
    auto const equal = static_cast<std::size_t>(differs - value.begin());
    std::size_t begin = equal > longest_equal_start ? equal - kept_equal_start : 0;
    while (begin > 0 && is_inside_character(value, begin))
        --begin;
    auto end = std::min(value.size(), begin + longest_value);
    while (is_inside_character(value, end))
        --end;
    return fmt::format("{}{}{}", begin > 0 ? "…" : "", value.substr(begin, end - begin), end < value.size() ? "…" : "");
}

/// Returns a value for people. Of lists with different sizes, it shows the sizes and the elements that differ.
std::string difference_text(std::string_view value, std::string_view other)
{
    if (value.empty())
        return "no such record";
    if (!value.starts_with('[') || !other.starts_with('['))
        return differing_part(value, other);
    auto const elements = json_parts(value);
    auto const others = json_parts(other);
    auto const [differs, differs_too] = std::ranges::mismatch(elements, others, {}, &JsonPart::value, &JsonPart::value);
    std::string rest;
    for (auto element = differs; element != elements.end() && rest.size() < longest_value; ++element)
        rest += fmt::format("{}{}", rest.empty() ? "" : ",", element->value);
    return fmt::format("{}{}{}", plural(elements.size(), "element"),
                       rest.empty() ? "" : fmt::format(", from [{}]: ", differs - elements.begin()),
                       differing_part(rest, {}));
}

/// Collects the differences of each field. Prints how often a field differs, and its first difference.
class DifferenceSummary {
public:
    explicit DifferenceSummary(Output &output)
        : output_(output)
        , width_(terminal_width(STDOUT_FILENO))
    {
    }

    void add(DialectDifference const &difference)
    {
        auto &field =
            fields_[{difference.records, difference.field, difference.rpc.empty(), difference.protobuf.empty()}];
        if (field.count == 0) {
            field.order = fields_.size();
            field.number = difference.number;
            field.request_id = difference.request_id;
            field.place = difference.place;
            field.rpc = difference_text(difference.rpc, difference.protobuf);
            field.protobuf = difference_text(difference.protobuf, difference.rpc);
        }
        ++field.count;
        ++count_;
        if (field.requests.size() <= difference.number)
            field.requests.resize(difference.number + 1);
        field.requests[difference.number] = true;
    }

    void print(std::uint64_t pairs, std::uint64_t requests, std::optional<std::uint64_t> top)
    {
        std::vector<std::pair<Key const *, Field const *>> fields;
        fields.reserve(fields_.size());
        for (auto const &[key, field] : fields_)
            fields.emplace_back(&key, &field);
        std::ranges::sort(fields, {}, [](auto const &entry) { return entry.second->order; });
        auto const count = std::min<std::uint64_t>(top.value_or(UINT64_MAX), fields.size());
        for (auto const &[key, field] : fields | std::views::take(count))
            print(*key, *field);
        if (count < fields.size())
            print_line(fmt::format("These are the first {} of {} fields that differ.", count, fields.size()));
        print_line(fmt::format("Compared {} of records in {}: {}.", plural(pairs, "pair"), plural(requests, "request"),
                               count_ == 0 ? "no differences" : plural(count_, "difference")));
    }

private:
    /// The records, the field, and whether a dialect lacks the record.
    using Key = std::tuple<ComparedRecords, std::string, bool, bool>;
    struct Field {
        std::size_t order = 0;
        std::uint64_t count = 0;
        std::vector<bool> requests; ///< by number
        // The first difference.
        std::uint64_t number = 0;
        std::uint64_t request_id = 0;
        std::string place;
        std::string rpc;
        std::string protobuf;
    };

    static std::string title(Key const &key)
    {
        auto const &[records, field, is_not_in_rpc, is_not_in_protobuf] = key;
        auto const name = records.kind ? fmt::format("{} of kind {}", records.record, *records.kind) : records.name();
        return field.empty() ? fmt::format("{} is only in {}", name, is_not_in_rpc ? "protobuf" : "rpc")
                             : fmt::format("{}: {} differs", name, field);
    }

    void print(Key const &key, Field const &field)
    {
        auto const requests = static_cast<std::uint64_t>(std::ranges::count(field.requests, true));
        auto const &path = std::get<1>(key);
        auto const times = field.count == 1 ? std::string()
                           : requests == 1
                               ? fmt::format(" {} times, first", field.count)
                               : fmt::format(" {} times in {}, first", field.count, plural(requests, "request"));
        auto const place = field.place == path ? std::string() : fmt::format(" at {}", field.place);
        print_line(fmt::format("{}{}{} in @{} with id {}:", title(key), times, place, field.number, field.request_id));
        print_line(fmt::format("    rpc       {}", field.rpc));
        print_line(fmt::format("    protobuf  {}", field.protobuf));
    }

    void print_line(std::string_view line)
    {
        auto const text = escaped_text(line);
        output_.write(width_ ? cut_lines(text, *width_) : text);
        output_.write("\n");
    }

    Output &output_;
    std::optional<std::size_t> width_;
    std::map<Key, Field> fields_;
    std::uint64_t count_ = 0;
};

} // namespace

ExitStatus diff_dialects(DiffDialectsOptions const &options)
{
    using Format = DiffDialectsOptions::Format;
    Output output(STDOUT_FILENO);
    bool const is_text =
        options.format == Format::text || (options.format == Format::automatic && output.is_terminal());
    auto const masks = Masks::of(options.mask, is_text);
    RereadableCaptures const captures(options.files);
    auto const requests = find_twofold_requests(captures, options.filter, masks, output);

    if (requests.status == file_failure)
        return requests.status;
    DifferenceLines lines(output, options.top, options.json_style);
    DifferenceSummary summary(output);
    auto status = requests.status;
    DialectDifferences differences(
        [&](std::uint64_t number) { return number < requests.numbers.size() && requests.numbers[number]; }, masks,
        [&](DialectDifference const &difference) {
            status = std::max(status, input_fault);
            if (is_text)
                summary.add(difference);
            else
                lines.add(difference);
        },
        is_text ? JsonStyle() : options.json_style);
    if (requests.count > 0) {
        RecordFeed feed(differences);
        std::uint64_t frames = 0;
        reread_captures(captures.files(), [&](auto const &frame, auto const & /*origin*/) {
            auto fault = feed.feed(frame);
            ++frames;
            auto const number = differences.number();
            if (number > 0 && number < requests.last_frames.size() && requests.last_frames[number] == frames)
                differences.complete_request();
            return fault;
        });
        differences.close_all();
        if (is_text)
            summary.print(differences.pairs(), requests.count, options.top);
    }
    output.flush();
    if (requests.others > 0)
        print_error(
            fmt::format("tarnwick: {} only one dialect and {} not compared\n",
                        requests.others == 1 ? "1 request has" : fmt::format("{} requests have", requests.others),
                        requests.others == 1 ? "was" : "were"));
    if (requests.count == 0) {
        print_error(fmt::format("tarnwick: nothing was compared, because no request {}has reports of both dialects\n",
                                options.filter.has_conditions() ? "that fulfils the conditions " : ""));
        status = std::max(status, input_fault);
    }
    return status;
}

} // namespace tarnwick::program
