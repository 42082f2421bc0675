#include "requests/dialect_differences.h"

#include "print/json_parts.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <vector>

namespace tarnwick::program {
namespace {

/// A value as JSON, and as it is printed.
struct ComparedValue {
    std::string_view json;
    std::string_view shown;
};

struct ComparedPart {
    std::string_view name;
    ComparedValue value;
};

/// Returns the parts of an object or a list. If a value is masked as a whole, so are its parts.
std::vector<ComparedPart> parts_of(ComparedValue const &value)
{
    std::vector<ComparedPart> parts;
    auto const shown = json_parts(value.shown);
    for (auto const &[name, json] : json_parts(value.json))
        parts.push_back({name, {json, parts.size() < shown.size() ? shown[parts.size()].value : value.shown}});
    return parts;
}

/// Returns whether the JSON is a PHP value with its kind.
bool is_php_value(std::string_view json)
{
    return json.starts_with(R"({"kind":")");
}

/// Returns whether the parts of two values can be compared in pairs.
bool have_same_parts(ComparedValue const &left, std::vector<ComparedPart> const &left_parts, ComparedValue const &right,
                     std::vector<ComparedPart> const &right_parts)
{
    if (left.json.front() != right.json.front() || (left.json.front() != '{' && left.json.front() != '['))
        return false;
    if (is_php_value(left.json) != is_php_value(right.json))
        return false;
    return std::ranges::equal(left_parts, right_parts, {}, &ComparedPart::name, &ComparedPart::name) &&
           (!is_php_value(left.json) || left_parts.front().value.json == right_parts.front().value.json);
}

/// Where a value is in a record.
struct ComparedPlace {
    std::string path;  ///< as in `DialectException`
    std::string field; ///< as in `DialectDifference`
    std::string place;
    bool is_in_php_value = false;

    [[nodiscard]] ComparedPlace member(std::string_view name) const
    {
        return below(fmt::format(".{}", name), fmt::format(".{}", name));
    }
    [[nodiscard]] ComparedPlace element(std::size_t index) const { return below("[]", fmt::format("[{}]", index)); }
    [[nodiscard]] ComparedPlace php_value() const
    {
        auto result = *this;
        result.is_in_php_value = true;
        return result;
    }

    [[nodiscard]] ComparedPlace below(std::string_view step, std::string_view exact_step) const
    {
        auto result = *this;
        result.path += step;
        append(result.place, exact_step);
        if (!is_in_php_value)
            append(result.field, step);
        return result;
    }

private:
    static void append(std::string &text, std::string_view step)
    {
        text += step.substr(text.empty() && step.front() == '.' ? 1 : 0);
    }
};

/// Finds the differences of a pair of records.
class RecordComparison {
public:
    using Report =
        std::function<void(ComparedPlace const &place, ComparedValue const &rpc, ComparedValue const &protobuf)>;

    RecordComparison(std::set<DialectException const *> &used, Report report)
        : used_(used)
        , report_(std::move(report))
    {
    }

    // Values of the protobuf dialect do not nest, so the depth of recursion is that of the record.
    void compare(ComparedPlace const &place, ComparedValue const &rpc, ComparedValue const &protobuf)
    {
        if (rpc.json == protobuf.json || is_exception(place, rpc, protobuf))
            return;
        auto const left = parts_of(rpc);
        auto right = parts_of(protobuf);
        drop_extra_entries(place, left.size(), right);
        if (!have_same_parts(rpc, left, protobuf, right)) {
            report_(place, rpc, protobuf);
            return;
        }
        if (is_php_value(rpc.json)) {
            compare(place.php_value(), left.back().value, right.back().value);
            return;
        }
        for (std::size_t i = 0; i < left.size(); ++i) {
            if (rpc.json.front() == '{')
                compare(place.member(left[i].name), left[i].value, right[i].value);
            else
                compare_elements(place, i, left[i].value, right[i].value);
        }
    }

private:
    bool is_exception(ComparedPlace const &place, ComparedValue const &rpc, ComparedValue const &protobuf)
    {
        auto const applies = [&](DialectException const &exception) {
            return exception.applies != nullptr && exception.is_for(place.path) &&
                   exception.applies(rpc.json, protobuf.json);
        };
        auto const found = std::ranges::find_if(dialect_exceptions(), applies);
        if (found == dialect_exceptions().end())
            return false;
        used_.insert(&*found);
        return true;
    }

    /// Drops entries that only the protobuf dialect has, if `count` entries remain.
    void drop_extra_entries(ComparedPlace const &place, std::size_t count, std::vector<ComparedPart> &entries)
    {
        if (entries.size() <= count)
            return;
        for (auto const &exception : dialect_exceptions()) {
            if (exception.extra_entry.empty() || !exception.is_for(place.path))
                continue;
            auto rest = entries;
            std::erase_if(rest,
                          [&](ComparedPart const &entry) { return entry.value.json.ends_with(exception.extra_entry); });
            if (rest.size() == count) {
                entries = std::move(rest);
                used_.insert(&exception);
                return;
            }
        }
    }

