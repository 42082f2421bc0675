#pragma once

#include <cstddef>
#include <cstdint>

namespace tarnwick::fuzz {

/// A cheap generator of random numbers (splitmix64), since each input needs a new one.
class Random {
public:
    explicit Random(std::uint32_t seed)
        : state_(seed)
    {
    }

    std::uint64_t number()
    {
        auto mixed = state_ += 0x9e3779b97f4a7c15;
        mixed = (mixed ^ (mixed >> 30)) * 0xbf58476d1ce4e5b9;
        mixed = (mixed ^ (mixed >> 27)) * 0x94d049bb133111eb;
        return mixed ^ (mixed >> 31);
    }
    /// From 0 to `end - 1`.
    std::size_t below(std::size_t end) { return static_cast<std::size_t>(number() % end); }
    bool one_in(std::size_t count) { return below(count) == 0; }
    template <class Choices>
    auto const &one_of(Choices const &choices)
    {
        return choices[below(choices.size())];
    }

private:
    std::uint64_t state_;
};

} // namespace tarnwick::fuzz
