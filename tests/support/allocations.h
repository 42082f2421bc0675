#pragma once

#include <cstddef>

namespace tarnwick::test {

/// How many blocks of heap memory this thread has taken so far, by `new` or `malloc`, in whatever library.
std::size_t allocations() noexcept;

/// How many blocks of heap memory an action takes on this thread.
template <class Action>
std::size_t allocations_of(Action &&action)
{
    auto const before = allocations();
    action();
    return allocations() - before;
}

} // namespace tarnwick::test
