#pragma once

#include <gtest/gtest.h>

#include <iterator>
#include <ostream>
#include <ranges>
#include <string>
#include <utility>
#include <vector>

namespace tarnwick::test {

/// A row of a table of cases. It has a `name`, as which GoogleTest prints it.
template <class Row>
struct Named : Row {
    Named(Row row)
        : Row(std::move(row))
    {
    }
    friend void PrintTo(Named const &row, std::ostream *out) { *out << row.name; }
};

/// A fixture whose tests run for each row of a table.
template <class Row>
using TableTest = testing::TestWithParam<Named<Row>>;

/// The parameters of a `TableTest`.
template <class Table>
auto rows(Table const &table)
{
    return testing::ValuesIn(
        std::vector<Named<std::ranges::range_value_t<Table>>>(std::ranges::begin(table), std::ranges::end(table)));
}

/// Names each instance of a `TableTest` after its row.
inline constexpr auto by_name = [](auto const &instance) { return std::string(instance.param.name); };

} // namespace tarnwick::test
