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

/// The order of rows, and how many of them are wanted.
template <class Row>
struct RowOrder {
    Column<Row> const *column = nullptr; ///< no order if null
    bool is_descending = false;
    std::optional<std::uint64_t> top; ///< all if absent
};

/// Keeps the first rows of an order. Equal rows stay in the order in which they are added.
template <class Row>
class SortedRows {
public:
    explicit SortedRows(RowOrder<Row> const &order)
        : order_(order)
    {
    }

    void add(Row &&row)
    {
        rows_.push_back(std::move(row));
        // Twice as many, so that sorting costs little for each.
        auto const &top = order_.top;
        if (top && rows_.size() >= 1000 && (rows_.size() - 1000) / 2 >= *top)
            sort();
    }

    /// Returns the rows in their order. Afterwards there is none.
    std::vector<Row> take()
    {
        sort();
        return std::exchange(rows_, {});
    }

private:
    void sort()
    {
        auto const &[column, is_descending, top] = order_;
        if (column != nullptr) {
            std::ranges::stable_sort(rows_, [&](Row const &left, Row const &right) {
                return is_before(column->value(left), column->value(right), is_descending);
            });
        }
        if (top && rows_.size() > *top)
            rows_.resize(*top);
    }

    RowOrder<Row> order_;
    std::vector<Row> rows_;
};

} // namespace tarnwick::program
