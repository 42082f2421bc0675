#pragma once

#include <cstddef>
#include <vector>

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

/// Notes the blocks of heap memory that this thread gives back from here on, the first 1,000 of them.
void note_frees() noexcept;
/// What was noted, in order; ends noting.
std::vector<void const *> noted_frees();

/// The blocks of heap memory that an action gives back on this thread, in order.
template <class Action>
std::vector<void const *> frees_of(Action &&action)
{
    note_frees();
    action();
    return noted_frees();
}

} // namespace tarnwick::test
