#pragma once

#include <tarnwick/data/time_pair.h>

#include <QtCore/QRegularExpression>

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

namespace tarnwick::program {

/// What a condition can compare a field with.
enum class FieldType : std::uint8_t {
    number,
    text,
    boolean,
    instant, ///< a point in time
    span,    ///< a length of time
    other,   ///< only present or absent
};

/// A value that can only be present.
struct OtherValue {};

/// Value of a field: absent, a number, a text, a boolean, or a value that cannot be compared. Times are numbers of
/// nanoseconds.
using FieldValue = std::variant<std::monostate, long double, std::string_view, bool, OtherValue>;

long double nanoseconds(data::TimePair time);

/// A condition on a field, as `--where` takes it:
///
/// | Form                                  | Meaning                                                           |
/// |---------------------------------------|-------------------------------------------------------------------|
/// | `FIELD`, `!FIELD`                     | the field is present (a boolean is true), or not                  |
/// | `FIELD=VALUE`, `FIELD!=VALUE`         | the value is this, or not                                         |
/// | `FIELD<VALUE`, also `<=`, `>`, `>=`   | a number or a time is smaller, at most, larger, at least          |
/// | `FIELD~PATTERN`                       | a part of the text matches a regular expression                   |
///
/// Numbers can have a unit of size (`MB` is 10^6, `MiB` is 2^20); lengths of time need a unit (`200ms`). Points in time
/// are written as `2026-11-22T10:30:00Z`. An absent field fulfils only `!FIELD`.
class Condition {
public:
    /// Throws `std::invalid_argument` for a text that is not a condition.
    explicit Condition(std::string_view text);

    [[nodiscard]] std::string const &field() const { return field_; }

    /// Reads the value as one of the field's type. Throws `std::invalid_argument` if it is not. REQUIRED before `holds`.
    void set_type(FieldType type);

    [[nodiscard]] bool holds(FieldValue const &value) const;

private:
    enum class Operator : std::uint8_t { present, absent, equal, not_equal, less, at_most, greater, at_least, matches };

    [[nodiscard]] bool compares(long double value) const;

    std::string field_;
    std::string operator_text_;
    std::string value_;
    Operator operator_ = Operator::present;
    long double number_ = 0;
    bool boolean_ = false;
    QRegularExpression pattern_;
};

} // namespace tarnwick::program
