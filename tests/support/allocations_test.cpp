#include "support/allocations.h"

#include <gmock/gmock.h>

#include <QtCore/QString>

#include <memory>

namespace tarnwick::test {
namespace {

TEST(Allocations, count_new_of_a_test)
{
    std::unique_ptr<int> number;
    EXPECT_EQ(allocations_of([&] { number = std::make_unique<int>(7); }), 1U);
}

TEST(Allocations, count_what_a_library_takes_with_malloc)
{
    QString text;
    EXPECT_EQ(allocations_of([&] { text = QString::fromUtf8("a text of its own"); }), 1U);
}

TEST(Allocations, count_nothing_where_nothing_is_taken)
{
    EXPECT_EQ(allocations_of([] {}), 0U);
}

TEST(Allocations, frees_are_noted_in_order)
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

TEST(Allocations, frees_are_noted_of_the_action_alone)
{
    auto const before = std::make_unique<int>(1);
    EXPECT_THAT(frees_of([] {}), testing::IsEmpty());
}

} // namespace
} // namespace tarnwick::test
