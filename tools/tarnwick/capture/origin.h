#pragma once

#include <cstdint>
#include <string_view>

namespace tarnwick::program {

/// Place of a frame.
struct Origin {
    std::string_view file; ///< as given on the command line
    std::uint64_t frame = 0;
    std::uint64_t offset = 0;
};

} // namespace tarnwick::program
