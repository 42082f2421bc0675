#include "print/readable_text.h"

#include "print/byte_words.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <iterator>

namespace tarnwick::program {
namespace {

constexpr std::size_t longest_text = 240; // in bytes
constexpr std::int64_t nanos_per_second = 1'000'000'000;
constexpr std::int64_t last_second_of_year_9999 = 253'402'300'799;

/// Whether a byte, or each byte of a word, is the same in a quoted text.
constexpr auto is_copied = [](auto bytes) {
    if constexpr (sizeof bytes == 1)
        return is_printable_ascii(bytes) && bytes != '"' && bytes != '\\';
    else
        return is_printable_ascii(bytes) && !has_byte(bytes, '"') && !has_byte(bytes, '\\');
};

void append_whole(std::string &out, std::string_view text)
{
    // {fmt} takes many times as long.
    constexpr std::string_view escaped = "\"\\\n\r\t";
    constexpr std::string_view letters = "\"\\nrt";
    auto const begin = out.size();
    out += '"';
    for (auto rest = text; !rest.empty(); rest.remove_prefix(1)) {
        auto const size = size_of_start(rest, is_copied);
        out.append(rest, 0, size);
        rest.remove_prefix(size);
        if (rest.empty())
            break;
        auto const letter = escaped.find(rest.front());
        if (letter == std::string_view::npos) {
            out.resize(begin);
            fmt::format_to(std::back_inserter(out), "{:?}", text);
            return;
        }
        (out += '\\') += letters[letter];
    }
    out += '"';
}

/// Appends a text of `size` bytes in quotes. REQUIRES: `start` is the whole text, or a start longer than `longest_text`.
void append_start(std::string &out, std::string_view start, std::size_t size)
{
    if (size <= longest_text) {
        append_whole(out, start);
        return;
    }
    auto end = longest_text;
    auto const continues_a_character = [](char byte) { return (static_cast<unsigned char>(byte) & 0xc0U) == 0x80U; };
    while (end > 0 && continues_a_character(start[end]))
        --end;
    append_whole(out, start.substr(0, end));
    fmt::format_to(std::back_inserter(out), " and {} bytes more", size - end);
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

void append_quoted(std::string &out, std::string_view bytes, TextLength length)
{
    if (length == TextLength::whole)
        append_whole(out, bytes);
    else
        append_start(out, bytes, bytes.size());
}

// Converts only the printed start, because a text can be much longer.
void append_quoted(std::string &out, QStringView text, TextLength length)
{
    constexpr auto longest_start = static_cast<qsizetype>(longest_text) + 2; // the last character can be half of a pair
    bool const is_whole = length == TextLength::whole || text.size() <= longest_start;
    auto const utf8 = (is_whole ? text : text.first(longest_start)).toUtf8();
    std::string_view const start(utf8.constData(), static_cast<std::size_t>(utf8.size()));
    if (is_whole)
        append_quoted(out, start, length);
    else
        append_start(out, start, utf8_size(text));
}

std::string quoted_text(std::string_view bytes, TextLength length)
{
    std::string quoted;
    append_quoted(quoted, bytes, length);
    return quoted;
}

std::string escaped_text(std::string_view bytes)
{
    if (std::ranges::all_of(bytes, [](char byte) { return is_printable_ascii(byte); }))
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
