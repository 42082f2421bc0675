#pragma once

#include <cstddef>
#include <limits>
#include <new>
#include <utility>
#include <vector>

namespace tarnwick::test {

/// Number of heap blocks that this thread has requested so far by `new` or `malloc`, in any library.
std::size_t allocations() noexcept;

/// Number of heap blocks that an action requests on this thread.
template <class Action>
std::size_t allocations_of(Action &&action)
{
    auto const before = allocations();
    action();
    return allocations() - before;
}

/// Number of heap blocks that the construction of a `Value` requests.
template <class Value, class... Arguments>
std::size_t allocations_to_build(Arguments &&...arguments)
{
    alignas(Value) std::byte place[sizeof(Value)];
    return allocations_of([&] { (new (place) Value(std::forward<Arguments>(arguments)...))->~Value(); });
}

/// Number of heap blocks that this thread has allocated and not freed. Negative if it frees blocks of other threads.
std::ptrdiff_t live_blocks() noexcept;

/// Heap memory of this thread from watch_peak() on, in bytes beyond the use at that call. Blocks count with their real size,
/// which can exceed the requested one.
void watch_peak() noexcept;
std::ptrdiff_t live_bytes() noexcept;
std::size_t peak_bytes() noexcept; ///< ends watching

template <class Action>
std::size_t peak_bytes_of(Action &&action)
{
    watch_peak();
    action();
    return peak_bytes();
}

/// Makes allocations of this thread fail as on an exhausted heap during its lifetime: the next ones, counted from 1, from
/// `first` to `last`. There can be one such object at a time.
class FailingAllocations {
public:
    static constexpr std::size_t from_then_on = std::numeric_limits<std::size_t>::max();

    FailingAllocations(std::size_t first, std::size_t last) noexcept;
    ~FailingAllocations();
    FailingAllocations(FailingAllocations const &) = delete;
    FailingAllocations &operator=(FailingAllocations const &) = delete;

    /// Ends the failures. Returns how many allocations failed.
    std::size_t stop() noexcept; // NOLINT(modernize-use-nodiscard): the number is optional
};

/// Records the first 1,000 heap blocks that this thread frees from here on.
void record_frees() noexcept;
/// Ends the recording. Returns the blocks in order.
std::vector<void const *> recorded_frees();

/// The heap blocks that an action frees on this thread, in order.
template <class Action>
std::vector<void const *> frees_of(Action &&action)
{
    record_frees();
    action();
    return recorded_frees();
}

} // namespace tarnwick::test