    /// An element is a value, or an entry of a PHP array: a list of its key and its value.
    void compare_elements(ComparedPlace const &place, std::size_t index, ComparedValue const &rpc,
                          ComparedValue const &protobuf)
    {
        if (rpc.json.front() != '[' || protobuf.json.front() != '[') {
            compare(place.element(index), rpc, protobuf);
            return;
        }
        auto const left = parts_of(rpc);
        auto const right = parts_of(protobuf);
        auto const array = place.php_value();
        compare(array.below("[].key", fmt::format("[{}].key", index)), left.front().value, right.front().value);
        auto const key = json_parts(left.front().value.shown);
        compare(array.below("[]", key.size() == 2 ? fmt::format("[{}]", key.back().value) : fmt::format("[{}]", index)),
                left.back().value, right.back().value);
    }

    std::set<DialectException const *> &used_;
    Report report_;
};

} // namespace

std::string ComparedRecords::name() const
{
    if (kind)
        return fmt::format("{} {}", record, *kind);
    return view.empty() ? std::string(record) : fmt::format("{} {}", record, view);
}

DialectDifferences::DialectDifferences(std::function<bool(std::uint64_t number)> keeps, Masks masks,
                                       std::function<void(DialectDifference const &difference)> report, JsonStyle style)
    : style_(style)
    , keeps_(std::move(keeps))
    , masks_(std::move(masks))
    , report_(std::move(report))
    , groups_([this](Request &request) { close(request); })
{
}

// The rpc dialect reports the superglobals at the start once. In the protobuf dialect, both the first message with all
// of them and the message at the end have this state; further messages with all of them belong to events.
void DialectDifferences::add(ComparedRecords records, Dialect dialect, Json json)
{
    if (records.view == "all" && std::exchange(request_->has_first_state, true))
        return;
    pair(records, dialect, json);
    if (records.view == "init" && dialect == Dialect::rpc) {
        records.view = "all";
        pair(records, dialect, std::move(json));
    }
}

void DialectDifferences::pair(ComparedRecords const &records, Dialect dialect, Json json)
{
    auto &waiting = request_->waiting[records];
    auto const own = static_cast<std::size_t>(dialect);
    auto &others = waiting[1 - own];
    if (others.empty()) {
        waiting[own].push_back(std::move(json));
        return;
    }
    auto const other = std::move(others.front());
    others.pop_front();
    if (dialect == Dialect::rpc)
        compare(records, std::move(json), other);
    else
        compare(records, other, std::move(json));
}

void DialectDifferences::compare(ComparedRecords const &records, Json rpc, Json protobuf)
{
    ++pairs_;
    if (!masks_.are_on())
        report(*request_, {records, std::move(rpc), std::move(protobuf)});
    else if (rpc({}, {}) != protobuf({}, {}))
        request_->differing.push_back({records, std::move(rpc), std::move(protobuf)});
}

void DialectDifferences::report(Request const &request, RecordPair const &pair)
{
    auto const &[records, rpc, protobuf] = pair;
    auto const rpc_json = rpc({}, {});
    auto const protobuf_json = protobuf({}, {});
    if (rpc_json == protobuf_json)
        return;
    // Equality does not depend on the form in which values are printed.
    auto const rpc_shown = rpc(masks_, style_);
    auto const protobuf_shown = protobuf(masks_, style_);
    RecordComparison comparison(exceptions_, [&](ComparedPlace const &place, ComparedValue const &rpc_value,
                                                 ComparedValue const &protobuf_value) {
        report_({.number = request.number,
                 .request_id = request.id,
                 .records = pair.records,
                 .field = place.field,
                 .place = place.place,
                 .rpc = rpc_value.shown,
                 .protobuf = protobuf_value.shown});
    });
    comparison.compare({.path = records.name(), .field = {}, .place = {}}, {rpc_json, rpc_shown},
                       {protobuf_json, protobuf_shown});
}

void DialectDifferences::close(Request &request)
{
    masks_.select_request(request.id);
    for (auto const &pair : std::exchange(request.differing, {}))
        report(request, pair);
    for (auto const &[records, waiting] : std::exchange(request.waiting, {})) {
        for (auto const &rpc : waiting[0]) {
            auto const absence = std::ranges::find_if(
                dialect_absences(), [&](DialectAbsence const &row) { return row.is_for(records.name(), rpc({}, {})); });
            if (absence == dialect_absences().end())
                report_({request.number, request.id, records, {}, {}, rpc(masks_, style_), {}});
            else
                absences_.insert(&*absence);
        }
        for (auto const &protobuf : waiting[1])
            report_({request.number, request.id, records, {}, {}, {}, protobuf(masks_, style_)});
    }
}

} // namespace tarnwick::program
