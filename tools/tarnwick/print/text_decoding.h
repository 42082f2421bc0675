#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace tarnwick::program {

// These functions call `sink(byte, begin, end)` for each byte of the decoded text, with the part of the text that it is
// decoded from. What is not a valid escape is itself.

/// Returns the value of `count` hexadecimal digits, or -1 if there are fewer.
constexpr std::int32_t hex_value(std::string_view text, std::size_t at, std::size_t count)
{
    if (text.size() < at + count)
        return -1;
    std::int32_t value = 0;
    for (auto const c : text.substr(at, count)) {
        auto const digit = c >= '0' && c <= '9'   ? c - '0'
                           : c >= 'a' && c <= 'f' ? c - 'a' + 10
                           : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                                  : -1;
        if (digit < 0)
            return -1;
        value = value * 16 + digit;
    }
    return value;
}

/// Decodes `%XX`, and `+` as a blank.
template <class Sink>
void decode_url(std::string_view text, Sink &&sink)
{
    for (std::size_t at = 0; at < text.size();) {
        auto const code = text[at] == '%' ? hex_value(text, at + 1, 2) : -1;
        auto const end = at + (code < 0 ? 1 : 3);
        sink(code >= 0 ? static_cast<char>(code) : text[at] == '+' ? ' ' : text[at], at, end);
        at = end;
    }
}

/// Decodes the escapes of JSON strings. The texts of PHP and C++ use the same, apart from `\'`.
template <class Sink>
void decode_json(std::string_view text, Sink &&sink)
{
    for (std::size_t at = 0; at < text.size();) {
        if (text[at] != '\\' || at + 1 == text.size()) {
            sink(text[at], at, at + 1);
            ++at;
            continue;
        }
        auto end = at + 2;
        auto code = text[at + 1] == 'u' ? hex_value(text, at + 2, 4) : -1;
        if (code >= 0) {
            end = at + 6;
            auto const low = text.substr(end).starts_with("\\u") ? hex_value(text, end + 2, 4) : -1;
            if (code >= 0xd800 && code < 0xdc00 && low >= 0xdc00 && low < 0xe000) {
                code = 0x10000 + (code - 0xd800) * 0x400 + (low - 0xdc00);
                end += 6;
            }
            auto const put = [&](std::int32_t byte) { sink(static_cast<char>(byte), at, end); };
            auto const put_rest = [&](int shift) { put(0x80 | ((code >> shift) & 0x3f)); };
            if (code < 0x80) {
                put(code);
            } else if (code < 0x800) {
                put(0xc0 | (code >> 6));
                put_rest(0);
            } else if (code < 0x10000) {
                put(0xe0 | (code >> 12));
                put_rest(6);
                put_rest(0);
            } else {
                put(0xf0 | (code >> 18));
                put_rest(12);
                put_rest(6);
                put_rest(0);
            }
        } else {
            constexpr std::string_view letters = "bfnrt";
            constexpr std::string_view controls = "\b\f\n\r\t";
            auto const letter = letters.find(text[at + 1]);
            sink(letter == std::string_view::npos ? text[at + 1] : controls[letter], at, end);
        }
        at = end;
    }
}

inline std::string url_decoded(std::string_view text)
{
    std::string decoded;
    decode_url(text, [&](char byte, std::size_t, std::size_t) { decoded += byte; });
    return decoded;
}

inline std::string json_decoded(std::string_view text)
{
    std::string decoded;
    decode_json(text, [&](char byte, std::size_t, std::size_t) { decoded += byte; });
    return decoded;
}

} // namespace tarnwick::program
