#include <tarnwick/data/handle.h>

#include <tarnwick/data/php/rshutdown.h>

#include <pelorin/protobuf/PelorinPHP/rshutdown_data.pb.h>

#include <gtest/gtest.h>

#include <QtCore/QMetaType>
#include <QtCore/QVariant>

#include <type_traits>
#include <utility>

namespace tarnwick::data::handle_test {
namespace {

using php::RShutdown;
using Pointer = QExplicitlySharedDataPointer<php::detail::RShutdown>;

// `*record` cannot be replaced or copied through a handle.
static_assert(!std::is_copy_constructible_v<php::detail::RShutdown>);
static_assert(!std::is_copy_assignable_v<php::detail::RShutdown>);
static_assert(!std::is_move_assignable_v<php::detail::RShutdown>);
static_assert(!std::is_polymorphic_v<php::detail::RShutdown>);

php::detail::RShutdown *new_payload()
{
    return new php::detail::RShutdown(pelorin::protobuf::PelorinPHP::RShutdownData(), php::RequestId(7));
}

TEST(Handle, is_null_by_default_and_releases_nothing)
{
    RShutdown const record;
    EXPECT_FALSE(record);
}

TEST(Handle, raises_the_count_from_0_to_1_and_for_each_copy)
{
    auto *payload = new_payload();
    EXPECT_EQ(payload->ref.loadRelaxed(), 0);
    RShutdown const record(payload);
    EXPECT_EQ(payload->ref.loadRelaxed(), 1);
    {
        // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): the copy is what is tested
        RShutdown const copy = record;
        EXPECT_EQ(payload->ref.loadRelaxed(), 2);
    }
    EXPECT_EQ(payload->ref.loadRelaxed(), 1);
}

TEST(Handle, is_built_from_the_pointer_type_of_lists)
{
    Pointer pointer(new_payload());
    RShutdown const shared(pointer);
    EXPECT_EQ(shared->ref.loadRelaxed(), 2);

    RShutdown const moved(std::move(pointer));
    EXPECT_EQ(moved.get(), shared.get());
    EXPECT_EQ(moved->ref.loadRelaxed(), 2);
}

/// A payload that records its destruction, and a payload with a handle to it.
struct Part : QSharedData {
    explicit Part(int &destroyed)
        : destroyed_(destroyed)
    {
    }
    ~Part() { ++destroyed_; }
    Q_DISABLE_COPY_MOVE(Part)
    int &destroyed_;
};

struct Whole : QSharedData {
    explicit Whole(Handle<Part> part)
        : part_(std::move(part))
    {
    }
    Handle<Part> part_;
};

TEST(Handle, the_last_one_destroys_the_payload_and_its_parts)
{
    int destroyed = 0;
    {
        Handle<Whole> const whole(new Whole(Handle<Part>(new Part(destroyed))));
        EXPECT_EQ(destroyed, 0);
    }
    EXPECT_EQ(destroyed, 1);
}

TEST(Handle, the_last_one_does_not_delete_a_shared_part)
{
    int destroyed = 0;
    Handle<Part> part(new Part(destroyed));
    {
        Handle<Whole> const whole(new Whole(part));
    }
    EXPECT_EQ(destroyed, 0);
    part.reset();
    EXPECT_EQ(destroyed, 1);
}

TEST(Handle, round_trips_through_a_qvariant)
{
    RShutdown const record(new_payload());
    auto const variant = QVariant::fromValue(record);

    EXPECT_STREQ(variant.metaType().name(), "tarnwick::data::php::RShutdown");
    EXPECT_EQ(variant.value<RShutdown>().get(), record.get());
}

} // namespace
} // namespace tarnwick::data::handle_test
