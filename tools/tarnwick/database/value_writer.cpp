#include "database/value_writer.h"

#include <fmt/format.h>

#include <string>
#include <utility>

namespace tarnwick::program {

Cell ValueWriter::take()
{
    return std::exchange(cell_, {});
}

void ValueWriter::begin_record(std::string_view /*name*/)
{
    json_.begin_record({});
    ++depth_;
}

void ValueWriter::field(std::string_view name, data::Sense /*sense*/)
{
    // A field around the value only selects what is masked.
    if (depth_ > 0)
        json_.field(name);
}

void ValueWriter::end_record()
{
    json_.end_record();
    if (--depth_ > 0)
        return;
    cell_ = Cell(json_.line());
    json_.clear();
}

template <class Value, class Write>
void ValueWriter::scalar(Value const &value, Write &&write)
{
    if (is_key_) {
        if constexpr (std::is_same_v<Value, std::string_view>)
            // Names of members are UTF-8.
            json_.member(QString::fromUtf8(value.data(), static_cast<qsizetype>(value.size())).toStdString());
        else
            json_.field(fmt::to_string(value));
    } else if (depth_ > 0) {
        write(json_);
    } else {
        cell_ = Cell(value);
    }
}

void ValueWriter::absent()
{
    if (is_key_)
        json_.member("");
    else if (depth_ > 0)
        json_.absent();
    else
        cell_ = {};
}

void ValueWriter::boolean(bool value)
{
    scalar(value, [&](JsonWriter &writer) { writer.boolean(value); });
}

void ValueWriter::integer(std::int64_t value)
{
    scalar(value, [&](JsonWriter &writer) { writer.integer(value); });
}

void ValueWriter::integer(std::uint64_t value)
{
    scalar(value, [&](JsonWriter &writer) { writer.integer(value); });
}

void ValueWriter::real(double value)
{
    // SQLite has no NaN.
    if (depth_ == 0 && value != value)
        cell_ = Cell(std::string_view("NaN"));
    else
        scalar(value, [&](JsonWriter &writer) { writer.real(value); });
}

void ValueWriter::time(data::TimePair value)
{
    if (depth_ > 0)
        json_.time(value);
    else
        cell_ = Cell(value);
}

void ValueWriter::text(QString const &value)
{
    if (value.isNull())
        absent();
    else
        bytes(value.toStdString());
}

void ValueWriter::bytes(std::string_view value)
{
    scalar(value, [&](JsonWriter &writer) { writer.bytes(value); });
}

} // namespace tarnwick::program
