#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace tarnwick::program {

/// Eight bytes of a text, to check all of them at once.
using ByteWord = std::uint64_t;

/// Returns a word with the byte in every place.
constexpr ByteWord repeated(unsigned char byte)
{
    return byte * 0x0101'0101'0101'0101U;
}

/// Returns the eight bytes at a place.
inline ByteWord word_at(char const *bytes)
{
    ByteWord word = 0;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

/// Returns whether any byte of the word is below the limit, at most 0x80.
constexpr bool has_below(ByteWord word, unsigned char limit)
{
    return ((word - repeated(limit)) & ~word & repeated(0x80)) != 0;
}

/// Returns whether any byte of the word is this one.
constexpr bool has_byte(ByteWord word, char byte)
{
    return has_below(word ^ repeated(static_cast<unsigned char>(byte)), 1);
}

/// Returns whether all bytes of the word are printable ASCII.
constexpr bool is_printable_ascii(ByteWord word)
{
    // 0x7f is not printable.
    return !has_below(word, ' ') && ((word | (word + repeated(1))) & repeated(0x80)) == 0;
}

constexpr bool is_printable_ascii(char byte)
{
    return byte >= ' ' && byte <= '~';
}

/// Returns the size of the start of the text whose bytes all fit. `fits` takes a word or a byte.
template <class Fits>
std::size_t size_of_start(std::string_view text, Fits const &fits)
{
    std::size_t size = 0;
    while (size + sizeof(ByteWord) <= text.size() && fits(word_at(text.data() + size)))
        size += sizeof(ByteWord);
    bool const is_near_end = size > 0 && size + sizeof(ByteWord) > text.size();
    if (is_near_end && fits(word_at(text.data() + text.size() - sizeof(ByteWord)))) // it overlaps the one before
        return text.size();
    while (size < text.size() && fits(text[size]))
        ++size;
    return size;
}

} // namespace tarnwick::program
