#include "support/records/message_filler.h"

#include "support/textproto.h"

#include <gmock/gmock.h>

#include <pelorin/protobuf/PelorinPHP/rshutdown_data.pb.h>
#include <tarnwick/rpc/php/v1/notify_request.pb.h>
#include <tarnwick/rpc/php/v1/zval.pb.h>

#include <set>
#include <string>

namespace tarnwick::test::message_filler_test {
namespace {

using pelorin::protobuf::PelorinPHP::RShutdownData;
using rpc::php::v1::NotifyRequest;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

TEST(MessageFiller, returns_the_same_message_for_the_same_shape)
{
    EXPECT_EQ(shaped<NotifyRequest>(7).SerializeAsString(), shaped<NotifyRequest>(7).SerializeAsString());
}

TEST(MessageFiller, returns_another_message_for_another_shape)
{
    std::set<std::string> shapes;
    for (std::uint32_t shape = 0; shape < 20; ++shape)
        shapes.insert(shaped<NotifyRequest>(shape).SerializeAsString());
    EXPECT_EQ(shapes.size(), 20U);
}

TEST(MessageFiller, returns_an_empty_message_for_shape_0)
{
    EXPECT_THAT(shaped<NotifyRequest>(0).SerializeAsString(), IsEmpty());
}

TEST(MessageFiller, fills_every_field_and_leaves_out_every_field)
{
    FieldCoverage coverage;
    for (std::uint32_t shape = 0; shape < 1'000; ++shape)
        coverage.add(shaped<NotifyRequest>(shape));
    EXPECT_THAT(coverage.never_filled(), IsEmpty());
    EXPECT_THAT(coverage.never_absent(), IsEmpty());
}

TEST(FieldCoverage, reports_fields_that_were_never_filled)
{
    FieldCoverage coverage;
    coverage.add(from_text<RShutdownData>("duration { seconds: 1 nanos: 1 } response_status: 200 memory_0: 1"));
    coverage.add(from_text<RShutdownData>("duration { } memory_0: 1"));
    EXPECT_THAT(coverage.never_filled(), UnorderedElementsAre("pelorin.protobuf.PelorinPHP.RShutdownData.memory_1",
                                                              "pelorin.protobuf.PelorinPHP.RShutdownData.memory_2"));
    EXPECT_THAT(coverage.never_absent(), UnorderedElementsAre("pelorin.protobuf.PelorinPHP.RShutdownData.duration",
                                                              "pelorin.protobuf.PelorinPHP.RShutdownData.memory_0"));
}

// A nested message that was never filled is reported by the field that would contain it.
TEST(FieldCoverage, includes_nested_messages_and_lists)
{
    FieldCoverage coverage;
    coverage.add(
        from_text<rpc::php::v1::PelorinArray>("elements { value { } } elements { value { bool_value: true } }"));
    EXPECT_THAT(coverage.never_filled(), testing::Contains("tarnwick.rpc.php.v1.ZVal.json_value"));
    EXPECT_THAT(coverage.never_filled(), testing::Not(testing::Contains("tarnwick.rpc.php.v1.ZVal.bool_value")));
    EXPECT_THAT(coverage.never_absent(), UnorderedElementsAre("tarnwick.rpc.php.v1.PelorinArray.elements",
                                                              "tarnwick.rpc.php.v1.PelorinArrayElement.value"));
}

} // namespace
} // namespace tarnwick::test::message_filler_test
