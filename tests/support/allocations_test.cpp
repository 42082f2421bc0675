#include "support/allocations.h"

#include <gtest/gtest.h>

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

} // namespace
} // namespace tarnwick::test
