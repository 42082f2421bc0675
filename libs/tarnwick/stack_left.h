#pragma once

// Not installed.

#include <cstddef>
#include <cstdint>
#include <pthread.h>

namespace tarnwick {

/// How many bytes of its stack the calling thread has not used yet; the most that there can be
/// where the system does not say.
inline std::size_t stack_left() noexcept
{
    pthread_attr_t attributes;
    if (::pthread_getattr_np(::pthread_self(), &attributes) != 0)
        return SIZE_MAX;
    void *lowest = nullptr;
    std::size_t size = 0;
    ::pthread_attr_getstack(&attributes, &lowest, &size);
    ::pthread_attr_destroy(&attributes);
    return reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0)) - reinterpret_cast<std::uintptr_t>(lowest);
}

} // namespace tarnwick
