#pragma once

// Damage in one place of a file.

#include "fuzz/random.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace tarnwick::test {

struct Damage {
    std::size_t begin = 0;
    std::size_t removed = 0;
    // NOLINTNEXTLINE(readability-redundant-member-init): designators leave it out
    std::string inserted = {}; ///< instead of them

    [[nodiscard]] std::string apply(std::string bytes) const { return bytes.replace(begin, removed, inserted); }
    [[nodiscard]] std::size_t end() const { return begin + removed; }

    /// Whether the damage changes bytes from `first` up to `last`.
    [[nodiscard]] bool touches(std::size_t first, std::size_t last) const
    {
        return begin < last && (end() > first || (removed == 0 && begin > first));
    }
    /// The new offset of a byte after the damage.
    [[nodiscard]] std::size_t moved(std::size_t place) const
    {
        return place < end() ? place : place - removed + inserted.size();
    }
};

enum class DamageKind { flipped_bit, changed_byte, random_bytes, zeros, lost_bytes, added_bytes };
inline constexpr std::array damage_kinds{DamageKind::flipped_bit, DamageKind::changed_byte, DamageKind::random_bytes,
                                         DamageKind::zeros,       DamageKind::lost_bytes,   DamageKind::added_bytes};

inline std::string random_bytes(std::size_t size, fuzz::Random &random)
{
    std::string bytes(size, '\0');
    std::ranges::generate(bytes, [&] { return static_cast<char>(random.number()); });
    return bytes;
}

/// Damage of bytes from `begin` on. Random bytes are up to 64, the others that have a size up to 4096.
inline Damage random_damage(DamageKind kind, std::string_view bytes, std::size_t begin, fuzz::Random &random)
{
    constexpr std::size_t page = 4096;
    auto const byte = static_cast<unsigned char>(bytes[begin]);
    auto const size = std::min(1 + random.below(page), bytes.size() - begin);
    auto const few = std::min(1 + random.below(64), bytes.size() - begin);
    switch (kind) {
    case DamageKind::flipped_bit:
        return {.begin = begin, .removed = 1, .inserted = {static_cast<char>(byte ^ 1U << random.below(8))}};
    case DamageKind::changed_byte:
        return {.begin = begin, .removed = 1, .inserted = {static_cast<char>(byte + 1 + random.below(255))}};
    case DamageKind::random_bytes:
        return {.begin = begin, .removed = few, .inserted = random_bytes(few, random)};
    case DamageKind::zeros:
        return {.begin = begin, .removed = size, .inserted = std::string(size, '\0')};
    case DamageKind::lost_bytes:
        return {.begin = begin, .removed = size};
    case DamageKind::added_bytes:
        return {.begin = begin, .removed = 0, .inserted = random_bytes(size, random)};
    }
    return {};
}

} // namespace tarnwick::test
