#include "support/allocations.h"

namespace {

thread_local constinit std::size_t count = 0;

} // namespace

std::size_t tarnwick::test::allocations() noexcept
{
    return count;
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)

// The sanitizers have an allocator of their own, and tell. Not every compiler brings the header that declares this.
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*on_malloc)(void const volatile *, std::size_t),
                                                         void (*on_free)(void const volatile *));

namespace {

[[gnu::constructor]] void install_hooks()
{
    __sanitizer_install_malloc_and_free_hooks([](void const volatile *, std::size_t) { ++count; },
                                              [](void const volatile *) {});
}

} // namespace

#else

// These stand in front of the C library's own for every library of the process.
extern "C" {

// NOLINTBEGIN(bugprone-reserved-identifier): the names are the C library's
void *__libc_malloc(std::size_t size) noexcept;
void *__libc_calloc(std::size_t number, std::size_t size) noexcept;
void *__libc_realloc(void *block, std::size_t size) noexcept;
void *__libc_memalign(std::size_t alignment, std::size_t size) noexcept;
// NOLINTEND(bugprone-reserved-identifier)

void *malloc(std::size_t size) noexcept
{
    ++count;
    return __libc_malloc(size);
}

void *calloc(std::size_t number, std::size_t size) noexcept
{
    ++count;
    return __libc_calloc(number, size);
}

void *realloc(void *block, std::size_t size) noexcept
{
    ++count;
    return __libc_realloc(block, size);
}

void *aligned_alloc(std::size_t alignment, std::size_t size) noexcept
{
    ++count;
    return __libc_memalign(alignment, size);
}

} // extern "C"

#endif
