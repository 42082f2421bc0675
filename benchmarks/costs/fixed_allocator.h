#pragma once

#include <cstddef>

namespace tarnwick::bench {

/// Allocations from the heap so far.
struct Taken {
    std::size_t allocations = 0;
    std::size_t bytes = 0;
};

/// Returns the allocations by `new` and `malloc` of all libraries. The allocator is as simple as possible, so that the
/// instructions of an allocation hardly depend on earlier ones.
Taken taken() noexcept;

} // namespace tarnwick::bench
