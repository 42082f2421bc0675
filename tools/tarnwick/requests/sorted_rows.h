#pragma once

#include "requests/column.h"
#include "requests/condition.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace tarnwick::program {

/// Returns whether a row with the left value precedes one with the right value. Absent values are last in either
/// direction.
bool is_before(FieldValue const &left, FieldValue const &right, bool is_descending);

/// Keeps the first `top` rows in the order of a column. Equal rows stay in the order in which they are added.
template <class Row>
class SortedRows {
public:
    SortedRows(Column<Row> const &column, bool is_descending, std::optional<std::uint64_t> top)
        : column_(column)
        , is_descending_(is_descending)
        , top_(top)
    {
    }

    void add(Row &&row)
    {
        rows_.push_back(std::move(row));
        // Twice as many, so that sorting costs little for each.
        if (top_ && rows_.size() >= 1000 && (rows_.size() - 1000) / 2 >= *top_)
            sort();
    }

    std::vector<Row> const &sorted()
    {
        sort();
        return rows_;
    }

private:
    void sort()
    {
        std::ranges::stable_sort(rows_, [&](Row const &left, Row const &right) {
            return is_before(column_.value(left), column_.value(right), is_descending_);
        });
        if (top_ && rows_.size() > *top_)
            rows_.resize(*top_);
    }

    Column<Row> const &column_;
    bool is_descending_;
    std::optional<std::uint64_t> top_;
    std::vector<Row> rows_;
};

} // namespace tarnwick::program
