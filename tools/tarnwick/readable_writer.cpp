#include "readable_writer.h"

#include <tarnwick/data/double_text.h>

#include <QtCore/QString>

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <iterator>

namespace tarnwick::program {
namespace {

constexpr std::size_t value_column = 17;  // from where the name of the field begins
constexpr std::size_t longest_text = 240; // in bytes
constexpr std::int64_t nanos_per_second = 1'000'000'000;
constexpr std::int64_t last_second_of_year_9999 = 253'402'300'799;

bool is_normal(data::TimePair value)
{
    return value.nanos >= 0 && value.nanos < nanos_per_second;
}

std::string as_stored(data::TimePair value)
{
    return fmt::format("{} s, {} ns", value.seconds, value.nanos);
}

std::string instant(data::TimePair value)
{
    if (!is_normal(value) || value.seconds < 0 || value.seconds > last_second_of_year_9999)
        return as_stored(value);
    // {fmt} would count nanoseconds, which end in 2262.
    auto const seconds = std::chrono::sys_seconds(std::chrono::seconds(value.seconds));
    auto const midnight = std::chrono::floor<std::chrono::days>(seconds);
    std::chrono::year_month_day const date(midnight);
    std::chrono::hh_mm_ss const time(seconds - midnight);
    return fmt::format("{:04}-{:02}-{:02} {:02}:{:02}:{:02}.{:09} UTC", static_cast<int>(date.year()),
                       static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()), time.hours().count(),
                       time.minutes().count(), time.seconds().count(), value.nanos);
}

std::string span(data::TimePair value)
{
    if (!is_normal(value) || value.seconds < 0)
        return as_stored(value);
    if (value.seconds > 0)
        return fmt::format("{}.{:09} s", value.seconds, value.nanos);
    if (value.nanos >= 1'000'000)
        return fmt::format("{}.{:06} ms", value.nanos / 1'000'000, value.nanos % 1'000'000);
    return fmt::format("{}.{:03} µs", value.nanos / 1'000, value.nanos % 1'000);
}

std::string quoted(std::string_view bytes)
{
    if (bytes.size() <= longest_text)
        return fmt::format("{:?}", bytes);
    auto end = longest_text;
    auto const continues_a_character = [](char byte) { return (static_cast<unsigned char>(byte) & 0xc0U) == 0x80U; };
    while (end > 0 && continues_a_character(bytes[end]))
        --end;
    return fmt::format("{:?} and {} bytes more", bytes.substr(0, end), bytes.size() - end);
}

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

void ReadableWriter::begin_value(std::string_view kind)
{
    if (kind == "json")
        value(kind);
}

void ReadableWriter::bare_value(std::string_view kind)
{
    value(kind);
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
        value(instant(pair));
        break;
    case data::Sense::span:
        value(span(pair));
        break;
    case data::Sense::plain:
        value(as_stored(pair));
        break;
    }
}

void ReadableWriter::text(QString const &string)
{
    if (string.isNull())
        absent();
    else
        bytes(string.toStdString());
}

void ReadableWriter::bytes(std::string_view string)
{
    value(quoted(string));
}

void ReadableWriter::line()
{
    fmt::format_to(std::back_inserter(out_), "\n{:{}}", "", 2 * depth_);
}

void ReadableWriter::value(std::string_view text)
{
    fmt::format_to(std::back_inserter(out_), "{:{}}{}", "", gap_, text);
    gap_ = 1;
}

} // namespace tarnwick::program
