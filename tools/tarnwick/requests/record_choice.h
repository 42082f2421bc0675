#pragma once

#include "requests/condition.h"
#include "requests/record_fields.h"

#include <tarnwick/data/records.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

namespace tarnwick::program {

/// The position of a record in `ReportRecords`.
template <class Record>
constexpr std::size_t record_index = [] {
    std::size_t index = 0;
    bool is_found = false;
    data::for_each_type(data::ReportRecords(), [&]<class Other> {
        is_found = is_found || std::is_same_v<Record, Other>;
        index += is_found ? 0 : 1;
    });
    return index;
}();

/// Number of records that reports feed.
inline constexpr std::size_t record_count = [] {
    std::size_t count = 0;
    data::for_each_type(data::ReportRecords(), [&]<class> { ++count; });
    return count;
}();

/// Which records are wanted. A record has the conditions of its fields; one without such a field is not wanted.
class RecordChoice {
public:
    /// All records.
    RecordChoice();
    /// Records with these names (`php.RInit` or `RInit`; all if empty) that fulfil all conditions. Throws
    /// `std::invalid_argument` for an unknown name or field, and for a condition that does not fit its field.
    RecordChoice(std::vector<std::string> const &names, std::vector<std::string> const &conditions);

    template <class Record>
    [[nodiscard]] bool wants() const
    {
        return conditions_[record_index<Record>].has_value();
    }

    template <class Record>
    [[nodiscard]] bool fits(data::payload_of_t<Record> const &record) const
    {
        auto const &conditions = conditions_[record_index<Record>];
        return !conditions || std::ranges::all_of(*conditions, [&](Condition const &condition) {
            return any_value(record, condition.field(),
                             [&](FieldValue const &value) { return condition.holds(value); });
        });
    }

private:
    std::array<std::optional<std::vector<Condition>>, record_count> conditions_; ///< absent: not wanted
};

} // namespace tarnwick::program
