#pragma once

#include "support/allocations.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>

namespace tarnwick::fuzz {

/// Says what was broken and ends the process.
[[noreturn]] inline void broken(std::string const &promise)
{
    std::fprintf(stderr, "broken: %s\n", promise.c_str());
    std::abort();
}

inline void hold(bool holds, char const *promise)
{
    if (!holds)
        broken(promise);
}

/// The action throws nothing, and gives back the memory that it takes.
template <class Action>
void hold_in_action(Action &&action)
{
    // What a process makes once, at first use, is made in the first runs.
    constexpr int runs = 3;
    std::ptrdiff_t left = 0;
    for (int run = 0; run < runs; ++run) {
        auto const before = test::live_blocks();
        try {
            action();
        } catch (std::exception const &error) {
            broken(std::string("an exception came out: ") + error.what());
        } catch (...) {
            broken("an exception came out");
        }
        left = test::live_blocks() - before;
        if (left == 0)
            return;
    }
    broken(std::to_string(left) + " blocks of memory are left");
}

} // namespace tarnwick::fuzz
