#include <tarnwick/data/php/request_id.h>

#include "support/message_fields.h"
#include "support/textproto.h"

#include <tarnwick/rpc/php/v1/request_id.pb.h>

#include <gmock/gmock.h>

#include <QtCore/QVariant>

#include <cstdint>
#include <type_traits>

namespace tarnwick::data::php::request_id_test {
namespace {

// Together these two make the compiler pass it in one register.
static_assert(std::is_trivially_copyable_v<RequestId>);
static_assert(sizeof(RequestId) == sizeof(std::uint64_t));

static_assert(RequestId().id() == 0);
static_assert(RequestId(7).id() == 7);
static_assert(!std::is_convertible_v<std::uint64_t, RequestId>);
static_assert(std::is_nothrow_constructible_v<RequestId, rpc::php::v1::RequestId const &>);

TEST(RequestId, reads_all_64_bits_of_the_message)
{
    EXPECT_EQ(RequestId(test::from_text<rpc::php::v1::RequestId>("id: 18446744073709551615")).id(),
              18446744073709551615U);
}

TEST(RequestId, of_an_empty_message_is_0)
{
    EXPECT_EQ(RequestId(rpc::php::v1::RequestId()).id(), 0U);
}

TEST(RequestId, round_trips_through_a_qvariant)
{
    EXPECT_EQ(QVariant::fromValue(RequestId(7)).value<RequestId>().id(), 7U);
}

TEST(RequestId, reads_every_message_field)
{
    EXPECT_THAT(test::field_names<rpc::php::v1::RequestId>(), testing::ElementsAre("id"));
}

} // namespace
} // namespace tarnwick::data::php::request_id_test
