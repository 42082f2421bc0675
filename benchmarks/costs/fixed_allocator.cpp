#include "costs/fixed_allocator.h"

#include <sys/mman.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

// Replaces the allocator of the C library for every library of the process. The process has one thread.

namespace {

// Sizes of blocks are powers of two. Freed blocks of a size are reused, last in, first out.
constexpr std::size_t least_size = 16;
constexpr std::size_t region_size = std::size_t(1) << 28U;

/// Header of each block.
struct alignas(least_size) Header {
    unsigned size_class;
    std::size_t size;
};

struct FreeBlock {
    FreeBlock *next;
};

constinit tarnwick::bench::Taken sum;
constinit std::array<FreeBlock *, std::numeric_limits<std::size_t>::digits> free_blocks{};
constinit std::byte *region = nullptr;
constinit std::byte *region_end = nullptr;

bool map_region(std::size_t size) noexcept
{
    size = std::max(size, region_size);
    auto *mapped = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (mapped == MAP_FAILED)
        return false;
    region = static_cast<std::byte *>(mapped);
    region_end = region + size;
    return true;
}

void *take(std::size_t size) noexcept
{
    auto const size_class = static_cast<unsigned>(std::bit_width(std::max(size, least_size) - 1));
    ++sum.allocations;
    sum.bytes += size;
    auto *&first_free = free_blocks[size_class];
    if (auto *block = first_free) {
        first_free = block->next;
        (reinterpret_cast<Header *>(block) - 1)->size = size;
        return block;
    }
    auto const room = sizeof(Header) + (std::size_t(1) << size_class);
    if (static_cast<std::size_t>(region_end - region) < room && !map_region(room)) {
        errno = ENOMEM;
        return nullptr;
    }
    auto *header = new (region) Header{size_class, size};
    region += room;
    return header + 1;
}

void give_back(void *block) noexcept
{
    if (block == nullptr)
        return;
    auto *&first_free = free_blocks[(static_cast<Header *>(block) - 1)->size_class];
    first_free = new (block) FreeBlock{first_free};
}

} // namespace

tarnwick::bench::Taken tarnwick::bench::taken() noexcept
{
    return sum;
}

extern "C" {

void *malloc(std::size_t size) noexcept
{
    return take(size);
}

void *calloc(std::size_t number, std::size_t size) noexcept
{
    auto *block = take(number * size);
    if (block != nullptr)
        std::memset(block, 0, number * size);
    return block;
}

void *realloc(void *block, std::size_t size) noexcept
{
    auto *larger = take(size);
    if (block == nullptr || larger == nullptr)
        return larger;
    std::memcpy(larger, block, std::min(size, (static_cast<Header *>(block) - 1)->size));
    give_back(block);
    return larger;
}

void free(void *block) noexcept
{
    give_back(block);
}

// No caller needs more than the alignment of every block, and free() would take a block of another allocator for one of
// these.

void *aligned_alloc(std::size_t /*alignment*/, std::size_t /*size*/) noexcept
{
    std::abort();
}

void *memalign(std::size_t /*alignment*/, std::size_t /*size*/) noexcept
{
    std::abort();
}

int posix_memalign(void ** /*block*/, std::size_t /*alignment*/, std::size_t /*size*/) noexcept
{
    std::abort();
}

} // extern "C"
