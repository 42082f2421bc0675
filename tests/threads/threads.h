#pragma once

#include <barrier>
#include <cstddef>
#include <thread>
#include <vector>

namespace tarnwick::test {

inline constexpr std::size_t threads = 32;

/// Calls `action(number)` on 32 threads, which start at the same moment. Returns when all have finished.
template <class Action>
void on_threads(Action const &action)
{
    std::barrier start(static_cast<std::ptrdiff_t>(threads));
    std::vector<std::jthread> running;
    running.reserve(threads);
    for (std::size_t number = 0; number < threads; ++number) {
        running.emplace_back([&start, &action, number] {
            start.arrive_and_wait();
            action(number);
        });
    }
}

} // namespace tarnwick::test
