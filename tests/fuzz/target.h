#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::fuzz {

/// Changes bytes in place, without knowing what they mean, and gives their new number: libFuzzer's own.
using MutateBytes = std::size_t (*)(std::uint8_t *bytes, std::size_t size, std::size_t max_size);

/// What is fuzzed: how an input is run, and how others are made of it that still mean something.
struct Target {
    std::string_view name;
    /// Whether the input parses. A broken promise ends the process with a word about it.
    bool (*check)(std::string_view input);
    std::string (*mutated)(std::string_view input, std::uint32_t seed, MutateBytes mutate_bytes);
    /// The input, with something of the other in it.
    std::string (*crossed)(std::string_view input, std::string_view other, std::uint32_t seed);
    /// What inputs can be of, which is their first line. Each must have one among the committed inputs.
    std::vector<std::string_view> (*classes)() = [] { return std::vector<std::string_view>(); };
};

extern Target const rpc_reports;
extern Target const protobuf_reports;
extern Target const capture;
extern Target const configuration;
extern Target const bridge;

} // namespace tarnwick::fuzz
