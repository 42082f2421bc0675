#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <pthread.h>

namespace tarnwick::test {

/// Runs an action on a thread of its own that has a stack of 256 KiB, a thirtieth of what programs start with.
template <class Action>
void on_small_stack(Action action)
{
    constexpr std::size_t stack_size = std::size_t{256} * 1024;
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, stack_size), 0);
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
