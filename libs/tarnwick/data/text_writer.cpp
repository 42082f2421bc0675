#include <tarnwick/data/text_writer.h>

#include <tarnwick/qstring_format.h>

#include <fmt/format.h>

#include <iterator>

namespace tarnwick::data {

void TextWriter::begin_record(std::string_view name)
{
    out_.append(name).push_back('{');
    first_field_ = true;
}

void TextWriter::field(std::string_view name, Sense /*sense*/)
{
    if (!first_field_)
        out_.append(", ");
    first_field_ = false;
    out_.append(name).append(": ");
}

void TextWriter::end_record()
{
    out_.push_back('}');
    first_field_ = false;
}

void TextWriter::absent()
{
    out_.append("none");
}

void TextWriter::integer(std::int64_t value)
{
    fmt::format_to(std::back_inserter(out_), "{}", value);
}

void TextWriter::integer(std::uint64_t value)
{
    fmt::format_to(std::back_inserter(out_), "{}", value);
}

void TextWriter::time(TimePair value)
{
    fmt::format_to(std::back_inserter(out_), "{{{} s, {} ns}}", value.seconds, value.nanos);
}

void TextWriter::text(QString const &value)
{
    if (value.isNull())
        out_.append("null");
    else
        fmt::format_to(std::back_inserter(out_), "{:?}", value);
}

} // namespace tarnwick::data
