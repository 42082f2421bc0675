#pragma once

#include <tarnwick/data/time_pair.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <concepts>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace tarnwick::program {

/// A value in a database: NULL, an integer, a real number, a text or bytes.
///
/// Integers beyond the range of SQLite's become the nearest real number. A text is stored as text if it is UTF-8 without
/// NUL, otherwise as a BLOB of the same bytes, because SQLite ends texts at NUL.
class Cell {
public:
    using Value = std::variant<std::monostate, std::int64_t, double, QByteArray>;

    Cell() = default;
    Cell(bool value) // NOLINT(google-explicit-constructor): rows are lists of values
        : value_(std::int64_t{value})
    {
    }
    template <std::integral Integer>
        requires(!std::same_as<Integer, bool>)
    Cell(Integer value) // NOLINT(google-explicit-constructor)
    {
        if (std::in_range<std::int64_t>(value))
            value_ = static_cast<std::int64_t>(value);
        else
            value_ = static_cast<double>(value);
    }
    Cell(double value) // NOLINT(google-explicit-constructor)
        : value_(value)
    {
    }
    Cell(QByteArray bytes) // NOLINT(google-explicit-constructor)
        : value_(std::move(bytes))
    {
    }
    Cell(std::string_view bytes) // NOLINT(google-explicit-constructor)
        : value_(QByteArray(bytes.data(), static_cast<qsizetype>(bytes.size())))
    {
    }
    Cell(std::string const &bytes) // NOLINT(google-explicit-constructor)
        : Cell(std::string_view(bytes))
    {
    }
    /// A null text is NULL.
    Cell(QString const &text) // NOLINT(google-explicit-constructor)
    {
        if (!text.isNull())
            value_ = text.toUtf8();
    }
    /// A time is its number of nanoseconds.
    Cell(data::TimePair time); // NOLINT(google-explicit-constructor)
    template <class T>
    Cell(std::optional<T> const &value) // NOLINT(google-explicit-constructor)
    {
        if (value)
            *this = Cell(*value);
    }

    [[nodiscard]] Value const &value() const { return value_; }

private:
    Value value_;
};

using Row = std::vector<Cell>;

} // namespace tarnwick::program
