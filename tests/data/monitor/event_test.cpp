#include <tarnwick/data/monitor/event.h>

#include <tarnwick/data/print.h>

#include "support/allocations.h"
#include "support/message_fields.h"
#include "support/table.h"
#include "support/textproto.h"
#include "support/wire.h"

#include <pelorin/protobuf/Monitor/event.pb.h>
#include <tarnwick/rpc/monitor/v1/notify_request.pb.h>

#include <fmt/format.h>

#include <gmock/gmock.h>

#include <QtCore/QVariant>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>

namespace tarnwick::data::monitor::event_test {
namespace {

using Kind = detail::Event::Kind;
using Details = detail::Event::Details;
using FunctionError = detail::Event::FunctionError;
using SlowFunctionExec = detail::Event::SlowFunctionExec;
using PhpError = detail::Event::PhpError;
using SlowRequest = detail::Event::SlowRequest;
using HighMemoryUsage = detail::Event::HighMemoryUsage;
using CustomEvent = detail::Event::CustomEvent;
using ProtobufEvent = pelorin::protobuf::Monitor::Event;
using RpcEvent = rpc::monitor::v1::NotifyRequest;
using ValueKind = php::detail::ZVal::Kind;
using php::RequestId;
using test::field_names;
using test::from_text;
using test::from_wire;
using testing::ElementsAre;
using namespace Qt::StringLiterals;

constexpr auto from_rpc = test::record_from_text<Event, RpcEvent>;

Event from_protobuf(std::string const &textproto)
{
    return test::record_from_text<Event, ProtobufEvent>(textproto, RequestId(7));
}

// The three numberings, which are not each other's.

static_assert(std::is_same_v<std::underlying_type_t<Kind>, std::uint32_t>);
static_assert(static_cast<int>(Kind::slow_function_exec) == 0);
static_assert(static_cast<int>(Kind::function_error) == 1);
static_assert(static_cast<int>(Kind::slow_request) == 2);
static_assert(static_cast<int>(Kind::high_memory_usage) == 3);
static_assert(static_cast<int>(Kind::php_error) == 4);
static_assert(static_cast<int>(Kind::custom_event) == 5);
static_assert(static_cast<int>(Kind::unknown) == 8);

static_assert(std::is_same_v<std::variant_alternative_t<0, Details>, FunctionError>);
static_assert(std::is_same_v<std::variant_alternative_t<1, Details>, SlowFunctionExec>);
static_assert(std::is_same_v<std::variant_alternative_t<2, Details>, PhpError>);
static_assert(std::is_same_v<std::variant_alternative_t<3, Details>, SlowRequest>);
static_assert(std::is_same_v<std::variant_alternative_t<4, Details>, HighMemoryUsage>);
static_assert(std::is_same_v<std::variant_alternative_t<5, Details>, CustomEvent>);
static_assert(std::variant_size_v<Details> == 6);

/// The index of an event's details by its kind, 8 for the unknown one.
constexpr std::size_t indices[] = {1, 0, 3, 4, 2, 5, 99, 99, 0};

struct NumberRow {
    std::string name;
    int number; ///< of the member or the type
    int kind;
};

class EventOfRpcMember : public test::TableTest<NumberRow> {};

TEST_P(EventOfRpcMember, has_its_kind_and_its_alternative)
{
    // A message without content at that number.
    auto const tag = static_cast<char>(GetParam().number << 3 | 2);
    Event const event(new detail::Event(from_wire<RpcEvent>(std::string{tag, '\0'})));

    EXPECT_EQ(static_cast<int>(event->kind()), GetParam().kind);
    EXPECT_EQ(event->details().index(), indices[GetParam().kind]);
}

NumberRow const rpc_members[] = {
    {"function_error", 5, 1}, {"slow_function_exec", 6, 0}, {"php_error", 7, 4},
    {"slow_request", 8, 2},   {"high_memory_usage", 9, 3},  {"custom", 10, 5},
    {"unknown_low", 11, 8},   {"unknown_high", 15, 8},
};
INSTANTIATE_TEST_SUITE_P(Members, EventOfRpcMember, test::rows(rpc_members), test::by_name);

class EventOfProtobufType : public test::TableTest<NumberRow> {};

TEST_P(EventOfProtobufType, has_its_kind_and_its_alternative)
{
    auto const event = from_protobuf(fmt::format("type: {}", GetParam().number));

    EXPECT_EQ(static_cast<int>(event->kind()), GetParam().kind);
    EXPECT_EQ(event->details().index(), indices[GetParam().kind]);
}

NumberRow const protobuf_types[] = {
    {"slow_function_exec", 0, 0},
    {"function_error", 1, 1},
    {"slow_request", 2, 2},
    {"high_memory_usage", 3, 3},
    {"php_error", 4, 4},
    {"custom", 5, 5},
    {"no_type_6", 6, 8},
    {"no_type_7", 7, 8},
    {"the_number_of_the_unknown_kind", 8, 8},
    {"no_type_9", 9, 8},
    {"one_below", -1, 8},
    {"a_type_in_its_low_byte", 258, 8},
    {"largest", std::numeric_limits<std::int32_t>::max(), 8},
    {"smallest", std::numeric_limits<std::int32_t>::min(), 8},
};
INSTANTIATE_TEST_SUITE_P(Types, EventOfProtobufType, test::rows(protobuf_types), test::by_name);

TEST(Event, a_protobuf_event_without_type_is_a_slow_function)
{
    auto const event = from_protobuf("duration { seconds: 1 nanos: 2 }");
    EXPECT_EQ(event->kind(), Kind::slow_function_exec);
    EXPECT_EQ(std::get<SlowFunctionExec>(event->details()).duration, (TimePair{1, 2}));
}

// Which kind can fill `function` and `stack_trace`, in each dialect: every message has all its fields set.

struct FillRow {
    char const *name;
    Event (*read)(std::string const &textproto);
    char const *textproto;
    int kind;
    bool function;
    bool stack_trace;
};

#define RPC_FUNCTION "function { name: 'f' } "
#define RPC_TRACE "stack_trace { frames { function { name: 'g' } } } "
#define PROTOBUF_BOTH "function { name: 'f' } frames { name: 'g' } "

FillRow const fill_rows[] = {
    {"rpc_slow_function", from_rpc, "slow_function_exec { " RPC_FUNCTION RPC_TRACE "}", 0, true, true},
    {"rpc_slow_function_without", from_rpc, "slow_function_exec { }", 0, false, false},
    {"rpc_slow_function_with_function", from_rpc, "slow_function_exec { " RPC_FUNCTION "}", 0, true, false},
    {"rpc_slow_function_with_trace", from_rpc, "slow_function_exec { " RPC_TRACE "}", 0, false, true},
    {"rpc_function_error", from_rpc, "function_error { " RPC_FUNCTION RPC_TRACE "}", 1, true, true},
    {"rpc_function_error_without", from_rpc, "function_error { }", 1, false, false},
    {"rpc_function_error_with_function", from_rpc, "function_error { " RPC_FUNCTION "}", 1, true, false},
    {"rpc_function_error_with_trace", from_rpc, "function_error { " RPC_TRACE "}", 1, false, true},
    {"rpc_slow_request", from_rpc, "slow_request { duration { seconds: 1 } }", 2, false, false},
    {"rpc_high_memory_usage", from_rpc, "high_memory_usage { usage: 1 }", 3, false, false},
    {"rpc_php_error", from_rpc, "php_error { error { " RPC_TRACE "} }", 4, false, false},
    {"rpc_custom", from_rpc, "custom { " RPC_TRACE "}", 5, false, true},
    {"rpc_custom_without", from_rpc, "custom { }", 5, false, false},
    {"rpc_unknown", from_rpc, "", 8, false, false},
    {"protobuf_slow_function", from_protobuf, "type: 0 " PROTOBUF_BOTH, 0, true, true},
    {"protobuf_function_error", from_protobuf, "type: 1 " PROTOBUF_BOTH, 1, true, true},
    {"protobuf_slow_request", from_protobuf, "type: 2 " PROTOBUF_BOTH, 2, true, true},
    {"protobuf_high_memory_usage", from_protobuf, "type: 3 " PROTOBUF_BOTH, 3, true, true},
    {"protobuf_php_error", from_protobuf, "type: 4 " PROTOBUF_BOTH, 4, true, true},
    {"protobuf_custom", from_protobuf, "type: 5 " PROTOBUF_BOTH, 5, true, true},
    {"protobuf_unknown_6", from_protobuf, "type: 6 " PROTOBUF_BOTH, 8, true, true},
    {"protobuf_unknown_7", from_protobuf, "type: 7 " PROTOBUF_BOTH, 8, true, true},
    {"protobuf_unknown_9", from_protobuf, "type: 9 " PROTOBUF_BOTH, 8, true, true},
    {"protobuf_unknown_below", from_protobuf, "type: -1 " PROTOBUF_BOTH, 8, true, true},
    {"protobuf_without", from_protobuf, "type: 1", 1, false, false},
    {"protobuf_with_function", from_protobuf, "type: 1 function { }", 1, true, false},
    {"protobuf_with_frame", from_protobuf, "type: 1 frames { }", 1, false, true},
};

class EventFills : public test::TableTest<FillRow> {};

TEST_P(EventFills, function_and_stack_trace)
{
    auto const event = GetParam().read(GetParam().textproto);

    EXPECT_EQ(static_cast<int>(event->kind()), GetParam().kind);
    EXPECT_EQ(event->function().has_value(), GetParam().function);
    EXPECT_EQ(event->stack_trace().has_value(), GetParam().stack_trace);
}

INSTANTIATE_TEST_SUITE_P(Kinds, EventFills, test::rows(fill_rows), test::by_name);

// Every field, by the print of the whole record.

struct Row {
    char const *name;
    Event (*read)(std::string const &textproto);
    char const *textproto;
    std::string printed; ///< from `kind` on
};

#define BARE ", event_text: \"\", function: none, stack_trace: none, event_flag: false, details: "
#define FUNCTION_F "php.Function{name: \"f\", args: [], call_value: none, location: none, frame_number: 0}"
#define FRAME_G "php.Function{name: \"g\", args: [], call_value: none, location: none, frame_number: 3}"
#define NO_CUSTOM "monitor.CustomEvent{text_0: null, text_1: null, value: undefined, level: 2}}"
#define NO_ERROR "monitor.PhpError{error_number: 0, error_name: null, message: null, location: none}}"

Row const rows[] = {
    {"rpc_slow_function", from_rpc,
     "text: 't' flag: true slow_function_exec { function { name: 'f' } "
     "stack_trace { frames { function { name: 'g' } frame_number: 3 } } duration { seconds: 1 nanos: 2 } }",
     "0, event_text: \"t\", function: " FUNCTION_F ", stack_trace: [" FRAME_G
     "], event_flag: true, details: monitor.SlowFunctionExec{duration: {1 s, 2 ns}}}"},
    {"rpc_slow_function_without_duration", from_rpc, "slow_function_exec { }",
     "0" BARE "monitor.SlowFunctionExec{duration: {0 s, 0 ns}}}"},
    {"rpc_function_error", from_rpc,
     "text: 't' flag: true function_error { function { name: 'f' } "
     "stack_trace { frames { function { name: 'g' } frame_number: 3 } } }",
     "1, event_text: \"t\", function: " FUNCTION_F ", stack_trace: [" FRAME_G
     "], event_flag: true, details: monitor.FunctionError{}}"},
    {"rpc_slow_request", from_rpc, "text: 't' flag: true slow_request { duration { seconds: -1 nanos: 1000000000 } }",
     "2, event_text: \"t\", function: none, stack_trace: none, event_flag: true, "
     "details: monitor.SlowRequest{duration: {-1 s, 1000000000 ns}}}"},
    {"rpc_slow_request_without_duration", from_rpc, "slow_request { }",
     "2" BARE "monitor.SlowRequest{duration: {0 s, 0 ns}}}"},
    {"rpc_high_memory_usage", from_rpc, "high_memory_usage { usage: -9223372036854775808 }",
     "3" BARE "monitor.HighMemoryUsage{usage: -9223372036854775808}}"},
    {"rpc_high_memory_usage_unset", from_rpc, "high_memory_usage { }", "3" BARE "monitor.HighMemoryUsage{usage: 0}}"},
    {"rpc_php_error", from_rpc,
     "php_error { error { message: 'm' type { name: 'E_WARNING' number: -2 } location { file: 'a.php' line: 4294967295 "
     "} "
     "stack_trace { frames { } } category: CATEGORY_2 } }",
     "4" BARE "monitor.PhpError{error_number: -2, error_name: \"E_WARNING\", message: \"m\", "
     "location: php.SourceLocation{file: \"a.php\", line: 4294967295, line_extra: 0}}}"},
    {"rpc_php_error_without_type", from_rpc, "php_error { error { message: 'm' } }",
     "4" BARE "monitor.PhpError{error_number: 0, error_name: null, message: \"m\", location: none}}"},
    {"rpc_php_error_with_an_empty_type", from_rpc, "php_error { error { type { } } }",
     "4" BARE "monitor.PhpError{error_number: 0, error_name: \"\", message: \"\", location: none}}"},
    {"rpc_php_error_without_error", from_rpc, "php_error { }",
     "4" BARE "monitor.PhpError{error_number: 0, error_name: null, message: \"\", location: none}}"},
    {"rpc_php_error_with_an_empty_location", from_rpc, "php_error { error { location { } } }",
     "4" BARE "monitor.PhpError{error_number: 0, error_name: null, message: \"\", "
     "location: php.SourceLocation{file: \"\", line: 0, line_extra: 0}}}"},
    {"rpc_php_error_with_a_location_without_file", from_rpc, "php_error { error { location { line: 17 } } }",
     "4" BARE "monitor.PhpError{error_number: 0, error_name: null, message: \"\", "
     "location: php.SourceLocation{file: \"\", line: 17, line_extra: 0}}}"},
    {"rpc_php_error_with_a_second_line", from_rpc,
     "php_error { error { location { file: 'a.php' line: 17 line_extra: 3 } } }",
     "4" BARE "monitor.PhpError{error_number: 0, error_name: null, message: \"\", "
     "location: php.SourceLocation{file: \"a.php\", line: 17, line_extra: 0}}}"},
    {"rpc_custom", from_rpc,
     "text: 't' flag: true custom { text_0: 'a' text_1: 'b' value { array_value { elements { long_key: 1 value { "
     "bool_value: true } } } } stack_trace { frames { function { name: 'g' } frame_number: 3 } } level: -1 }",
     "5, event_text: \"t\", function: none, stack_trace: [" FRAME_G "], event_flag: true, "
     "details: monitor.CustomEvent{text_0: \"a\", text_1: \"b\", value: [1 => true], level: -1}}"},
    {"rpc_custom_that_is_empty", from_rpc, "custom { }",
     "5" BARE "monitor.CustomEvent{text_0: \"\", text_1: \"\", value: undefined, level: 0}}"},
    {"rpc_custom_with_an_empty_value", from_rpc, "custom { value { } level: 3 }",
     "5" BARE "monitor.CustomEvent{text_0: \"\", text_1: \"\", value: undefined, level: 2}}"},
    {"rpc_without_a_member", from_rpc, "text: 't' flag: true",
     "8, event_text: \"t\", function: none, stack_trace: none, event_flag: true, details: monitor.FunctionError{}}"},

    {"protobuf_slow_function", from_protobuf,
     "frames { name: 'g' frame_number: 3 } text: 't' function { name: 'f' } type: TYPE_SLOW_FUNCTION_EXEC "
     "duration { seconds: 1 nanos: 2 } flag: true",
     "0, event_text: \"t\", function: " FUNCTION_F ", stack_trace: [" FRAME_G
     "], event_flag: true, details: monitor.SlowFunctionExec{duration: {1 s, 2 ns}}}"},
    {"protobuf_slow_function_without_duration", from_protobuf, "type: TYPE_SLOW_FUNCTION_EXEC",
     "0" BARE "monitor.SlowFunctionExec{duration: {0 s, 0 ns}}}"},
    {"protobuf_slow_function_with_another_member", from_protobuf, "type: TYPE_SLOW_FUNCTION_EXEC usage: 5",
     "0" BARE "monitor.SlowFunctionExec{duration: {0 s, 0 ns}}}"},
    {"protobuf_function_error", from_protobuf,
     "frames { name: 'g' frame_number: 3 } text: 't' function { name: 'f' } type: TYPE_FUNCTION_ERROR flag: true",
     "1, event_text: \"t\", function: " FUNCTION_F ", stack_trace: [" FRAME_G
     "], event_flag: true, details: monitor.FunctionError{}}"},
    {"protobuf_function_error_with_a_member", from_protobuf, "type: TYPE_FUNCTION_ERROR duration { seconds: 1 }",
     "1" BARE "monitor.FunctionError{}}"},
    {"protobuf_slow_request", from_protobuf, "type: TYPE_SLOW_REQUEST duration { seconds: -1 nanos: 1000000000 }",
     "2" BARE "monitor.SlowRequest{duration: {-1 s, 1000000000 ns}}}"},
    {"protobuf_slow_request_without_duration", from_protobuf, "type: TYPE_SLOW_REQUEST",
     "2" BARE "monitor.SlowRequest{duration: {0 s, 0 ns}}}"},
    {"protobuf_slow_request_with_another_member", from_protobuf, "type: TYPE_SLOW_REQUEST usage: 5",
     "2" BARE "monitor.SlowRequest{duration: {0 s, 0 ns}}}"},
    {"protobuf_high_memory_usage", from_protobuf, "type: TYPE_HIGH_MEMORY_USAGE usage: 9223372036854775807",
     "3" BARE "monitor.HighMemoryUsage{usage: 9223372036854775807}}"},
    {"protobuf_high_memory_usage_without_usage", from_protobuf, "type: TYPE_HIGH_MEMORY_USAGE",
     "3" BARE "monitor.HighMemoryUsage{usage: 0}}"},
    {"protobuf_high_memory_usage_with_a_duration", from_protobuf,
     "type: TYPE_HIGH_MEMORY_USAGE duration { seconds: 1 }", "3" BARE "monitor.HighMemoryUsage{usage: 0}}"},
    {"protobuf_php_error", from_protobuf,
     "type: TYPE_PHP_ERROR php_error { error_name: 'E_WARNING' file: 'a.php' message: 'm' error_number: -2 "
     "line: 4294967295 }",
     "4" BARE "monitor.PhpError{error_number: -2, error_name: \"E_WARNING\", message: \"m\", "
     "location: php.SourceLocation{file: \"a.php\", line: 4294967295, line_extra: 0}}}"},
    {"protobuf_php_error_without_file", from_protobuf, "type: TYPE_PHP_ERROR php_error { line: 17 }",
     "4" BARE "monitor.PhpError{error_number: 0, error_name: \"\", message: \"\", location: none}}"},
    {"protobuf_php_error_without_member", from_protobuf, "type: TYPE_PHP_ERROR", "4" BARE NO_ERROR},
    {"protobuf_php_error_with_another_member", from_protobuf, "type: TYPE_PHP_ERROR custom { text_0: 'a' }",
     "4" BARE NO_ERROR},
    {"protobuf_custom", from_protobuf,
     "type: TYPE_CUSTOM custom { text_0: 'a' text_1: 'b' value { type: TYPE_LONG long_value: 5 } level: 1 }",
     "5" BARE "monitor.CustomEvent{text_0: \"a\", text_1: \"b\", value: 5, level: 1}}"},
    {"protobuf_custom_that_is_empty", from_protobuf, "type: TYPE_CUSTOM custom { }",
     "5" BARE "monitor.CustomEvent{text_0: \"\", text_1: \"\", value: undefined, level: 0}}"},
    {"protobuf_custom_without_member", from_protobuf, "type: TYPE_CUSTOM", "5" BARE NO_CUSTOM},
    {"protobuf_custom_with_another_member", from_protobuf, "type: TYPE_CUSTOM php_error { message: 'm' }",
     "5" BARE NO_CUSTOM},
    {"protobuf_unknown", from_protobuf,
     "frames { name: 'g' frame_number: 3 } text: 't' function { name: 'f' } type: 6 usage: 5 flag: true",
     "8, event_text: \"t\", function: " FUNCTION_F ", stack_trace: [" FRAME_G
     "], event_flag: true, details: monitor.FunctionError{}}"},
};

class EventFromMessage : public test::TableTest<Row> {};

TEST_P(EventFromMessage, is_read)
{
    auto const printed = to_text(GetParam().read(GetParam().textproto));
    std::string_view const kind = "kind: ";
    EXPECT_EQ(printed.substr(printed.find(kind) + kind.size()), GetParam().printed);
}

INSTANTIATE_TEST_SUITE_P(Messages, EventFromMessage, test::rows(rows), test::by_name);

// What all kinds have in common, the unknown one included.

class EventEnvelope : public testing::TestWithParam<char const *> {};

TEST_P(EventEnvelope, is_read_from_rpc)
{
    auto const event = from_rpc(std::string(R"pb(
        request_id { id: 18446744073709551615 }
        timestamp { seconds: -1 nanos: 1000000000 }
        text: "t\000\377"
        flag: true)pb") + GetParam());

    EXPECT_EQ(event->request_id().id(), 18446744073709551615U);
    EXPECT_EQ(event->timestamp(), (TimePair{-1, 1000000000}));
    EXPECT_EQ(event->event_text(), u"t\0\ufffd"_s);
    EXPECT_TRUE(event->event_flag());
}

TEST_P(EventEnvelope, is_zero_and_empty_where_absent)
{
    auto const event = from_rpc(GetParam());

    EXPECT_EQ(event->request_id().id(), 0U);
    EXPECT_EQ(event->timestamp(), TimePair{});
    EXPECT_TRUE(event->event_text().isEmpty());
    EXPECT_FALSE(event->event_text().isNull());
    EXPECT_FALSE(event->event_flag());
}

INSTANTIATE_TEST_SUITE_P(Members, EventEnvelope,
                         testing::Values("", " function_error { }", " slow_function_exec { }", " php_error { }",
                                         " slow_request { }", " high_memory_usage { }", " custom { }"),
                         [](auto const &row) { return fmt::format("member_{}", row.index); });

class EventOfType : public testing::TestWithParam<int> {};

TEST_P(EventOfType, has_the_fields_of_every_protobuf_event)
{
    auto const event = from_protobuf(fmt::format(R"pb(
        text: "t\000\377"
        timestamp {{ seconds: -1 nanos: 1000000000 }}
        type: {}
        flag: true)pb",
                                                 GetParam()));

    EXPECT_EQ(event->request_id().id(), 7U);
    EXPECT_EQ(event->timestamp(), (TimePair{-1, 1000000000}));
    EXPECT_EQ(event->event_text(), u"t\0\ufffd"_s);
    EXPECT_TRUE(event->event_flag());
}

TEST_P(EventOfType, has_zero_and_empty_where_absent)
{
    auto const event = from_protobuf(fmt::format("type: {}", GetParam()));

    EXPECT_EQ(event->timestamp(), TimePair{});
    EXPECT_TRUE(event->event_text().isEmpty());
    EXPECT_FALSE(event->event_text().isNull());
    EXPECT_FALSE(event->event_flag());
}

INSTANTIATE_TEST_SUITE_P(Types, EventOfType, testing::Values(0, 1, 2, 3, 4, 5, 6));

struct LevelRow {
    char const *name;
    std::int32_t sent;
    std::int32_t level;
};

class EventLevel : public test::TableTest<LevelRow> {};

TEST_P(EventLevel, is_the_same_in_both_dialects)
{
    auto const custom = fmt::format("custom {{ level: {} }}", GetParam().sent);

    EXPECT_EQ(std::get<CustomEvent>(from_rpc(custom)->details()).level, GetParam().level);
    EXPECT_EQ(std::get<CustomEvent>(from_protobuf("type: TYPE_CUSTOM " + custom)->details()).level, GetParam().level);
}

LevelRow const levels[] = {
    {"minus_1", -1, -1},
    {"zero", 0, 0},
    {"one", 1, 1},
    {"two", 2, 2},
    {"three", 3, 2},
    {"minus_2", -2, 2},
    {"a_level_in_its_low_byte", 257, 2},
    {"largest", std::numeric_limits<std::int32_t>::max(), 2},
    {"smallest", std::numeric_limits<std::int32_t>::min(), 2},
};
INSTANTIATE_TEST_SUITE_P(Levels, EventLevel, test::rows(levels), test::by_name);

TEST(Event, a_trace_without_frames_is_a_trace_in_rpc_and_none_in_protobuf)
{
    for (auto const *member : {"slow_function_exec", "function_error", "custom"}) {
        SCOPED_TRACE(member);
        auto const rpc = from_rpc(fmt::format("{} {{ stack_trace {{ }} }}", member));
        ASSERT_TRUE(rpc->stack_trace());
        EXPECT_TRUE(rpc->stack_trace()->frames().isEmpty());
    }
    EXPECT_FALSE(from_protobuf("")->stack_trace());
}

TEST(Event, keeps_the_order_of_the_frames)
{
    auto const names = [](Event const &event) {
        std::string list;
        for (auto const &frame : event->stack_trace()->frames())
            list += frame.name().toStdString();
        return list;
    };
    EXPECT_EQ(names(from_rpc("custom { stack_trace { frames { function { name: 'a' } } frames { } "
                             "frames { function { name: 'b' } } } }")),
              "ab");
    EXPECT_EQ(names(from_protobuf("frames { name: 'a' } frames { } frames { name: 'b' }")), "ab");
}

TEST(Event, the_place_of_a_function_follows_its_dialect)
{
    auto const rpc = from_rpc("function_error { function { location { line: 17 line_extra: 3 } } }");
    ASSERT_TRUE(rpc->function()->location());
    EXPECT_EQ(rpc->function()->location()->line_extra(), 3U);
    EXPECT_FALSE(from_protobuf("function { line: 17 }")->function()->location());
}

TEST(Event, texts_of_absent_messages_are_null)
{
    auto const error = std::get<PhpError>(from_protobuf("type: TYPE_PHP_ERROR")->details());
    EXPECT_TRUE(error.error_name.isNull() && error.message.isNull());
    auto const custom = std::get<CustomEvent>(from_protobuf("type: TYPE_CUSTOM")->details());
    EXPECT_TRUE(custom.text_0.isNull() && custom.text_1.isNull());
}

TEST(Event, absent_texts_of_a_message_are_empty_and_not_null)
{
    auto const is_empty = [](QString const &text) { return text.isEmpty() && !text.isNull(); };
    for (auto const &event :
         {from_rpc("php_error { error { type { } } }"), from_protobuf("type: TYPE_PHP_ERROR php_error { }")}) {
        auto const error = std::get<PhpError>(event->details());
        EXPECT_TRUE(is_empty(error.error_name) && is_empty(error.message));
    }
    for (auto const &event : {from_rpc("custom { }"), from_protobuf("type: TYPE_CUSTOM custom { }")}) {
        auto const custom = std::get<CustomEvent>(event->details());
        EXPECT_TRUE(is_empty(custom.text_0) && is_empty(custom.text_1));
    }
    for (auto const *textproto : {"php_error { }", "php_error { error { } }"}) {
        auto const error = std::get<PhpError>(from_rpc(textproto)->details());
        EXPECT_TRUE(error.error_name.isNull() && is_empty(error.message)) << textproto;
    }
}

TEST(Event, the_value_of_a_custom_event_is_never_a_null_handle)
{
    CustomEvent const made;
    ASSERT_TRUE(made.value);
    EXPECT_EQ(made.value->kind(), ValueKind::undefined);
    EXPECT_EQ(made.level, 2);

    for (auto const &event : {from_rpc("custom { }"), from_rpc("custom { value { } }"), from_protobuf("type: 5"),
                              from_protobuf("type: 5 custom { }"), from_protobuf("type: 5 custom { value { } }")}) {
        auto const &value = std::get<CustomEvent>(event->details()).value;
        ASSERT_TRUE(value);
        EXPECT_EQ(value->kind(), ValueKind::undefined);
        EXPECT_EQ(value->ref.loadRelaxed(), 1);
    }
}

// What both can carry: no call value, no second line, no nested value, and a trace that has frames.
TEST(Event, is_the_same_in_both_dialects)
{
    struct Pair {
        char const *rpc;
        char const *protobuf;
    };
    Pair const pairs[] = {
        {"slow_function_exec { function { name: 'f' location { file: 'a.php' line: 1 } } "
         "stack_trace { frames { function { name: 'g' } frame_number: 2 } } duration { seconds: 3 nanos: 4 } }",
         "frames { name: 'g' frame_number: 2 } function { name: 'f' file: 'a.php' line: 1 } "
         "type: TYPE_SLOW_FUNCTION_EXEC duration { seconds: 3 nanos: 4 }"},
        {"function_error { function { name: 'f' } }", "function { name: 'f' } type: TYPE_FUNCTION_ERROR"},
        {"slow_request { duration { seconds: 3 nanos: 4 } }",
         "type: TYPE_SLOW_REQUEST duration { seconds: 3 nanos: 4 }"},
        {"high_memory_usage { usage: 5 }", "type: TYPE_HIGH_MEMORY_USAGE usage: 5"},
        {"php_error { error { message: 'm' type { name: 'n' number: 8 } location { file: 'a.php' line: 1 } } }",
         "type: TYPE_PHP_ERROR php_error { error_name: 'n' file: 'a.php' message: 'm' error_number: 8 line: 1 }"},
        {"custom { text_0: 'a' text_1: 'b' value { string_value: 's' } "
         "stack_trace { frames { function { name: 'g' } } } level: 9 }",
         "frames { name: 'g' } type: TYPE_CUSTOM "
         "custom { text_0: 'a' text_1: 'b' value { type: TYPE_STRING string_value: 's' } level: 9 }"},
        {"", "type: 8"},
    };
    std::string const common = " text: 't' timestamp { seconds: 1 nanos: 2 } flag: true";
    for (auto const &[rpc, protobuf] : pairs) {
        EXPECT_EQ(to_text(from_rpc("request_id { id: 7 } " + (rpc + common))),
                  to_text(from_protobuf(protobuf + common)));
    }
}

TEST(Event, does_not_refer_to_the_message)
{
    auto rpc =
        from_text<RpcEvent>("text: 'some text' custom { text_0: 'some other text' value { string_value: 's' } }");
    Event const event(new detail::Event(rpc));
    auto const before = to_text(event);
    rpc.Clear();
    EXPECT_EQ(to_text(event), before);
}

TEST(Event, allocates_only_what_its_fields_need)
{
    auto const cost = [&](auto const &...parts) { return test::allocations_to_build<detail::Event>(parts...); };
    EXPECT_EQ(cost(from_text<RpcEvent>("slow_request { duration { seconds: 1 } }")), 0U);
    EXPECT_EQ(cost(from_text<RpcEvent>("high_memory_usage { usage: 1 }")), 0U);
    EXPECT_EQ(cost(from_text<ProtobufEvent>("type: TYPE_SLOW_REQUEST duration { }"), RequestId(7)), 0U);
    auto const value = 1U;
    auto const texts = 2U;
    EXPECT_EQ(cost(from_text<RpcEvent>("custom { text_0: 'a' text_1: 'b' value { long_value: 1 } }")), value + texts);
    EXPECT_EQ(cost(from_text<ProtobufEvent>("type: TYPE_CUSTOM"), RequestId(7)), value);
}

TEST(Event, round_trips_through_a_qvariant)
{
    auto const event = from_rpc("slow_request { }");
    EXPECT_EQ(QVariant::fromValue(event).value<Event>().get(), event.get());
}

TEST(Event, message_fields_are_all_read_or_known_to_be_ignored)
{
    EXPECT_THAT(field_names<RpcEvent>(),
                ElementsAre("request_id", "timestamp", "text", "flag", "function_error", "slow_function_exec",
                            "php_error", "slow_request", "high_memory_usage", "custom"));
    EXPECT_THAT(field_names<rpc::monitor::v1::FunctionError>(), ElementsAre("function", "stack_trace"));
    EXPECT_THAT(field_names<rpc::monitor::v1::SlowFunctionExec>(), ElementsAre("function", "stack_trace", "duration"));
    EXPECT_THAT(field_names<rpc::monitor::v1::PhpError>(), ElementsAre("error"));
    EXPECT_THAT(field_names<rpc::php::v1::Error>(),
                ElementsAre("message", "type", "location", "stack_trace" /* ignored */, "category" /* ignored */));
    EXPECT_THAT(field_names<rpc::php::v1::ErrorType>(), ElementsAre("name", "number"));
    EXPECT_THAT(field_names<rpc::php::v1::SourceLocation>(), ElementsAre("file", "line", "line_extra" /* ignored */));
    EXPECT_THAT(field_names<rpc::monitor::v1::SlowRequest>(), ElementsAre("duration"));
    EXPECT_THAT(field_names<rpc::monitor::v1::HighMemoryUsage>(), ElementsAre("usage"));
    EXPECT_THAT(field_names<rpc::monitor::v1::Custom>(),
                ElementsAre("text_0", "text_1", "value", "stack_trace", "level"));
    EXPECT_THAT(field_names<ProtobufEvent>(), ElementsAre("frames", "text", "timestamp", "function", "type", "flag",
                                                          "duration", "usage", "php_error", "custom"));
    EXPECT_THAT(field_names<pelorin::protobuf::Monitor::PhpErrorData>(),
                ElementsAre("error_name", "file", "message", "error_number", "line"));
    EXPECT_THAT(field_names<pelorin::protobuf::Monitor::CustomData>(),
                ElementsAre("text_0", "text_1", "value", "level"));
}

} // namespace
} // namespace tarnwick::data::monitor::event_test

#undef RPC_FUNCTION
#undef RPC_TRACE
#undef PROTOBUF_BOTH
#undef BARE
#undef FUNCTION_F
#undef FRAME_G
#undef NO_CUSTOM
#undef NO_ERROR
