#include <tarnwick/data/php/rshutdown.h>

#include <tarnwick/data/print.h>

#include "support/allocations.h"
#include "support/message_fields.h"
#include "support/table.h"
#include "support/textproto.h"

#include <pelorin/protobuf/PelorinPHP/rshutdown_data.pb.h>
#include <tarnwick/rpc/php/v1/notify_request.pb.h>

#include <gmock/gmock.h>

#include <cstddef>
#include <limits>
#include <new>
#include <string>
#include <type_traits>

namespace tarnwick::data::php::rshutdown_test {
namespace {

using pelorin::protobuf::PelorinPHP::RShutdownData;
using rpc::php::v1::NotifyRequest;
using test::field_names;
using test::from_text;
using testing::ElementsAre;

static_assert(std::is_nothrow_constructible_v<detail::RShutdown, NotifyRequest const &>);
static_assert(std::is_nothrow_constructible_v<detail::RShutdown, RShutdownData const &, RequestId>);

constexpr auto from_rpc = test::record_from_text<RShutdown, NotifyRequest>;

RShutdown from_protobuf(std::uint64_t request_id, std::string const &textproto)
{
    return test::record_from_text<RShutdown, RShutdownData>(textproto, RequestId(request_id));
}

void expect_duration_status_and_memory(RShutdown const &record)
{
    EXPECT_EQ(record->duration(), (TimePair{2, 5}));
    EXPECT_EQ(record->response_status(), 404);
    EXPECT_EQ(record->memory_0(), 11);
    EXPECT_EQ(record->memory_1(), 12);
    EXPECT_EQ(record->memory_2(), 13);
}

TEST(RShutdown, reads_every_field_of_an_rpc_report)
{
    auto const record = from_rpc(R"pb(
        request_id { id: 18446744073709551615 }
        timestamp { seconds: 1700000000 nanos: 123456789 }
        rshutdown {
            duration { seconds: 2 nanos: 5 }
            response { status: 404 }
            memory { value_0: 11 value_1: 12 value_2: 13 }
        })pb");

    EXPECT_EQ(record->request_id().id(), 18446744073709551615U);
    EXPECT_EQ(record->timestamp(), (TimePair{1700000000, 123456789}));
    expect_duration_status_and_memory(record);
}

TEST(RShutdown, reads_every_field_of_a_protobuf_report)
{
    auto const record = from_protobuf(7, R"pb(
        duration { seconds: 2 nanos: 5 }
        memory_0: 11
        memory_1: 12
        memory_2: 13
        response_status: 404)pb");

    EXPECT_EQ(record->request_id().id(), 7U);
    expect_duration_status_and_memory(record);
}

TEST(RShutdown, has_no_timestamp_from_a_protobuf_report)
{
    EXPECT_EQ(from_protobuf(7, "duration { seconds: 2 } memory_0: 1 response_status: 200")->timestamp(), TimePair{});
}

TEST(RShutdown, is_the_same_in_both_dialects)
{
    auto const rpc = from_rpc(R"pb(
        request_id { id: 7 }
        rshutdown {
            duration { seconds: -2 nanos: 1999999999 }
            response { status: -1 }
            memory { value_0: -9223372036854775808 value_1: 9223372036854775807 value_2: -1 }
        })pb");
    auto const protobuf = from_protobuf(7, R"pb(
        duration { seconds: -2 nanos: 1999999999 }
        memory_0: -9223372036854775808
        memory_1: 9223372036854775807
        memory_2: -1
        response_status: -1)pb");

    EXPECT_EQ(to_text(rpc), to_text(protobuf));
}

#define NOTHING_READ "duration: {0 s, 0 ns}, response_status: 0, memory_0: 0, memory_1: 0, memory_2: 0}"
#define ID_AND_TIME_READ "php.RShutdown{request_id: 7, timestamp: {8 s, 9 ns}, "

test::PrintedCase const rpc_cases[] = {
    {"an_empty_message_has_zeroes", "", "php.RShutdown{request_id: 0, timestamp: {0 s, 0 ns}, " NOTHING_READ},
    {"no_payload_has_id_and_time", "request_id { id: 7 } timestamp { seconds: 8 nanos: 9 }",
     ID_AND_TIME_READ NOTHING_READ},
    {"a_request_start_has_id_and_time",
     "request_id { id: 7 } timestamp { seconds: 8 nanos: 9 } rinit { info { number: 3 } }",
     ID_AND_TIME_READ NOTHING_READ},
    {"an_error_has_id_and_time",
     "request_id { id: 7 } timestamp { seconds: 8 nanos: 9 } error { error { message: 'm' } }",
     ID_AND_TIME_READ NOTHING_READ},
    {"an_empty_request_end_has_id_and_time", "request_id { id: 7 } timestamp { seconds: 8 nanos: 9 } rshutdown { }",
     ID_AND_TIME_READ NOTHING_READ},
    {"a_missing_id_is_0", "timestamp { seconds: 8 nanos: 9 } rshutdown { }",
     "php.RShutdown{request_id: 0, timestamp: {8 s, 9 ns}, " NOTHING_READ},
    {"a_missing_time_is_0", "request_id { id: 7 } rshutdown { }",
     "php.RShutdown{request_id: 7, timestamp: {0 s, 0 ns}, " NOTHING_READ},
    {"only_duration", "rshutdown { duration { seconds: 1 nanos: 2 } }",
     "php.RShutdown{request_id: 0, timestamp: {0 s, 0 ns}, duration: {1 s, 2 ns}, response_status: 0, memory_0: 0, "
     "memory_1: 0, memory_2: 0}"},
    {"only_memory", "rshutdown { memory { value_0: 1 value_1: 2 value_2: 3 } }",
     "php.RShutdown{request_id: 0, timestamp: {0 s, 0 ns}, duration: {0 s, 0 ns}, response_status: 0, memory_0: 1, "
     "memory_1: 2, memory_2: 3}"},
    {"a_response_without_headers_and_body_has_its_status", "rshutdown { response { status: 200 } }",
     "php.RShutdown{request_id: 0, timestamp: {0 s, 0 ns}, duration: {0 s, 0 ns}, response_status: 200, memory_0: 0, "
     "memory_1: 0, memory_2: 0}"},
    {"a_response_with_headers_and_body_has_its_status",
     "rshutdown { response { headers { } body { text_0: 'b' } status: 500 } }",
     "php.RShutdown{request_id: 0, timestamp: {0 s, 0 ns}, duration: {0 s, 0 ns}, response_status: 500, memory_0: 0, "
     "memory_1: 0, memory_2: 0}"},
    {"times_outside_their_range_stay_as_they_are",
     "timestamp { seconds: -1 nanos: 1000000000 } rshutdown { duration { seconds: -3 nanos: -2147483648 } }",
     "php.RShutdown{request_id: 0, timestamp: {-1 s, 1000000000 ns}, duration: {-3 s, -2147483648 ns}, "
     "response_status: 0, memory_0: 0, memory_1: 0, memory_2: 0}"},
};

class RShutdownFromRpc : public test::TableTest<test::PrintedCase> {};

TEST_P(RShutdownFromRpc, is_read)
{
    EXPECT_EQ(to_text(from_rpc(GetParam().textproto)), GetParam().printed);
}

INSTANTIATE_TEST_SUITE_P(Cases, RShutdownFromRpc, test::rows(rpc_cases), test::by_name);

TEST(RShutdown, treats_an_unknown_payload_as_absent)
{
    // Field 15, a member of the payload that this library does not know.
    NotifyRequest message;
    ASSERT_TRUE(message.ParseFromString(std::string("\x0a\x02\x08\x07\x7a\x02\x08\x01", 8)));

    EXPECT_EQ(to_text(detail::RShutdown(message)),
              "php.RShutdown{request_id: 7, timestamp: {0 s, 0 ns}, " NOTHING_READ);
}

TEST(RShutdown, copies_memory_and_status_of_a_protobuf_report_without_duration)
{
    auto const record = from_protobuf(7, "memory_0: 1 memory_1: 2 memory_2: 3 response_status: 500");

    EXPECT_EQ(record->duration(), TimePair{});
    EXPECT_EQ(record->memory_0(), 1);
    EXPECT_EQ(record->memory_1(), 2);
    EXPECT_EQ(record->memory_2(), 3);
    EXPECT_EQ(record->response_status(), 500);
}

TEST(RShutdown, is_built_without_heap_memory)
{
    auto const rpc = from_text<NotifyRequest>(R"pb(
        request_id { id: 7 }
        timestamp { seconds: 8 }
        rshutdown {
            duration { seconds: 2 }
            response { status: 200 }
            memory { value_0: 11 }
        })pb");
    auto const protobuf = from_text<RShutdownData>("duration { seconds: 2 } memory_0: 11 response_status: 200");

    EXPECT_EQ(test::allocations_to_build<detail::RShutdown>(rpc), 0U);
    EXPECT_EQ(test::allocations_to_build<detail::RShutdown>(protobuf, RequestId(7)), 0U);
}

TEST(RShutdown, message_fields_are_all_read_or_known_to_be_ignored)
{
    EXPECT_THAT(field_names<rpc::php::v1::Memory>(), ElementsAre("value_0", "value_1", "value_2"));
    EXPECT_THAT(field_names<RShutdownData>(),
                ElementsAre("duration", "memory_0", "memory_1", "memory_2", "response_status"));
}

} // namespace
} // namespace tarnwick::data::php::rshutdown_test

#undef NOTHING_READ
#undef ID_AND_TIME_READ
