#include "support/allocations.h"

#include <array>

namespace {

thread_local constinit std::size_t count = 0;

/// A place that itself takes no heap memory.
struct Frees {
    std::array<void const *, 1'000> blocks{};
    std::size_t count = 0;
    bool noting = false;
};
thread_local constinit Frees frees;

void note_free(void const *block) noexcept
{
    if (frees.noting && frees.count < frees.blocks.size())
        frees.blocks[frees.count++] = block;
}

} // namespace

std::size_t tarnwick::test::allocations() noexcept
{
    return count;
}

void tarnwick::test::note_frees() noexcept
{
    frees.count = 0;
    frees.noting = true;
}

std::vector<void const *> tarnwick::test::noted_frees()
{
    frees.noting = false;
    // Not in braces: a pointer to pointers would do as a pointer.
    return std::vector<void const *>(frees.blocks.data(), frees.blocks.data() + frees.count);
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)

// The sanitizers have an allocator of their own, and tell. Not every compiler brings the header that declares this.
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*on_malloc)(void const volatile *, std::size_t),
                                                         void (*on_free)(void const volatile *));

namespace {

[[gnu::constructor]] void install_hooks()
{
    __sanitizer_install_malloc_and_free_hooks(
        [](void const volatile *, std::size_t) { ++count; },
        [](void const volatile *block) { note_free(const_cast<void const *>(block)); });
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
void __libc_free(void *block) noexcept;
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

void free(void *block) noexcept
{
    note_free(block);
    __libc_free(block);
}

} // extern "C"

#endif
