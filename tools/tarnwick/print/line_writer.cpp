#include "print/line_writer.h"

#include <tarnwick/data/double_text.h>

#include <QtCore/QString>

#include <fmt/format.h>

namespace tarnwick::program {

void LineWriter::field(std::string_view name, data::Sense /*sense*/)
{
    separate();
    out_ += name;
    out_ += ": ";
}

void LineWriter::integer(std::int64_t number)
{
    value(fmt::to_string(number));
}

void LineWriter::integer(std::uint64_t number)
{
    value(fmt::to_string(number));
}

void LineWriter::real(double number)
{
    value(data::double_text(number));
}

void LineWriter::time(data::TimePair pair)
{
    value(stored_text(pair));
}

void LineWriter::text(QString const &string)
{
    if (string.isNull())
        absent();
    else if (has_quotes_)
        append_quoted(out_, QStringView(string), length_);
    else
        value(escaped_text(string.toStdString()));
}

void LineWriter::bytes(std::string_view string)
{
    if (has_quotes_)
        append_quoted(out_, string, length_);
    else
        value(escaped_text(string));
}

void LineWriter::json(std::string_view text)
{
    value("json ");
    bytes(text);
}

void LineWriter::open(char bracket)
{
    out_ += bracket;
    is_first_ = true;
}

void LineWriter::close(char bracket)
{
    out_ += bracket;
    is_first_ = false;
}

void LineWriter::separate()
{
    if (!is_first_)
        out_ += ", ";
    is_first_ = false;
}

} // namespace tarnwick::program
