#pragma once

#include <cstdint>
#include <string_view>

namespace tarnwick::program {

/// A request as the command line names it: by its id, as `@N` by its number, or as `slowest` or `last`.
struct RequestName {
    enum class Kind : std::uint8_t { id, number, slowest, last };

    Kind kind = Kind::slowest;
    std::uint64_t value = 0; ///< the id or the number

    /// Reads a name. Throws `std::invalid_argument` for any other text.
    static RequestName read(std::string_view text);
};

} // namespace tarnwick::program
