#include "requests/quantity.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>

namespace tarnwick::program {
namespace {

struct NamedUnit {
    std::string_view name;
    long double factor;
};

constexpr std::array time_units{NamedUnit{"ns", 1},     NamedUnit{"us", 1e3L}, NamedUnit{"µs", 1e3L},
                                NamedUnit{"ms", 1e6L},  NamedUnit{"s", 1e9L},  NamedUnit{"min", 60e9L},
                                NamedUnit{"h", 3600e9L}};
constexpr std::array size_units{NamedUnit{"", 1},          NamedUnit{"B", 1},         NamedUnit{"kB", 1e3L},
                                NamedUnit{"MB", 1e6L},     NamedUnit{"GB", 1e9L},     NamedUnit{"TB", 1e12L},
                                NamedUnit{"KiB", 0x1p10L}, NamedUnit{"MiB", 0x1p20L}, NamedUnit{"GiB", 0x1p30L},
                                NamedUnit{"TiB", 0x1p40L}};

/// Reads a decimal number and its unit. Multiplies before it divides, so that `0.1ms` is exactly 100,000 ns.
std::optional<long double> read_number(std::string_view text, std::span<NamedUnit const> units)
{
    bool const is_negative = text.starts_with('-');
    std::size_t position = is_negative ? 1 : 0;
    long double digits = 0;
    long double scale = 1;
    bool has_digits = false;
    bool has_point = false;
    for (; position < text.size(); ++position) {
        char const character = text[position];
        if (character == '.' && !has_point) {
            has_point = true;
        } else if (character >= '0' && character <= '9') {
            digits = digits * 10 + static_cast<long double>(character - '0');
            scale *= has_point ? 10 : 1;
            has_digits = true;
        } else {
            break;
        }
    }
    auto name = text.substr(position);
    while (name.starts_with(' '))
        name.remove_prefix(1);
    auto const unit = std::ranges::find(units, name, &NamedUnit::name);
    if (!has_digits || unit == units.end())
        return std::nullopt;
    auto const value = digits * unit->factor / scale;
    return is_negative ? -value : value;
}

} // namespace

std::optional<long double> read_size(std::string_view text)
{
    return read_number(text, size_units);
}

std::optional<long double> read_span(std::string_view text)
{
    // Zero is the same in every unit.
    if (text == "0")
        return 0;
    return read_number(text, time_units);
}

} // namespace tarnwick::program
