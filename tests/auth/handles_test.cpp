// What the handles of users, authentication requests and sessions have in common.

#include <tarnwick/auth/request.h>
#include <tarnwick/auth/session.h>
#include <tarnwick/auth/user.h>

#include <tarnwick/data/print.h>

#include "support/allocations.h"

#include <gmock/gmock.h>

#include <QtCore/QVariant>

#include <optional>
#include <type_traits>
#include <utility>

namespace PelorinPHPX {
namespace {

using tarnwick::test::allocations_of;
using tarnwick::test::frees_of;
using testing::Contains;
using testing::IsEmpty;

template <class Handle>
class IdentityHandle : public testing::Test {
protected:
    using Data = Handle::Type;

    static_assert(std::is_base_of_v<QExplicitlySharedDataPointer<Data>, Handle>);
    static_assert(sizeof(Handle) == sizeof(void *));
    static_assert(std::is_nothrow_default_constructible_v<Handle>);
    static_assert(std::is_nothrow_copy_constructible_v<Handle>);
    static_assert(std::is_nothrow_copy_assignable_v<Handle>);
    static_assert(std::is_nothrow_move_constructible_v<Handle>);
    static_assert(std::is_nothrow_move_assignable_v<Handle>);
    static_assert(std::is_convertible_v<typename Handle::Pointer, Handle>);
    static_assert(!std::is_convertible_v<Data *, Handle>);

    static_assert(std::is_base_of_v<QSharedData, Data>);
    static_assert(!std::is_copy_constructible_v<Data>);
    static_assert(!std::is_copy_assignable_v<Data>);
    static_assert(!std::is_move_assignable_v<Data>);
    static_assert(!std::is_polymorphic_v<Data>);
};

using Handles = testing::Types<Auth::User, Auth::Request, Session>;
TYPED_TEST_SUITE(IdentityHandle, Handles);

TYPED_TEST(IdentityHandle, made_by_default_is_null)
{
    EXPECT_FALSE(TypeParam());
    EXPECT_EQ(fmt::format("{}", TypeParam()), "none");
}

TYPED_TEST(IdentityHandle, takes_the_count_from_0_to_1_and_each_copy_counts)
{
    auto *const payload = new TestFixture::Data;
    EXPECT_EQ(payload->ref.loadRelaxed(), 0);
    TypeParam const handle(payload);
    EXPECT_EQ(payload->ref.loadRelaxed(), 1);
    TypeParam const copy(handle); // NOLINT(performance-unnecessary-copy-initialization): the copy is what is tested
    EXPECT_EQ(payload->ref.loadRelaxed(), 2);
    EXPECT_EQ(copy.get(), payload);
}

TYPED_TEST(IdentityHandle, that_is_the_last_one_deletes_the_payload_once)
{
    std::optional<TypeParam> first(new TestFixture::Data);
    std::optional copy(first);
    void const *const payload = first->get();
    EXPECT_THAT(frees_of([&] { first.reset(); }), IsEmpty());
    EXPECT_EQ((*copy)->ref.loadRelaxed(), 1);
    EXPECT_THAT(frees_of([&] { copy.reset(); }), Contains(payload).Times(1));
}

TYPED_TEST(IdentityHandle, that_is_assigned_lets_go_of_what_it_held)
{
    TypeParam const handle(new TestFixture::Data);
    TypeParam other(new TestFixture::Data);
    void const *const payload = other.get();
    EXPECT_THAT(frees_of([&] { other = handle; }), Contains(payload).Times(1));
    EXPECT_EQ(other.get(), handle.get());
    EXPECT_EQ(handle->ref.loadRelaxed(), 2);
}

TYPED_TEST(IdentityHandle, that_is_moved_hands_the_payload_on_and_is_null)
{
    TypeParam handle(new TestFixture::Data);
    auto *const payload = handle.get();
    TypeParam moved(std::move(handle));
    EXPECT_FALSE(handle);
    EXPECT_EQ(moved.get(), payload);
    EXPECT_EQ(payload->ref.loadRelaxed(), 1);
    handle = std::move(moved);
    EXPECT_FALSE(moved);
    EXPECT_EQ(handle.get(), payload);
    EXPECT_EQ(payload->ref.loadRelaxed(), 1);
}

TYPED_TEST(IdentityHandle, that_is_copied_or_moved_allocates_nothing)
{
    TypeParam const handle(new TestFixture::Data);
    EXPECT_EQ(allocations_of([&] {
                  TypeParam copy(handle);
                  TypeParam const moved(std::move(copy));
              }),
              0U);
}

TYPED_TEST(IdentityHandle, goes_through_a_variant_as_it_goes_through_a_queued_signal)
{
    TypeParam const handle(new TestFixture::Data);
    auto const variant = QVariant::fromValue(handle);
    EXPECT_EQ(variant.template value<TypeParam>().get(), handle.get());
}

} // namespace
} // namespace PelorinPHPX
