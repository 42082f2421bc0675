// What the handles of users, authentication requests and sessions have in common.

#include <tarnwick/auth/request.h>
#include <tarnwick/auth/session.h>
#include <tarnwick/auth/user.h>

#include <tarnwick/data/print.h>

#include "support/allocations.h"

#include <gmock/gmock.h>

#include <QtCore/QMetaType>
#include <QtCore/QVariant>

#include <optional>
#include <type_traits>
#include <utility>

namespace PelorinPHPX::auth_handles_test {
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
TYPED_TEST_SUITE(IdentityHandle, Handles, );

template <class Handle>
constexpr char const *full_name = "";
template <>
constexpr auto full_name<Auth::User> = "PelorinPHPX::Auth::User";
template <>
constexpr auto full_name<Auth::Request> = "PelorinPHPX::Auth::Request";
template <>
constexpr auto full_name<Session> = "PelorinPHPX::Session";

TYPED_TEST(IdentityHandle, has_its_full_name_as_metatype)
{
    EXPECT_STREQ(QMetaType::fromType<TypeParam>().name(), full_name<TypeParam>);
}

TYPED_TEST(IdentityHandle, is_null_by_default)
{
    EXPECT_FALSE(TypeParam());
    EXPECT_EQ(fmt::format("{}", TypeParam()), "none");
}

TYPED_TEST(IdentityHandle, raises_the_count_from_0_to_1_and_for_each_copy)
{
    auto *const payload = new TestFixture::Data;
    EXPECT_EQ(payload->ref.loadRelaxed(), 0);
    TypeParam const handle(payload);
    EXPECT_EQ(payload->ref.loadRelaxed(), 1);
    TypeParam const copy(handle); // NOLINT(performance-unnecessary-copy-initialization): the copy is what is tested
    EXPECT_EQ(payload->ref.loadRelaxed(), 2);
    EXPECT_EQ(copy.get(), payload);
}

TYPED_TEST(IdentityHandle, deletes_the_payload_once_when_it_is_the_last)
{
    std::optional<TypeParam> first(new TestFixture::Data);
    std::optional copy(first);
    void const *const payload = first->get();
    EXPECT_THAT(frees_of([&] { first.reset(); }), IsEmpty());
    EXPECT_EQ((*copy)->ref.loadRelaxed(), 1);
    EXPECT_THAT(frees_of([&] { copy.reset(); }), Contains(payload).Times(1));
}

TYPED_TEST(IdentityHandle, releases_its_payload_when_assigned)
{
    TypeParam const handle(new TestFixture::Data);
    TypeParam other(new TestFixture::Data);
    void const *const payload = other.get();
    EXPECT_THAT(frees_of([&] { other = handle; }), Contains(payload).Times(1));
    EXPECT_EQ(other.get(), handle.get());
    EXPECT_EQ(handle->ref.loadRelaxed(), 2);
}

TYPED_TEST(IdentityHandle, is_null_after_a_move)
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

TYPED_TEST(IdentityHandle, allocates_nothing_when_copied_or_moved)
{
    TypeParam const handle(new TestFixture::Data);
    EXPECT_EQ(allocations_of([&] {
                  TypeParam copy(handle);
                  TypeParam const moved(std::move(copy));
              }),
              0U);
}

TYPED_TEST(IdentityHandle, round_trips_through_a_qvariant)
{
    TypeParam const handle(new TestFixture::Data);
    auto const variant = QVariant::fromValue(handle);
    EXPECT_EQ(variant.template value<TypeParam>().get(), handle.get());
}

} // namespace
} // namespace PelorinPHPX::auth_handles_test
