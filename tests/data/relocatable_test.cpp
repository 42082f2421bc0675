// Lists move handles and values as bytes, and a QVariant stores up to three pointers in place.

#include "support/allocations.h"
#include "support/record_types.h"

#include <gtest/gtest.h>

#include <QtCore/QTypeInfo>
#include <QtCore/QVariant>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <type_traits>

namespace tarnwick::data::relocatable_test {
namespace {

using test::allocations_of;
using test::for_all;
using test::Handles;
using test::Values;

static_assert(for_all<Handles>([]<class Handle> { return QTypeInfo<Handle>::isRelocatable; }));
static_assert(for_all<Handles>([]<class Handle> { return QTypeInfo<typename Handle::Pointer>::isRelocatable; }));
static_assert(for_all<Values>([]<class Value> { return QTypeInfo<Value>::isRelocatable; }));

/// A handle that another object points to cannot be moved as bytes.
struct Tracked : php::ZVal {
    Tracked *self = this;
};
static_assert(!QTypeInfo<Tracked>::isRelocatable);
static_assert(!QTypeInfo<std::optional<php::ZVal>>::isRelocatable);

/// Number of blocks that a variant of the value allocates. The first variant of a type registers the type.
template <class T>
std::size_t allocations_in_a_variant(T const &value)
{
    QMetaType::fromType<T>().registerType();
    return allocations_of([&] { [[maybe_unused]] auto const variant = QVariant::fromValue(value); });
}

TEST(Relocatable, a_variant_of_a_handle_allocates_nothing)
{
    for_all<Handles>([]<class Handle> {
        EXPECT_EQ(allocations_in_a_variant(Handle()), 0U) << QMetaType::fromType<Handle>().name();
        EXPECT_EQ(allocations_in_a_variant(typename Handle::Pointer()), 0U) << QMetaType::fromType<Handle>().name();
        return true;
    });
    php::ZVal const value(new php::detail::ZVal(std::in_place_type<std::int64_t>, 7));
    EXPECT_EQ(allocations_in_a_variant(value), 0U);
    EXPECT_EQ(value->ref.loadRelaxed(), 1);
}

TEST(Relocatable, a_variant_of_a_small_value_allocates_nothing_and_of_a_large_one_once)
{
    EXPECT_EQ(allocations_in_a_variant(php::RequestId(7)), 0U);
    EXPECT_EQ(allocations_in_a_variant(TimePair{1, 2}), 0U);
    EXPECT_EQ(allocations_in_a_variant(php::StackTrace()), 0U);
    EXPECT_EQ(allocations_in_a_variant(glimmet::SqlConnections()), 0U);
    EXPECT_EQ(allocations_in_a_variant(glimmet::SqlTransactions()), 0U);
    EXPECT_EQ(allocations_in_a_variant(glimmet::SqlError()), 0U);
    EXPECT_EQ(allocations_in_a_variant(php::SourceLocation()), 1U);
    EXPECT_EQ(allocations_in_a_variant(php::Error()), 1U);
    EXPECT_EQ(allocations_in_a_variant(php::Exception()), 1U);
}

TEST(Relocatable, a_variant_returns_a_default_value_for_another_type)
{
    EXPECT_TRUE(QVariant().value<php::SourceLocation>().file().isNull());
    EXPECT_EQ(QVariant().value<php::SourceLocation>().line(), 0U);
    EXPECT_EQ(QVariant().value<php::SourceLocation>().line_extra(), 0U);
    EXPECT_EQ(QVariant().value<php::Error>().category(), php::Error::Category::none);
    EXPECT_EQ(QVariant().value<php::Error>().number(), 0);
    EXPECT_TRUE(QVariant().value<php::Error>().name().isNull());
    EXPECT_TRUE(QVariant().value<php::Exception>().exception_name().isNull());
    EXPECT_TRUE(QVariant().value<php::Exception>().exception_text().isNull());
    EXPECT_TRUE(QVariant().value<glimmet::SqlError>().message().isNull());
    php::SourceLocation const location(QStringLiteral("a.php"), 1, 2);
    EXPECT_EQ(QVariant::fromValue(location).value<php::SourceLocation>().line(), 1U);
}

} // namespace
} // namespace tarnwick::data::relocatable_test
