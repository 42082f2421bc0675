#include "print/readable_writer.h"

#include <tarnwick/data/double_text.h>

#include <QtCore/QString>

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

namespace tarnwick::program {
namespace {

constexpr std::size_t value_column = 17; // counted from the name of the field

} // namespace

void ReadableWriter::clear()
{
    out_.clear();
    depth_ = 1;
}

void ReadableWriter::headline(std::string_view name, std::string_view origin)
{
    if (color_)
        fmt::format_to(std::back_inserter(out_), "\x1b[1;36m{}\x1b[0m  \x1b[2m{}\x1b[0m", name, origin);
    else
        fmt::format_to(std::back_inserter(out_), "{}  {}", name, origin);
}

void ReadableWriter::row(std::string_view text)
{
    ++depth_;
    line();
    --depth_;
    out_.append(text);
}

void ReadableWriter::begin_record(std::string_view /*name*/)
{
    ++depth_;
}

void ReadableWriter::field(std::string_view name, data::Sense sense)
{
    sense_ = sense;
    line();
    out_.append(name);
    gap_ = std::max(value_column, name.size() + 1) - name.size();
}

void ReadableWriter::end_record()
{
    --depth_;
}

void ReadableWriter::begin_alternative(std::string_view name)
{
    value(name);
}

void ReadableWriter::begin_list()
{
    ++depth_;
    list_is_empty_ = true;
}

void ReadableWriter::item()
{
    list_is_empty_ = false;
    line();
    out_.append("-");
    gap_ = 1;
}

void ReadableWriter::end_list()
{
    --depth_;
    if (list_is_empty_)
        value("[]");
    list_is_empty_ = false;
}

void ReadableWriter::entry_value()
{
    out_.append(" =>");
    gap_ = 1;
}

void ReadableWriter::bare_value(std::string_view kind)
{
    value(kind);
}

void ReadableWriter::label(std::string_view meaning)
{
    value(fmt::format("({})", meaning));
}

void ReadableWriter::absent()
{
    value("-");
}

void ReadableWriter::boolean(bool flag)
{
    value(flag ? "true" : "false");
}

void ReadableWriter::integer(std::int64_t number)
{
    value(fmt::to_string(number));
}

void ReadableWriter::integer(std::uint64_t number)
{
    value(fmt::to_string(number));
}

void ReadableWriter::real(double number)
{
    value(data::double_text(number));
}

void ReadableWriter::time(data::TimePair pair)
{
    switch (sense_) {
    case data::Sense::instant:
        value(instant_text(pair));
        break;
    case data::Sense::span:
        value(span_text(pair));
        break;
    case data::Sense::plain:
    case data::Sense::id:
        value(stored_text(pair));
        break;
    }
}

void ReadableWriter::text(QString const &string)
{
    if (string.isNull())
        absent();
    else
        quoted(QStringView(string));
}

void ReadableWriter::bytes(std::string_view string)
{
    quoted(string);
}

void ReadableWriter::json(std::string_view text)
{
    value("json");
    bytes(text);
}

void ReadableWriter::line()
{
    out_ += '\n';
    out_.append(2 * depth_, ' ');
}

void ReadableWriter::value(std::string_view text)
{
    out_.append(gap_, ' ').append(text);
    gap_ = 1;
}

template <class Text>
void ReadableWriter::quoted(Text text)
{
    value({});
    append_quoted(out_, text, length_);
}

} // namespace tarnwick::program
