// Handles that many threads copy and release: no record leaks, and none is freed before its last owner releases it.

#include "threads/records.h"
#include "threads/threads.h"

#include "support/allocations.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace tarnwick::test::threads_handles_test {
namespace {

/// Records of all kinds, each with one handle, from messages of the shapes 1 to `shapes`.
std::vector<Record> records(std::uint32_t shapes)
{
    std::vector<Record> records;
    for (std::uint32_t shape = 1; shape <= shapes; ++shape) {
        for (auto const &construct : constructors(shape))
            records.push_back(construct());
    }
    return records;
}

std::vector<std::string> texts_of(std::vector<Record> const &records)
{
    std::vector<std::string> texts(records.size());
    std::ranges::transform(records, texts.begin(), [](Record const &record) { return text_of(record); });
    return texts;
}

TEST(Handles, are_copied_and_released_ten_million_times)
{
    constexpr std::size_t copies = 10'000'000;
    constexpr std::size_t copies_of_a_thread = copies / threads;
    static_assert(copies_of_a_thread * threads == copies);
    constexpr std::size_t copies_for_a_look = 512;

    auto const shared = records(4);
    auto const texts = texts_of(shared);
    std::atomic<std::size_t> released = 0;
    std::atomic<std::size_t> looks = 0;
    std::atomic<std::size_t> misread = 0;
    on_threads([&](std::size_t thread) {
        std::minstd_rand random(static_cast<unsigned int>(thread + 1));
        std::array<std::optional<Record>, 16> held;
        std::size_t gone = 0;
        for (std::size_t copy = 0; copy < copies_of_a_thread; ++copy) {
            auto &place = held[random() % held.size()];
            auto const number = random() % shared.size();
            gone += place.has_value();
            place.emplace(shared[number]);
            if (copy % copies_for_a_look == 0) {
                ++looks;
                misread += text_of(*place) != texts[number];
            }
        }
        for (auto &place : held) {
            gone += place.has_value();
            place.reset();
        }
        released += gone;
    });
    EXPECT_EQ(released, copies);
    EXPECT_GT(looks, copies / copies_for_a_look);
    EXPECT_EQ(misread, 0U);
    EXPECT_TRUE(std::ranges::all_of(shared, [](Record const &record) { return handles(record) == 1; }));
}

/// The handles of one thread, and which of their records it is the last to release.
struct Owner {
    struct Place {
        std::size_t number = 0;
        Record record;
        bool is_last = false;
    };
    std::vector<Place> places;
    std::size_t misread = 0;
    std::size_t wrongly_last = 0;
    std::size_t wrongly_early = 0;
    std::ptrdiff_t blocks_freed = 0;
};

/// Releases a handle. Returns how many blocks of memory that freed: none, unless the handle was the last one.
std::ptrdiff_t freed_with(Record &record)
{
    auto const before = live_blocks();
    {
        Record const last(std::move(record));
    }
    return before - live_blocks();
}

// The last owner waits only for the count of handles, with a relaxed read that synchronises nothing. So only the way in
// which handles count makes the destruction safe.
TEST(Handles, are_freed_by_a_random_last_owner_while_others_read)
{
    constexpr std::uint32_t shapes = 40;
    std::mt19937 chance(shapes); // NOLINT(bugprone-random-generator-seed): the same in every run
    records(shapes);             // allocates what all messages share
    auto const before = live_blocks();
    auto all = records(shapes);
    auto const blocks = live_blocks() - before - 1; // without that of the vector
    std::vector<Owner> owners(threads);
    auto const texts = texts_of(all);
    std::size_t const count = all.size();
    for (std::size_t number = 0; number < count; ++number) {
        auto const last = chance() % threads;
        for (std::size_t owner = 0; owner < threads; ++owner)
            owners[owner].places.push_back({number, all[number], owner == last});
    }
    for (auto &owner : owners)
        std::ranges::shuffle(owner.places, chance);
    all.clear();

    on_threads([&](std::size_t thread) {
        auto &owner = owners[thread];
        for (auto &[number, record, is_last] : owner.places) {
            owner.misread += text_of(record) != texts[number];
            if (!is_last)
                owner.wrongly_last += freed_with(record) != 0;
        }
        for (auto &[number, record, is_last] : owner.places) {
            if (!is_last)
                continue;
            while (handles(record) != 1)
                std::this_thread::yield();
            owner.misread += text_of(record) != texts[number];
            auto const freed = freed_with(record);
            owner.wrongly_early += freed == 0;
            owner.blocks_freed += freed;
        }
    });

    std::ptrdiff_t freed = 0;
    for (auto const &owner : owners) {
        EXPECT_EQ(owner.misread, 0U);
        EXPECT_EQ(owner.wrongly_last, 0U);
        EXPECT_EQ(owner.wrongly_early, 0U);
        EXPECT_GT(owner.blocks_freed, 0) << "this thread was never the last owner";
        freed += owner.blocks_freed;
    }
    EXPECT_EQ(freed, blocks);
}

} // namespace
} // namespace tarnwick::test::threads_handles_test
