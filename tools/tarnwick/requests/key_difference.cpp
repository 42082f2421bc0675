#include "requests/key_difference.h"

#include <tarnwick/data/php/request_headers.h>
#include <tarnwick/data/php/response_headers.h>
#include <tarnwick/data/php/superglobals.h>
#include <tarnwick/data/php/zval.h>

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <variant>

namespace tarnwick::program {
namespace {

using data::php::PelorinArray;

std::string key_text(data::php::ZVal const &key)
{
    if (auto const *text = std::get_if<std::string>(&key->value()))
        return *text;
    if (auto const *number = std::get_if<std::int64_t>(&key->value()))
        return fmt::to_string(*number);
    return "undefined";
}

/// Adds the keys that a result of `diff_keys` has. `other` is the argument of that call. The result shares keys and
/// whole values with it, and has new arrays for those that differ in part.
void add_keys(PelorinArray const &result, PelorinArray const &other, KeyDifference &current,
              std::vector<KeyDifference> &differences)
{
    auto element = other->elements().begin();
    for (auto const &[key, value] : result->elements()) {
        element = std::ranges::find_if(element, other->elements().end(),
                                       [&](auto const &candidate) { return candidate.first == key; });
        current.path.push_back(key_text(key));
        if (element->second == value)
            differences.push_back(current);
        else
            add_keys(std::get<PelorinArray>(value->value()), std::get<PelorinArray>(element->second->value()), current,
                     differences);
        current.path.pop_back();
        ++element;
    }
}

template <class Record>
struct ArraySource {
    std::string_view name;
    std::string_view view;
    PelorinArray const &(*array)(Record const &record);
};

template <class Record>
PelorinArray const *find_array(ArraySource<Record> const &source, RequestRecords const &request)
{
    auto const &records = request.of_either<Record>();
    auto const found = std::ranges::find(records, source.view, &ReportedRecord<Record>::view);
    return found == records.end() ? nullptr : &source.array(found->record);
}

template <class Record>
void compare_arrays(ArraySource<Record> const &source, RequestRecords const &a, RequestRecords const &b,
                    std::vector<KeyDifference> &differences)
{
    auto const *array_a = find_array(source, a);
    auto const *array_b = find_array(source, b);
    if (array_a == nullptr || array_b == nullptr)
        return;
    KeyDifference current{source.name, false, {}};
    add_keys((*array_b)->diff_keys(**array_a), *array_a, current, differences);
    current.is_in_b = true;
    add_keys((*array_a)->diff_keys(**array_b), *array_b, current, differences);
}

} // namespace

std::vector<KeyDifference> compare_keys(RequestRecords const &a, RequestRecords const &b)
{
    using namespace data::php;
    constexpr auto headers = [](auto const &record) -> PelorinArray const & { return record->headers(); };
    constexpr auto values = [](Superglobals const &record) -> PelorinArray const & { return record->values(); };
    std::vector<KeyDifference> differences;
    compare_arrays<RequestHeaders>({"request headers", "", headers}, a, b, differences);
    compare_arrays<ResponseHeaders>({"response headers", "", headers}, a, b, differences);
    compare_arrays<Superglobals>({"superglobals", "init", values}, a, b, differences);
    compare_arrays<Superglobals>({"changed superglobals", "change", values}, a, b, differences);
    compare_arrays<Superglobals>({"monitored superglobals", "all", values}, a, b, differences);
    return differences;
}

} // namespace tarnwick::program
