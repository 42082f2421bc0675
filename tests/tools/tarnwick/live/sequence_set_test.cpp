#include "live/sequence_set.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <set>

namespace tarnwick::program {
namespace {

TEST(SequenceSetTest, adds_each_number_once_in_any_order)
{
    std::mt19937 random(7); // NOLINT(bugprone-random-generator-seed): the same each time
    SequenceSet sequences;
    std::set<std::uint64_t> model;
    for (int i = 0; i < 2000; ++i) {
        std::uint64_t const number = random() % 300;
        ASSERT_EQ(sequences.insert(number), model.insert(number).second) << number;
    }
}

TEST(SequenceSetTest, adds_the_largest_number)
{
    SequenceSet sequences;
    EXPECT_TRUE(sequences.insert(UINT64_MAX - 1));
    EXPECT_TRUE(sequences.insert(UINT64_MAX));
    EXPECT_FALSE(sequences.insert(UINT64_MAX));
    EXPECT_FALSE(sequences.insert(UINT64_MAX - 1));
    EXPECT_TRUE(sequences.insert(0));
}

} // namespace
} // namespace tarnwick::program
