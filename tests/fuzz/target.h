#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::fuzz {

/// libFuzzer's own mutation: changes bytes in place, without knowing their format, and returns their new number.
using MutateBytes = std::size_t (*)(std::uint8_t *bytes, std::size_t size, std::size_t max_size);

/// A fuzz target: how to check an input, and how to derive other inputs that still parse.
struct Target {
    std::string_view name;
    /// Returns whether the input parses. A broken promise aborts the process with a message.
    bool (*check)(std::string_view input);
    std::string (*mutated)(std::string_view input, std::uint32_t seed, MutateBytes mutate_bytes);
    /// Returns the input with parts of the other input.
    std::string (*crossed)(std::string_view input, std::string_view other, std::uint32_t seed);
    /// The message classes of the target; the first line of an input is its class. Each must have a committed input.
    std::vector<std::string_view> (*classes)() = [] { return std::vector<std::string_view>(); };
};

extern Target const rpc_reports;
extern Target const protobuf_reports;
extern Target const capture;
extern Target const configuration;
extern Target const bridge;
extern Target const recording;

} // namespace tarnwick::fuzz
