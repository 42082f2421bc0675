#include "requests/condition.h"

#include "requests/quantity.h"

#include <fmt/format.h>

#include <QtCore/QDateTime>
#include <QtCore/QString>
#include <QtCore/QTimeZone>

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <optional>
#include <stdexcept>
#include <utility>

namespace tarnwick::program {
namespace {

std::optional<long double> read_instant(std::string_view text)
{
    auto time =
        QDateTime::fromString(QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())), Qt::ISODateWithMs);
    if (!time.isValid())
        return std::nullopt;
    if (time.timeSpec() == Qt::LocalTime)
        time.setTimeZone(QTimeZone::UTC);
    return static_cast<long double>(time.toMSecsSinceEpoch()) * 1e6L;
}

template <class Value>
Value required(std::optional<Value> value, std::string_view text, std::string_view field, std::string_view what)
{
    if (!value)
        throw std::invalid_argument(fmt::format("{} is {}, not '{}'", field, what, text));
    return *value;
}

bool is_name_character(char character)
{
    return std::isalnum(static_cast<unsigned char>(character)) != 0 || character == '_' || character == '.';
}

} // namespace

long double nanoseconds(data::TimePair time)
{
    return static_cast<long double>(time.seconds) * 1e9L + static_cast<long double>(time.nanos);
}

Condition::Condition(std::string_view text)
{
    constexpr std::array<std::pair<std::string_view, Operator>, 9> operators{{
        {"!=", Operator::not_equal},
        {"<=", Operator::at_most},
        {">=", Operator::at_least},
        {"==", Operator::equal},
        {"=", Operator::equal},
        {"<", Operator::less},
        {">", Operator::greater},
        {"~", Operator::matches},
        {"", Operator::present},
    }};
    auto rest = text;
    bool const is_negated = rest.starts_with('!');
    if (is_negated)
        rest.remove_prefix(1);
    auto const *const end = std::ranges::find_if_not(rest, is_name_character);
    field_ = std::string(rest.begin(), end);
    rest.remove_prefix(field_.size());
    auto const *const found =
        std::ranges::find_if(operators, [&](auto const &entry) { return rest.starts_with(entry.first); });
    operator_ = found->second;
    operator_text_ = found->first;
    value_ = rest.substr(found->first.size());
    bool const is_presence = operator_ == Operator::present;
    if (field_.empty() || (is_presence && !rest.empty()) || (is_negated && !is_presence))
        throw std::invalid_argument(
            fmt::format("'{}' is not a condition: write FIELD, !FIELD or FIELD OP VALUE, where OP "
                        "is one of =, !=, <, <=, >, >=, ~, without spaces",
                        text));
    if (is_negated)
        operator_ = Operator::absent;
}

void Condition::set_type(FieldType type)
{
    if (operator_ == Operator::present || operator_ == Operator::absent)
        return;
    bool const orders = operator_ != Operator::equal && operator_ != Operator::not_equal;
    bool const is_matched = operator_ == Operator::matches;
    switch (type) {
    case FieldType::number:
        number_ = required(read_size(value_), value_, field_, "a number, optionally with a unit such as kB, MB or MiB");
        break;
    case FieldType::span:
        number_ = required(read_span(value_), value_, field_, "a length of time with a unit (ns, us, ms, s, min or h)");
        break;
    case FieldType::instant:
        number_ = required(read_instant(value_), value_, field_, "a point in time, such as 2026-11-22T10:30:00Z");
        break;
    case FieldType::boolean:
        if ((value_ != "true" && value_ != "false") || orders)
            throw std::invalid_argument(
                fmt::format("{} is true or false: write {}=true or {}=false", field_, field_, field_));
        boolean_ = value_ == "true";
        return;
    case FieldType::text:
        if (is_matched) {
            pattern_.setPattern(QString::fromStdString(value_));
            if (!pattern_.isValid())
                throw std::invalid_argument(
                    fmt::format("'{}' is not a regular expression: {}", value_, pattern_.errorString().toStdString()));
        } else if (orders) {
            throw std::invalid_argument(
                fmt::format("{} is a text, which cannot be compared with {}: use =, != or ~", field_, operator_text_));
        }
        return;
    case FieldType::other:
        throw std::invalid_argument(fmt::format(
            "{} has no single value: only {} (present) and !{} (absent) are possible", field_, field_, field_));
    }
    if (is_matched)
        throw std::invalid_argument(fmt::format("{} is not a text: ~ is for texts", field_));
}

bool Condition::compares(long double value) const
{
    switch (operator_) {
    case Operator::equal:
        return value == number_;
    case Operator::not_equal:
        return value != number_;
    case Operator::less:
        return value < number_;
    case Operator::at_most:
        return value <= number_;
    case Operator::greater:
        return value > number_;
    case Operator::at_least:
        return value >= number_;
    default:
        return false;
    }
}

bool Condition::holds(FieldValue const &value) const
{
    bool const is_present = !std::holds_alternative<std::monostate>(value);
    if (operator_ == Operator::present || operator_ == Operator::absent) {
        auto const *boolean = std::get_if<bool>(&value);
        return (boolean != nullptr ? *boolean : is_present) == (operator_ == Operator::present);
    }
    if (auto const *number = std::get_if<long double>(&value))
        return compares(*number);
    if (auto const *boolean = std::get_if<bool>(&value))
        return (*boolean == boolean_) == (operator_ == Operator::equal);
    if (auto const *text = std::get_if<std::string_view>(&value)) {
        if (operator_ == Operator::matches)
            return pattern_.match(QString::fromUtf8(text->data(), static_cast<qsizetype>(text->size()))).hasMatch();
        return (*text == value_) == (operator_ == Operator::equal);
    }
    return false;
}

} // namespace tarnwick::program
