#include "support/allocations.h"

#include "support/table.h"

#include <gmock/gmock.h>

#include <QtCore/QString>

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>
#include <string>
#include <thread>

namespace tarnwick::test::allocations_test {
namespace {

TEST(Allocations, count_new_of_a_test)
{
    std::unique_ptr<int> number;
    EXPECT_EQ(allocations_of([&] { number = std::make_unique<int>(7); }), 1U);
}

TEST(Allocations, count_malloc_in_libraries)
{
    QString text;
    EXPECT_EQ(allocations_of([&] { text = QString::fromUtf8("a text of its own"); }), 1U);
}

TEST(Allocations, are_0_without_an_allocation)
{
    EXPECT_EQ(allocations_of([] {}), 0U);
}

TEST(Allocations, record_frees_in_order)
{
    auto one = std::make_unique<int>(1);
    auto other = std::make_unique<int>(2);
    void const *const blocks[] = {other.get(), one.get()};
    EXPECT_THAT(frees_of([&] {
                    other.reset();
                    one.reset();
                }),
                testing::ElementsAreArray(blocks));
}

TEST(Allocations, record_frees_of_the_action_only)
{
    auto const before = std::make_unique<int>(1);
    EXPECT_THAT(frees_of([] {}), testing::IsEmpty());
}

TEST(Allocations, live_blocks_are_allocated_and_not_freed)
{
    auto const before = live_blocks();
    {
        auto const text = QString::fromUtf8("a text of its own");
        auto const number = std::make_unique<int>(7);
        EXPECT_EQ(live_blocks(), before + 2);
    }
    EXPECT_EQ(live_blocks(), before);
}

TEST(Allocations, live_blocks_do_not_change_when_a_block_grows)
{
    auto const before = live_blocks();
    auto *const block = std::realloc(nullptr, 10);
    EXPECT_EQ(live_blocks(), before + 1);
    auto *const grown = std::realloc(block, 100'000);
    EXPECT_EQ(live_blocks(), before + 1);
    std::free(grown);
    EXPECT_EQ(live_blocks(), before);
}

/// The allocations of an action, each as `x` where it failed.
template <class Action>
std::string outcomes(std::size_t first, std::size_t last, Action &&action)
{
    std::string outcomes;
    outcomes.reserve(100);
    FailingAllocations failing(first, last);
    for (int i = 0; i < 5; ++i)
        outcomes += action() ? '.' : 'x';
    failing.stop();
    return outcomes;
}

/// Hides from the compiler that the block is unused, so that the allocation is not removed.
bool is_allocated(void *block)
{
    void const *const volatile observed = block;
    return observed != nullptr;
}

template <class Content>
bool by_new()
{
    try {
        return is_allocated(std::make_unique<Content>().get());
    } catch (std::bad_alloc const &) {
        return false;
    }
}

struct alignas(256) Aligned {};

bool by_nothrow_new()
{
    return is_allocated(std::unique_ptr<int>(new (std::nothrow) int(7)).get());
}

bool by_calloc()
{
    auto *const block = std::calloc(1, 1);
    auto const given = is_allocated(block);
    std::free(block);
    return given;
}

bool by_realloc()
{
    auto *const block = std::realloc(nullptr, 1);
    auto const given = is_allocated(block);
    std::free(block);
    return given;
}

bool by_a_library()
{
    try {
        return !QString::fromUtf8("a text of its own").isNull();
    } catch (std::bad_alloc const &) {
        return false;
    }
}

struct AllocationCase {
    char const *name;
    bool (*allocate)();
};

class FailingAllocation : public TableTest<AllocationCase> {};

TEST_P(FailingAllocation, fails_from_the_first_to_the_last)
{
    auto *const allocate = GetParam().allocate;
    EXPECT_EQ(outcomes(1, 1, allocate), "x....");
    EXPECT_EQ(outcomes(2, FailingAllocations::from_then_on, allocate), ".xxxx");
    EXPECT_EQ(outcomes(6, 6, allocate), ".....");
}

TEST_P(FailingAllocation, returns_no_block)
{
    auto const before = live_blocks();
    outcomes(2, 2, GetParam().allocate);
    EXPECT_EQ(live_blocks(), before);
}

INSTANTIATE_TEST_SUITE_P(
    , FailingAllocation,
    testing::Values(AllocationCase{"by_new", by_new<int>}, AllocationCase{"by_aligned_new", by_new<Aligned>},
                    AllocationCase{"by_nothrow_new", by_nothrow_new}, AllocationCase{"by_calloc", by_calloc},
                    AllocationCase{"by_realloc", by_realloc}, AllocationCase{"by_a_library", by_a_library}),
    by_name);

// Throwing an exception allocates too, if there is memory.
TEST(FailingAllocations, fail_for_an_exception_too)
{
    EXPECT_EQ(outcomes(1, FailingAllocations::from_then_on, by_new<int>), "xxxxx");
    FailingAllocations failing(2, FailingAllocations::from_then_on);
    EXPECT_TRUE(by_calloc());
    EXPECT_FALSE(by_new<int>());
    EXPECT_GE(failing.stop(), 2U);
}

TEST(FailingAllocations, are_counted)
{
    FailingAllocations failing(2, 3);
    for (int i = 0; i < 5; ++i)
        by_calloc();
    EXPECT_EQ(failing.stop(), 2U);
    EXPECT_EQ(failing.stop(), 0U);
}

TEST(FailingAllocations, are_none_when_too_few_are_requested)
{
    FailingAllocations failing(2, FailingAllocations::from_then_on);
    by_calloc();
    EXPECT_EQ(failing.stop(), 0U);
}

TEST(FailingAllocations, end_with_the_object)
{
    {
        FailingAllocations const failing(1, FailingAllocations::from_then_on);
    }
    EXPECT_TRUE(by_calloc());
}

TEST(PeakBytes, are_the_most_at_one_time)
{
    constexpr std::size_t size = 100'000;
    constexpr std::size_t more = 5'000; // the heap rounds large blocks up to a page
    auto const kept = std::make_unique<char[]>(size);
    auto const one_after_the_other = peak_bytes_of([] {
        for (int i = 0; i < 10; ++i)
            std::make_unique<char[]>(size);
    });
    EXPECT_GE(one_after_the_other, size);
    EXPECT_LT(one_after_the_other, size + more);
    auto const at_once = peak_bytes_of([] {
        auto const one = std::make_unique<char[]>(size);
        auto const other = std::make_unique<char[]>(size);
    });
    EXPECT_GE(at_once, 2 * size);
    EXPECT_LT(at_once, 2 * size + more);
    auto const grown = peak_bytes_of([] { std::free(std::realloc(std::malloc(size), 3 * size)); });
    EXPECT_GE(grown, 3 * size);
    EXPECT_LT(grown, 3 * size + more);
    EXPECT_LT(peak_bytes_of([] {}), more);
}

TEST(LiveBytes, are_those_since_watching_began)
{
    constexpr std::size_t size = 100'000;
    constexpr std::size_t more = 5'000;
    auto const before = std::make_unique<char[]>(size);
    watch_peak();
    auto const kept = std::make_unique<char[]>(size);
    std::make_unique<char[]>(2 * size);
    auto const live = live_bytes();
    EXPECT_GE(peak_bytes(), 3 * size);
    EXPECT_GE(live, size);
    EXPECT_LT(live, size + more);
}

TEST(FailingAllocations, do_not_affect_other_threads)
{
    bool elsewhere = false;
    std::atomic<bool> go = false;
    std::thread other([&] {
        go.wait(false);
        elsewhere = by_new<int>();
    });
    {
        FailingAllocations const failing(1, FailingAllocations::from_then_on);
        go = true;
        go.notify_one();
        other.join();
    }
    EXPECT_TRUE(elsewhere);
}

} // namespace
} // namespace tarnwick::test::allocations_test
