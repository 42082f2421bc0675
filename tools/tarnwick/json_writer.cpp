#include "json_writer.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <fmt/format.h>

#include <cmath>

namespace tarnwick::program {

void JsonWriter::clear()
{
    buffer_.Clear();
    json_.Reset(buffer_);
}

void JsonWriter::begin_record(std::string_view /*name*/)
{
    json_.StartObject();
}

void JsonWriter::field(std::string_view name, data::Sense /*sense*/)
{
    json_.Key(name.data(), static_cast<rapidjson::SizeType>(name.size()));
}

void JsonWriter::end_record()
{
    json_.EndObject();
}

void JsonWriter::begin_alternative(std::string_view name)
{
    json_.StartObject();
    field(name);
}

void JsonWriter::begin_list()
{
    json_.StartArray();
}

void JsonWriter::end_list()
{
    json_.EndArray();
}

void JsonWriter::begin_value(std::string_view kind)
{
    json_.StartObject();
    field("kind");
    string(kind);
    field("value");
}

void JsonWriter::end_value()
{
    json_.EndObject();
}

void JsonWriter::bare_value(std::string_view kind)
{
    json_.StartObject();
    field("kind");
    string(kind);
    json_.EndObject();
}

void JsonWriter::absent()
{
    json_.Null();
}

void JsonWriter::boolean(bool value)
{
    json_.Bool(value);
}

void JsonWriter::integer(std::int64_t value)
{
    json_.Int64(value);
}

void JsonWriter::integer(std::uint64_t value)
{
    json_.Uint64(value);
}

void JsonWriter::real(double value)
{
    if (std::isnan(value)) {
        string("NaN");
    } else if (std::isinf(value)) {
        string(value > 0 ? "Infinity" : "-Infinity");
    } else {
        auto const number = fmt::to_string(value);
        json_.RawValue(number.data(), number.size(), rapidjson::kNumberType);
    }
}

void JsonWriter::time(data::TimePair value)
{
    json_.StartObject();
    field("seconds");
    integer(value.seconds);
    field("nanos");
    integer(std::int64_t{value.nanos});
    json_.EndObject();
}

void JsonWriter::text(QString const &value)
{
    if (value.isNull()) {
        json_.Null();
        return;
    }
    auto const utf8 = value.toUtf8();
    string({utf8.constData(), static_cast<std::size_t>(utf8.size())});
}

void JsonWriter::bytes(std::string_view value)
{
    auto const raw = QByteArray::fromRawData(value.data(), static_cast<qsizetype>(value.size()));
    if (raw.isValidUtf8()) {
        string(value);
        return;
    }
    auto const base64 = raw.toBase64();
    json_.StartObject();
    field("base64");
    string({base64.constData(), static_cast<std::size_t>(base64.size())});
    json_.EndObject();
}

void JsonWriter::string(std::string_view utf8)
{
    json_.String(utf8.data(), static_cast<rapidjson::SizeType>(utf8.size()));
}

} // namespace tarnwick::program
