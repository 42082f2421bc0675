#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <pthread.h>

namespace tarnwick::test {

/// A thirtieth of the usual stack. Instrumented or unoptimised code needs several times as much.
#if defined(NDEBUG) && !defined(TARNWICK_SANITIZED)
inline constexpr std::size_t small_stack = std::size_t{256} * 1024;
#else
inline constexpr std::size_t small_stack = std::size_t{2} * 1024 * 1024;
#endif

/// Runs an action on a new thread with a stack of this size.
template <class Action>
void on_small_stack(Action action, std::size_t stack = small_stack)
{
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, stack), 0);
    pthread_t thread{};
    auto const run = [](void *given) -> void * {
        (*static_cast<Action *>(given))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, run, &action), 0);
    ASSERT_EQ(pthread_join(thread, nullptr), 0);
    pthread_attr_destroy(&attributes);
}

} // namespace tarnwick::test
