#pragma once

#include <cstddef>
#include <limits>
#include <vector>

namespace tarnwick::test {

/// How many blocks of heap memory this thread has asked for so far, by `new` or `malloc`, in whatever library.
std::size_t allocations() noexcept;

/// How many blocks of heap memory an action asks for on this thread.
template <class Action>
std::size_t allocations_of(Action &&action)
{
    auto const before = allocations();
    action();
    return allocations() - before;
}

/// How many blocks of heap memory this thread holds: what it was given and has not given back. Negative where it gives
/// back what others took.
std::ptrdiff_t live_blocks() noexcept;

/// The most bytes of heap memory that an action holds on this thread at one time, beside what is held before it. Blocks
/// count with the size that the heap gives them, which can be more than was asked for.
void watch_peak() noexcept;
std::size_t peak_bytes() noexcept; ///< ends watching

template <class Action>
std::size_t peak_bytes_of(Action &&action)
{
    watch_peak();
    action();
    return peak_bytes();
}

/// Allocations of this thread fail, as on an exhausted heap, while it lives: of those that come, counted from 1, the ones
/// from `first` to `last`. One at a time.
class FailingAllocations {
public:
    static constexpr std::size_t from_then_on = std::numeric_limits<std::size_t>::max();

    FailingAllocations(std::size_t first, std::size_t last) noexcept;
    ~FailingAllocations();
    FailingAllocations(FailingAllocations const &) = delete;
    FailingAllocations &operator=(FailingAllocations const &) = delete;

    /// How many failed.
    std::size_t stop() noexcept; // NOLINT(modernize-use-nodiscard): who wants to end it need not ask
};

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
