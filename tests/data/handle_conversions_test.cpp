// What a handle converts to, for every handle of the library. A failure is an error of the compiler.

#include <tarnwick/data/handle.h>

#include <tarnwick/data/php/value_handles.h>

#include "support/record_types.h"

#include <gtest/gtest.h>

#include <QtCore/QDataStream>
#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QVariant>

#include <cstdint>
#include <ostream>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace tarnwick::data::handle_conversions_test {
namespace {

using test::for_all;
using test::Handles;

template <class Left, class Right>
concept comparable = requires(Left const &left, Right const &right) { left == right; } ||
                     requires(Left const &left, Right const &right) { left != right; } ||
                     requires(Left const &left, Right const &right) { left < right; };

// A condition, and nothing else that a number would do.
static_assert(for_all<Handles>([]<class Handle> {
    return std::is_constructible_v<bool, Handle> && !std::is_convertible_v<Handle, bool> &&
           !std::is_convertible_v<Handle, int> && !std::is_convertible_v<Handle, std::int64_t> &&
           !std::is_convertible_v<Handle, double> && !std::is_convertible_v<Handle, std::string> &&
           !std::is_convertible_v<Handle, QVariant> && !std::is_convertible_v<Handle, void const *>;
}));
static_assert(for_all<Handles>([]<class Handle> {
    return requires(Handle const &handle) {
        { !handle } -> std::same_as<bool>;
        handle ? 1 : 2;
        handle && handle;
    };
}));
static_assert(for_all<Handles>([]<class Handle> {
    return !requires(Handle const &handle) { handle + 1; } && !requires(Handle const &handle) { -handle; } &&
           !requires(Handle const &handle) { handle << 1; } &&
           !requires(Handle const &handle, std::ostream &stream) { stream << handle; } &&
           !requires(Handle const &handle, QDataStream &stream) { stream << handle; } && !comparable<Handle, bool> &&
           !comparable<Handle, std::int64_t>;
}));

// The type of the pointer stays usable where a handle is wanted, and the handle where the pointer is.
static_assert(for_all<Handles>([]<class Handle> {
    using Pointer = Handle::Pointer;
    return std::is_base_of_v<Pointer, Handle> &&
           std::is_same_v<Pointer, QExplicitlySharedDataPointer<typename Handle::Type>> &&
           std::is_convertible_v<Pointer, Handle> && std::is_convertible_v<Pointer const &, Handle> &&
           std::is_convertible_v<Handle, Pointer> && std::is_convertible_v<Handle const &, Pointer const &> &&
           std::is_convertible_v<Handle, QExplicitlySharedDataPointer<typename Handle::Type const>> &&
           std::is_assignable_v<Pointer &, Handle> && std::is_assignable_v<Handle &, Pointer>;
}));
static_assert(for_all<Handles>([]<class Handle> {
    using Pointer = Handle::Pointer;
    return comparable<Handle, Handle> && comparable<Handle, Pointer> && comparable<Pointer, Handle> &&
           comparable<Handle, std::nullptr_t> && comparable<std::nullptr_t, Handle> &&
           comparable<Handle, typename Handle::Type const *>;
}));
// A payload is given away on purpose.
static_assert(for_all<Handles>([]<class Handle> {
    using Payload = Handle::Type;
    return std::is_constructible_v<Handle, Payload *> && !std::is_convertible_v<Payload *, Handle> &&
           std::is_constructible_v<Handle, Payload *, QAdoptSharedDataTag> && !std::is_convertible_v<Handle, Payload *>;
}));
static_assert(for_all<Handles>([]<class Handle> {
    return sizeof(Handle) == sizeof(void *) && std::is_nothrow_default_constructible_v<Handle> &&
           std::is_nothrow_copy_constructible_v<Handle> && std::is_nothrow_copy_assignable_v<Handle> &&
           std::is_nothrow_move_constructible_v<Handle> && std::is_nothrow_move_assignable_v<Handle> &&
           std::is_nothrow_constructible_v<Handle, typename Handle::Type *> &&
           std::is_nothrow_constructible_v<Handle, typename Handle::Pointer>;
}));

template <class T>
using PointerOf = T::Pointer;

// Two records have nothing to do with each other, by their handles or by the pointers in lists.
template <class From, class To>
constexpr bool unrelated =
    std::is_same_v<From, To> ||
    (!std::is_convertible_v<From, To> && !std::is_constructible_v<To, From> && !std::is_assignable_v<To &, From> &&
     !std::is_convertible_v<From, PointerOf<To>> && !std::is_convertible_v<From const &, PointerOf<To>> &&
     !std::is_convertible_v<From, PointerOf<To> const &> && !std::is_assignable_v<PointerOf<To> &, From> &&
     !std::is_convertible_v<PointerOf<From>, To> && !std::is_constructible_v<To, PointerOf<From>> &&
     !std::is_constructible_v<To, PointerOf<From> const &> && !std::is_assignable_v<To &, PointerOf<From>> &&
     !comparable<From, To>);
static_assert(for_all<Handles>([]<class From> {
    return for_all<Handles>([]<class To> { return unrelated<From, To>; });
}));

// A set of overloads takes each record to its own function.
template <class Handle>
struct Overload {
    static constexpr std::type_identity<Handle> call(Handle const &) { return {}; }
};
template <class... Records>
struct Overloads : Overload<Records>... {
    using Overload<Records>::call...;
};
constexpr auto overloads_of = []<class... Records>(test::Types<Records...>) { return Overloads<Records...>(); };
using AllOverloads = decltype(overloads_of(Handles()));
static_assert(for_all<Handles>([]<class Handle> {
    using Chosen = std::type_identity<Handle>;
    return std::is_same_v<decltype(AllOverloads::call(std::declval<Handle>())), Chosen> &&
           std::is_same_v<decltype(AllOverloads::call(std::declval<typename Handle::Pointer const &>())), Chosen>;
}));
// So does a variant.
constexpr auto variant_of =
    []<class... Records>(test::Types<Records...>) -> std::variant<bool, std::string, Records...> { return {}; };
using AnyRecord = decltype(variant_of(Handles()));
static_assert(for_all<Handles>([]<class Handle> { return std::is_constructible_v<AnyRecord, Handle>; }));

/// Takes the kinds of PHP values that are not nested.
struct ScalarVisitor {
    void operator()(php::detail::ZVal::undefined_t) const;
    void operator()(php::detail::ZVal::null_t) const;
    void operator()(bool) const;
    void operator()(std::int64_t) const;
    void operator()(double) const;
    void operator()(std::string const &) const;
    void operator()(QByteArray const &) const;
    void operator()(TimePair) const;
};
static_assert(std::is_invocable_v<ScalarVisitor, bool>);
static_assert(!std::is_invocable_v<ScalarVisitor, php::PelorinArray>);
static_assert(!std::is_invocable_v<ScalarVisitor, php::PelorinObject>);
static_assert(!std::is_invocable_v<ScalarVisitor, php::PelorinResource>);
// A value is a value of PHP only where its kind is named.
static_assert(!std::is_constructible_v<php::detail::ZVal::Value, php::ZVal>);
static_assert(std::is_constructible_v<php::detail::ZVal::Value, php::PelorinArray>);

/// Any payload.
php::ZVal number(std::int64_t value)
{
    return php::ZVal(new php::detail::ZVal(std::in_place_type<std::int64_t>, value));
}

TEST(HandleConversions, containers_of_pointers_convert_from_and_to_handles)
{
    php::ZVal const one = number(1);
    QList<php::ZVal::Pointer> list{one};
    list.append(number(2));
    QMap<int, php::ZVal::Pointer> map;
    map.insert(1, one);
    php::ZVal const from_list = list.front();
    php::ZVal const from_map = map.value(1);
    QList<php::ZVal> const handles(list.cbegin(), list.cend());

    EXPECT_EQ(from_list, one);
    EXPECT_EQ(from_map, one);
    EXPECT_EQ(handles.front(), one);
    EXPECT_EQ(list.indexOf(one), 0);
    EXPECT_EQ(one->ref.loadRelaxed(), 6);
}

TEST(HandleConversions, handles_compare_and_hash_by_their_payload)
{
    php::ZVal const one = number(1);
    php::ZVal const same = one; // NOLINT(performance-unnecessary-copy-initialization): the copy is what is compared
    php::ZVal const other = number(1);
    EXPECT_TRUE(one == same);
    EXPECT_TRUE(one != other);
    EXPECT_TRUE(one != nullptr);
    EXPECT_TRUE(php::ZVal() == nullptr);
    EXPECT_EQ(qHash(one), qHash(same));
    QHash<php::ZVal, int> const counts{{one, 1}, {other, 2}};
    EXPECT_EQ(counts.value(same), 1);
    EXPECT_EQ(counts.value(other), 2);
}

TEST(HandleConversions, handles_swap)
{
    php::ZVal left = number(1);
    php::ZVal right = number(2);
    auto const *const first = left.get();
    auto const *const second = right.get();
    left.swap(right);
    EXPECT_EQ(left.get(), second);
    EXPECT_EQ(right.get(), first);
    std::swap(left, right);
    EXPECT_EQ(left.get(), first);
    swap(left, right);
    EXPECT_EQ(left.get(), second);
}

TEST(HandleConversions, an_adopted_count_belongs_to_the_handle)
{
    auto *const payload = number(1).take();
    EXPECT_EQ(payload->ref.loadRelaxed(), 1);
    php::ZVal const adopted(payload, QAdoptSharedDataTag());
    EXPECT_EQ(payload->ref.loadRelaxed(), 1);
}

} // namespace
} // namespace tarnwick::data::handle_conversions_test
