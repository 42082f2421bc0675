#pragma once

#include <cstdint>
#include <string_view>

namespace tarnwick::program {

/// The set of messages that a report belongs to.
enum class Dialect : std::uint8_t { rpc, protobuf };

constexpr std::string_view name_of(Dialect dialect)
{
    return dialect == Dialect::rpc ? "rpc" : "protobuf";
}

} // namespace tarnwick::program
