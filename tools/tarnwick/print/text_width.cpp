#include "print/text_width.h"

#include "print/byte_words.h"

#include <fmt/format.h>

#include <QtCore/QChar>

#include <algorithm>
#include <bit>
#include <iterator>
#include <utility>
#include <vector>

namespace tarnwick::program {
namespace {

struct Range {
    char32_t first;
    char32_t last;
};

// Characters that Unicode 14 classifies as wide or fullwidth. From U+1F300 on, whole blocks.
constexpr Range wide[] = {
    {0x1100, 0x115f},   {0x231a, 0x231b},   {0x2329, 0x232a},   {0x23e9, 0x23ec},   {0x23f0, 0x23f0},
    {0x23f3, 0x23f3},   {0x25fd, 0x25fe},   {0x2614, 0x2615},   {0x2648, 0x2653},   {0x267f, 0x267f},
    {0x2693, 0x2693},   {0x26a1, 0x26a1},   {0x26aa, 0x26ab},   {0x26bd, 0x26be},   {0x26c4, 0x26c5},
    {0x26ce, 0x26ce},   {0x26d4, 0x26d4},   {0x26ea, 0x26ea},   {0x26f2, 0x26f3},   {0x26f5, 0x26f5},
    {0x26fa, 0x26fa},   {0x26fd, 0x26fd},   {0x2705, 0x2705},   {0x270a, 0x270b},   {0x2728, 0x2728},
    {0x274c, 0x274c},   {0x274e, 0x274e},   {0x2753, 0x2755},   {0x2757, 0x2757},   {0x2795, 0x2797},
    {0x27b0, 0x27b0},   {0x27bf, 0x27bf},   {0x2b1b, 0x2b1c},   {0x2b50, 0x2b50},   {0x2b55, 0x2b55},
    {0x2e80, 0x303e},   {0x3041, 0x3247},   {0x3250, 0x4dbf},   {0x4e00, 0xa4c6},   {0xa960, 0xa97c},
    {0xac00, 0xd7a3},   {0xf900, 0xfad9},   {0xfe10, 0xfe19},   {0xfe30, 0xfe6b},   {0xff01, 0xff60},
    {0xffe0, 0xffe6},   {0x16fe0, 0x1b2fb}, {0x1f004, 0x1f004}, {0x1f0cf, 0x1f0cf}, {0x1f18e, 0x1f18e},
    {0x1f191, 0x1f19a}, {0x1f200, 0x1f265}, {0x1f300, 0x1f64f}, {0x1f680, 0x1f6ff}, {0x1f7e0, 0x1f7f0},
    {0x1f900, 0x1f9ff}, {0x1fa70, 0x1faff}, {0x20000, 0x3fffd},
};

bool is_wide(char32_t character)
{
    auto const *const range = std::ranges::lower_bound(wide, character, {}, &Range::last);
    return range != std::end(wide) && character >= range->first;
}

bool is_combining(char32_t character)
{
    constexpr Range hangul_vowels_and_finals{0x1160, 0x11ff};
    auto const category = QChar::category(character);
    return category == QChar::Mark_NonSpacing || category == QChar::Mark_Enclosing ||
           (character >= hangul_vowels_and_finals.first && character <= hangul_vowels_and_finals.last);
}

/// Character or control sequence.
struct Unit {
    std::size_t size = 0; ///< in bytes
    std::size_t columns = 0;
    bool is_control = false;
};

Unit control_sequence(std::string_view text)
{
    auto const is_last = [](char byte) { return byte >= '@' && byte <= '~'; };
    auto const *const last = std::ranges::find_if(text.substr(2), is_last);
    return {.size = std::min<std::size_t>(static_cast<std::size_t>(last - text.data()) + 1, text.size()),
            .is_control = true};
}

/// REQUIRES: text is not empty.
Unit first_unit(std::string_view text)
{
    if (text.starts_with("\x1b["))
        return control_sequence(text);
    auto const lead = static_cast<unsigned char>(text.front());
    auto const size = std::min<std::size_t>(static_cast<std::size_t>(std::max(std::countl_one(lead), 1)), text.size());
    if (size == 1)
        return {.size = 1, .columns = 1};
    char32_t character = lead & (0xffU >> (size + 1));
    for (auto const byte : text.substr(1, size - 1))
        character = character << 6 | (static_cast<unsigned char>(byte) & 0x3fU);
    return {.size = size, .columns = is_combining(character) ? 0U : is_wide(character) ? 2U : 1U};
}

void append_cut(std::string &out, std::string_view line, std::size_t columns)
{
    bool is_cut = false;
    while (!line.empty()) {
        auto const unit = first_unit(line);
        if (!is_cut && unit.columns >= columns) {
            out += "…";
            is_cut = true;
        }
        if (!is_cut || unit.is_control)
            out += line.substr(0, unit.size);
        if (!is_cut)
            columns -= unit.columns;
        line.remove_prefix(unit.size);
    }
}

} // namespace

std::size_t text_width(std::string_view text)
{
    auto columns = size_of_start(text, [](auto bytes) { return is_printable_ascii(bytes); });
    text.remove_prefix(columns);
    while (!text.empty()) {
        auto const unit = first_unit(text);
        columns += unit.columns;
        text.remove_prefix(unit.size);
    }
    return columns;
}

std::string cut_lines(std::string_view text, std::size_t columns)
{
    std::string out;
    while (!text.empty()) {
        auto const line = text.substr(0, text.find('\n'));
        if (text_width(line) <= columns)
            out += line;
        else
            append_cut(out, line, columns);
        text.remove_prefix(line.size());
        if (!text.empty()) {
            out += '\n';
            text.remove_prefix(1);
        }
    }
    return out;
}

std::string cut_middle(std::string_view line, std::size_t columns)
{
    if (text_width(line) <= columns)
        return std::string(line);
    std::vector<Unit> units;
    for (auto rest = line; !rest.empty(); rest.remove_prefix(units.back().size))
        units.push_back(first_unit(rest));
    auto room = (columns - 1) / 2;
    std::size_t start = 0;
    for (auto unit = units.begin(); unit->columns <= room; ++unit) {
        room -= unit->columns;
        start += unit->size;
    }
    room = columns / 2;
    std::size_t end = line.size();
    std::size_t marks = 0; // of a character that is not reached yet
    for (auto unit = units.rbegin(); unit->columns <= room; ++unit) {
        room -= unit->columns;
        marks += unit->size;
        if (unit->columns > 0)
            end -= std::exchange(marks, 0);
    }
    return fmt::format("{}…{}", line.substr(0, start), line.substr(end));
}

} // namespace tarnwick::program
