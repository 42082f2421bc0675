#pragma once

#include <cstdint>
#include <map>

namespace tarnwick::program {

/// Set of numbers, of which most follow each other. Takes memory for each gap, not for each number.
class SequenceSet {
public:
    /// Adds a number. Returns false if the set has it already.
    bool insert(std::uint64_t number);

private:
    std::map<std::uint64_t, std::uint64_t> ends_; ///< the last number of each range without gaps, by its first
};

} // namespace tarnwick::program
