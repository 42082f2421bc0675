#include "fuzz/naive_text.h"

#include <cstddef>
#include <cstdint>

namespace tarnwick::fuzz {
namespace {

struct Sequence {
    char32_t character;
    std::size_t size;
};

/// Decodes the start of `bytes`, which must not be empty.
Sequence first_of(std::string_view bytes)
{
    constexpr Sequence invalid{U'\uFFFD', 1};
    auto const at = [&](std::size_t i) -> std::uint32_t {
        return i < bytes.size() ? static_cast<unsigned char>(bytes[i]) : 0U;
    };
    if (at(0) < 0x80)
        return {at(0), 1};
    std::size_t const size = at(0) >> 5 == 0b110 ? 2 : at(0) >> 4 == 0b1110 ? 3 : at(0) >> 3 == 0b11110 ? 4 : 0;
    if (size == 0)
        return invalid;
    char32_t character = at(0) & (0x7fU >> size);
    for (std::size_t i = 1; i < size; ++i) {
        if (at(i) >> 6 != 0b10)
            return invalid;
        character = character << 6 | (at(i) & 0x3fU);
    }
    constexpr char32_t least[] = {0, 0, 0x80, 0x800, 0x10000};
    bool const is_surrogate = character >= 0xd800 && character <= 0xdfff;
    if (character < least[size] || character > 0x10ffff || is_surrogate)
        return invalid;
    return {character, size};
}

} // namespace

std::u16string naive_text(std::string_view utf8)
{
    constexpr std::string_view mark = "\xEF\xBB\xBF";
    if (utf8.starts_with(mark))
        utf8.remove_prefix(mark.size());
    std::u16string text;
    while (!utf8.empty()) {
        auto const [character, size] = first_of(utf8);
        utf8.remove_prefix(size);
        if (character < 0x10000) {
            text += static_cast<char16_t>(character);
        } else {
            text += static_cast<char16_t>(0xd800 + ((character - 0x10000) >> 10));
            text += static_cast<char16_t>(0xdc00 + ((character - 0x10000) & 0x3ff));
        }
    }
    return text;
}

} // namespace tarnwick::fuzz
