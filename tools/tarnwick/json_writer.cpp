#include "json_writer.h"

#include <QtCore/QString>

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

void JsonWriter::absent()
{
    json_.Null();
}

void JsonWriter::integer(std::int64_t value)
{
    json_.Int64(value);
}

void JsonWriter::integer(std::uint64_t value)
{
    json_.Uint64(value);
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
    text(std::string_view(utf8.constData(), static_cast<std::size_t>(utf8.size())));
}

void JsonWriter::text(std::string_view utf8)
{
    json_.String(utf8.data(), static_cast<rapidjson::SizeType>(utf8.size()));
}

} // namespace tarnwick::program
