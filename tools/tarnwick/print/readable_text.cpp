#include "print/readable_text.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>

namespace tarnwick::program {
namespace {

constexpr std::size_t longest_text = 240; // in bytes
constexpr std::int64_t nanos_per_second = 1'000'000'000;
constexpr std::int64_t last_second_of_year_9999 = 253'402'300'799;

bool is_printable_ascii(char c)
{
    return c >= ' ' && c <= '~';
}

std::string quoted(std::string_view text)
{
    // {fmt} takes many times as long.
    constexpr std::string_view escaped = "\"\\\n\r\t";
    constexpr std::string_view letters = "\"\\nrt";
    std::string quoted = "\"";
    quoted.reserve(text.size() + 2);
    for (std::size_t copied = 0; copied < text.size();) {
        auto const rest = text.substr(copied);
        auto const *const special =
            std::ranges::find_if(rest, [](char c) { return !is_printable_ascii(c) || c == '"' || c == '\\'; });
        quoted.append(rest.begin(), special);
        if (special == rest.end())
            break;
        auto const letter = escaped.find(*special);
        if (letter == std::string_view::npos)
            return fmt::format("{:?}", text);
        (quoted += '\\') += letters[letter];
        copied = static_cast<std::size_t>(special - text.begin()) + 1;
    }
    return quoted += '"';
}

/// Quotes a text of `size` bytes. REQUIRES: `start` is the whole text, or a start longer than `longest_text`.
std::string quoted_start(std::string_view start, std::size_t size)
{
    if (size <= longest_text)
        return quoted(start);
    auto end = longest_text;
    auto const continues_a_character = [](char byte) { return (static_cast<unsigned char>(byte) & 0xc0U) == 0x80U; };
    while (end > 0 && continues_a_character(start[end]))
        --end;
    return fmt::format("{} and {} bytes more", quoted(start.substr(0, end)), size - end);
}

std::size_t utf8_size(QStringView text)
{
    std::size_t size = 0;
    for (auto const unit : text) {
        if (unit.unicode() < 0x80)
            size += 1;
        else if (unit.unicode() < 0x800 || unit.isSurrogate()) // two surrogates are four bytes
            size += 2;
        else
            size += 3;
    }
    return size;
}

} // namespace

bool is_normal(data::TimePair value)
{
    return value.nanos >= 0 && value.nanos < nanos_per_second;
}

std::string stored_text(data::TimePair value)
{
    return fmt::format("{} s, {} ns", value.seconds, value.nanos);
}

std::string instant_text(data::TimePair value)
{
    if (value == data::TimePair())
        return "-";
    if (!is_normal(value) || value.seconds < 0 || value.seconds > last_second_of_year_9999)
        return stored_text(value);
    // {fmt} counts nanoseconds in 64 bits, which overflow in 2262.
    auto const seconds = std::chrono::sys_seconds(std::chrono::seconds(value.seconds));
    auto const midnight = std::chrono::floor<std::chrono::days>(seconds);
    std::chrono::year_month_day const date(midnight);
    std::chrono::hh_mm_ss const time(seconds - midnight);
    return fmt::format("{:04}-{:02}-{:02} {:02}:{:02}:{:02}.{:09} UTC", static_cast<int>(date.year()),
                       static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()), time.hours().count(),
                       time.minutes().count(), time.seconds().count(), value.nanos);
}

std::string span_text(data::TimePair value)
{
    if (!is_normal(value) || value.seconds < 0)
        return stored_text(value);
    if (value.seconds > 0)
        return fmt::format("{}.{:09} s", value.seconds, value.nanos);
    if (value.nanos >= 1'000'000)
        return fmt::format("{}.{:06} ms", value.nanos / 1'000'000, value.nanos % 1'000'000);
    return fmt::format("{}.{:03} µs", value.nanos / 1'000, value.nanos % 1'000);
}

std::string quoted_text(std::string_view bytes, TextLength length)
{
    return length == TextLength::whole ? quoted(bytes) : quoted_start(bytes, bytes.size());
}

// Converts only the printed start, because a text can be much longer.
std::string quoted_text(QStringView text, TextLength length)
{
    constexpr auto longest_start = static_cast<qsizetype>(longest_text) + 2; // the last character can be half of a pair
    if (length == TextLength::whole || text.size() <= longest_start)
        return quoted_text(text.toUtf8().toStdString(), length);
    return quoted_start(text.first(longest_start).toUtf8().toStdString(), utf8_size(text));
}

std::string escaped_text(std::string_view bytes)
{
    if (std::ranges::all_of(bytes, is_printable_ascii))
        return std::string(bytes);
    auto const quoted = fmt::format("{:?}", bytes);
    std::string escaped;
    for (std::size_t at = 1; at + 1 < quoted.size(); ++at) {
        if (quoted[at] == '\\' && (quoted[at + 1] == '"' || quoted[at + 1] == '\\'))
            ++at;
        escaped += quoted[at];
    }
    return escaped;
}

std::string place_text(data::php::SourceLocation const &location, Masks const &masks)
{
    auto const line_extra = location.line_extra() == 0 ? "" : fmt::format(":{}", location.line_extra());
    return fmt::format("{}:{}{}", quoted_text(masks.name(location.file().toStdString())), location.line(), line_extra);
}

} // namespace tarnwick::program
