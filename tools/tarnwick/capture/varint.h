#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace tarnwick::program {

/// Protobuf varint, or the reason why there is none.
struct Varint {
    enum class State {
        whole,
        truncated, ///< the bytes end inside it
        too_large, ///< it has more than 64 bits
    };

    State state = State::truncated;
    std::uint64_t value = 0;
    std::size_t size = 0; ///< in bytes; 0 unless whole
};

/// Reads the varint at the start of `bytes`.
inline Varint read_varint(std::string_view bytes)
{
    constexpr std::size_t group_bits = 7;
    constexpr std::size_t max_size = 10;
    if (!bytes.empty() && static_cast<unsigned char>(bytes.front()) < 0x80)
        return {.state = Varint::State::whole, .value = static_cast<unsigned char>(bytes.front()), .size = 1};
    std::uint64_t value = 0;
    auto const available = std::min(bytes.size(), max_size);
    for (std::size_t i = 0; i < available; ++i) {
        auto const byte = static_cast<unsigned char>(bytes[i]);
        auto const bits = std::uint64_t{byte} & 0x7fU;
        // Only one bit is left for the last group.
        if (i == max_size - 1 && bits > 1)
            break;
        value |= bits << (i * group_bits);
        if ((byte & 0x80U) == 0)
            return {.state = Varint::State::whole, .value = value, .size = i + 1};
    }
    return {.state = available < max_size ? Varint::State::truncated : Varint::State::too_large};
}

/// Appends the varint of a value.
inline void append_varint(std::string &bytes, std::uint64_t value)
{
    for (; value >= 0x80; value >>= 7U)
        bytes.push_back(static_cast<char>((value & 0x7fU) | 0x80U));
    bytes.push_back(static_cast<char>(value));
}

} // namespace tarnwick::program
