#include "support/allocations.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <malloc.h>
#include <new>

namespace {

using tarnwick::test::FailingAllocations;

thread_local constinit std::size_t count = 0;
thread_local constinit std::ptrdiff_t live = 0;

/// Bytes since watch_peak().
struct Bytes {
    std::ptrdiff_t live = 0;
    std::ptrdiff_t most = 0;
    bool watched = false;
};
thread_local constinit Bytes bytes;

/// The allocations that fail, by the value of `count`.
struct Failing {
    std::size_t first = FailingAllocations::from_then_on;
    std::size_t last = 0;
};
thread_local constinit Failing failing;

/// Storage outside the heap.
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

bool refused() noexcept
{
    ++count;
    if (count < failing.first || count > failing.last)
        return false;
    errno = ENOMEM;
    return true;
}

std::ptrdiff_t bytes_of(void *block) noexcept
{
    return bytes.watched && block != nullptr ? static_cast<std::ptrdiff_t>(::malloc_usable_size(block)) : 0;
}

void add_bytes(std::ptrdiff_t added) noexcept
{
    bytes.live += added;
    bytes.most = std::max(bytes.most, bytes.live);
}

void *counted(void *block) noexcept
{
    live += block != nullptr;
    add_bytes(bytes_of(block));
    return block;
}

} // namespace

std::size_t tarnwick::test::allocations() noexcept
{
    return count;
}

std::ptrdiff_t tarnwick::test::live_blocks() noexcept
{
    return live;
}

void tarnwick::test::watch_peak() noexcept
{
    bytes = {.watched = true};
}

std::ptrdiff_t tarnwick::test::live_bytes() noexcept
{
    return bytes.live;
}

std::size_t tarnwick::test::peak_bytes() noexcept
{
    bytes.watched = false;
    return static_cast<std::size_t>(bytes.most);
}

tarnwick::test::FailingAllocations::FailingAllocations(std::size_t first, std::size_t last) noexcept
{
    failing = {.first = count + first, .last = last == from_then_on ? last : count + last};
}

tarnwick::test::FailingAllocations::~FailingAllocations()
{
    stop();
}

std::size_t tarnwick::test::FailingAllocations::stop() noexcept
{
    auto const past = std::min(count, failing.last) + 1;
    auto const failed = past > failing.first ? past - failing.first : 0;
    failing = {};
    return failed;
}

void tarnwick::test::record_frees() noexcept
{
    frees.count = 0;
    frees.noting = true;
}

std::vector<void const *> tarnwick::test::recorded_frees()
{
    frees.noting = false;
    // Not in braces, which would convert a pointer to pointers to an element.
    return std::vector<void const *>(frees.blocks.data(), frees.blocks.data() + frees.count);
}

// The functions below replace those of the C library or of a sanitizer in all libraries of the process. The replaced
// functions are called by their other names.
#ifdef TARNWICK_BEFORE_SANITIZER
#define TARNWICK_BEHIND(function) __interceptor_##function
#else
#define TARNWICK_BEHIND(function) __libc_##function
#endif

extern "C" {

// NOLINTBEGIN(clang-diagnostic-reserved-identifier): the names are given
void *TARNWICK_BEHIND(malloc)(std::size_t size) noexcept;
void *TARNWICK_BEHIND(calloc)(std::size_t number, std::size_t size) noexcept;
void *TARNWICK_BEHIND(realloc)(void *block, std::size_t size) noexcept;
void *TARNWICK_BEHIND(memalign)(std::size_t alignment, std::size_t size) noexcept;
void TARNWICK_BEHIND(free)(void *block) noexcept;
// NOLINTEND(clang-diagnostic-reserved-identifier)

void *malloc(std::size_t size) noexcept
{
    return refused() ? nullptr : counted(TARNWICK_BEHIND(malloc)(size));
}

void *calloc(std::size_t number, std::size_t size) noexcept
{
    return refused() ? nullptr : counted(TARNWICK_BEHIND(calloc)(number, size));
}

void *realloc(void *block, std::size_t size) noexcept
{
    if (refused())
        return nullptr;
    auto const size_before = bytes_of(block);
    auto *const moved = TARNWICK_BEHIND(realloc)(block, size);
    if (block == nullptr)
        return counted(moved);
    if (moved != nullptr) {
        add_bytes(bytes_of(moved) - size_before);
    } else if (size == 0) {
        --live;
        add_bytes(-size_before);
    }
    return moved;
}

void *aligned_alloc(std::size_t alignment, std::size_t size) noexcept
{
    return refused() ? nullptr : counted(TARNWICK_BEHIND(memalign)(alignment, size));
}

int posix_memalign(void **block, std::size_t alignment, std::size_t size) noexcept
{
    auto *const aligned = aligned_alloc(alignment, size);
    if (aligned == nullptr)
        return ENOMEM;
    *block = aligned;
    return 0;
}

void free(void *block) noexcept
{
    note_free(block);
    live -= block != nullptr;
    add_bytes(-bytes_of(block));
    TARNWICK_BEHIND(free)(block);
}

} // extern "C"

// The operators of the C++ library call the functions above. Those of sanitizers and memcheck do not.

namespace {

void *thrown_for(void *block)
{
    return block == nullptr ? throw std::bad_alloc() : block;
}

std::size_t number_of(std::align_val_t alignment) noexcept
{
    return static_cast<std::size_t>(alignment);
}

} // namespace

// NOLINTBEGIN(misc-new-delete-overloads)
void *operator new(std::size_t size)
{
    return thrown_for(malloc(size));
}
void *operator new[](std::size_t size)
{
    return thrown_for(malloc(size));
}
void *operator new(std::size_t size, std::nothrow_t const &) noexcept
{
    return malloc(size);
}
void *operator new[](std::size_t size, std::nothrow_t const &) noexcept
{
    return malloc(size);
}
void *operator new(std::size_t size, std::align_val_t alignment)
{
    return thrown_for(aligned_alloc(number_of(alignment), size));
}
void *operator new[](std::size_t size, std::align_val_t alignment)
{
    return thrown_for(aligned_alloc(number_of(alignment), size));
}
void operator delete(void *block) noexcept
{
    free(block);
}
void operator delete[](void *block) noexcept
{
    free(block);
}
void operator delete(void *block, std::size_t) noexcept
{
    free(block);
}
void operator delete[](void *block, std::size_t) noexcept
{
    free(block);
}
void operator delete(void *block, std::nothrow_t const &) noexcept
{
    free(block);
}
void operator delete[](void *block, std::nothrow_t const &) noexcept
{
    free(block);
}
void operator delete(void *block, std::align_val_t) noexcept
{
    free(block);
}
void operator delete[](void *block, std::align_val_t) noexcept
{
    free(block);
}
void operator delete(void *block, std::size_t, std::align_val_t) noexcept
{
    free(block);
}
void operator delete[](void *block, std::size_t, std::align_val_t) noexcept
{
    free(block);
}
// NOLINTEND(misc-new-delete-overloads)
