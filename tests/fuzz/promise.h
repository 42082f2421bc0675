#pragma once

#include "support/allocations.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>

namespace tarnwick::fuzz {

/// Prints the broken promise and aborts the process.
[[noreturn]] inline void broken(std::string const &promise)
{
    std::fprintf(stderr, "broken: %s\n", promise.c_str());
    std::abort();
}

inline void expect(bool condition, char const *promise)
{
    if (!condition)
        broken(promise);
}

/// Checks that the action does not throw and frees all memory that it allocates.
template <class Action>
void expect_clean_run(Action &&action)
{
    // The first runs may allocate what the process keeps for its whole life.
    constexpr int runs = 3;
    std::ptrdiff_t left = 0;
    for (int run = 0; run < runs; ++run) {
        auto const before = test::live_blocks();
        try {
            action();
        } catch (std::exception const &error) {
            broken(std::string("an exception was thrown: ") + error.what());
        } catch (...) {
            broken("an exception was thrown");
        }
        left = test::live_blocks() - before;
        if (left == 0)
            return;
    }
    broken(std::to_string(left) + " blocks of memory were not freed");
}

} // namespace tarnwick::fuzz
