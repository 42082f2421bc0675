#include <tarnwick/data/text_writer.h>

#include <tarnwick/data/double_text.h>

#include <QtCore/QString>

#include <fmt/format.h>

#include <cstddef>
#include <iterator>

namespace tarnwick::data {

void TextWriter::begin_record(std::string_view name)
{
    out_.append(name).push_back('{');
    first_ = true;
}

void TextWriter::field(std::string_view name, Sense /*sense*/)
{
    separate();
    out_.append(name).append(": ");
}

void TextWriter::end_record()
{
    out_.push_back('}');
    first_ = false;
}

void TextWriter::begin_list()
{
    out_.push_back('[');
    first_ = true;
}

void TextWriter::item()
{
    separate();
}

void TextWriter::end_list()
{
    out_.push_back(']');
    first_ = false;
}

void TextWriter::entry_value()
{
    out_.append(" => ");
}

// Not inline like the other empty operations: the symbol is exported.
void TextWriter::begin_value(std::string_view /*kind*/) {}

void TextWriter::bare_value(std::string_view kind)
{
    out_.append(kind);
}

void TextWriter::absent()
{
    out_.append("none");
}

void TextWriter::boolean(bool value)
{
    out_.append(value ? "true" : "false");
}

void TextWriter::integer(std::int64_t value)
{
    fmt::format_to(std::back_inserter(out_), "{}", value);
}

void TextWriter::integer(std::uint64_t value)
{
    fmt::format_to(std::back_inserter(out_), "{}", value);
}

void TextWriter::real(double value)
{
    out_.append(double_text(value));
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
        bytes(value.toStdString());
}

void TextWriter::bytes(std::string_view value)
{
    fmt::format_to(std::back_inserter(out_), "{:?}", value);
}

void TextWriter::json(std::string_view value)
{
    out_.append("json ");
    bytes(value);
}

void TextWriter::digits(std::string_view value)
{
    out_.append(value);
}

void TextWriter::chunk(std::string_view value)
{
    constexpr std::size_t shown = 32;
    bytes(value.substr(0, shown));
    if (value.size() > shown)
        out_.append("...");
}

void TextWriter::separate()
{
    if (!first_)
        out_.append(", ");
    first_ = false;
}

} // namespace tarnwick::data
