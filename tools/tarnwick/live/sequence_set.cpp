#include "live/sequence_set.h"

#include <iterator>

namespace tarnwick::program {

bool SequenceSet::insert(std::uint64_t number)
{
    auto next = ends_.upper_bound(number);
    auto range = next == ends_.begin() ? ends_.end() : std::prev(next);
    if (range != ends_.end() && number <= range->second)
        return false;
    if (range != ends_.end() && range->second + 1 == number)
        range->second = number;
    else
        range = ends_.emplace_hint(next, number, number);
    if (next != ends_.end() && next->first == number + 1) {
        range->second = next->second;
        ends_.erase(next);
    }
    return true;
}

} // namespace tarnwick::program
