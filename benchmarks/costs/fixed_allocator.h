#pragma once

#include <cstddef>

namespace tarnwick::bench {

/// What was taken from the heap so far.
struct Taken {
    std::size_t allocations = 0;
    std::size_t bytes = 0;
};

/// By `new` or `malloc`, in whatever library. The allocator behind them is as simple as one can be, so that the
/// instructions of a block hardly depend on what was taken and freed before.
Taken taken() noexcept;

} // namespace tarnwick::bench
