// Monitor events and code traces.

#include "capture/record_feed.h"
#include "print/record_selection.h"

#include "support/table.h"
#include "support/textproto.h"
#include "tools/tarnwick/support/captures.h"
#include "tools/tarnwick/support/feed.h"
#include "tools/tarnwick/support/files.h"

#include <tarnwick/data/monitor/event.h>

#include <pelorin/protobuf/CT/header.pb.h>
#include <pelorin/protobuf/Monitor/event.pb.h>
#include <tarnwick/rpc/codetrace/v1/notify_request.pb.h>
#include <tarnwick/rpc/monitor/v1/notify_request.pb.h>

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <cstddef>
#include <string>

namespace tarnwick::program::record_feed_events_and_traces_test {
namespace {

using test::Frame;
using test::from_text;

constexpr std::uint64_t frames_id = 18446744073709551615ULL;

template <class Message>
Frame with(void (Frame::*set)(std::string const &), std::string const &textproto)
{
    Frame frame;
    frame.set_request_id(frames_id);
    (frame.*set)(from_text<Message>(textproto).SerializeAsString());
    return frame;
}

Frame rpc_monitor(std::string const &textproto)
{
    return with<rpc::monitor::v1::NotifyRequest>(&Frame::set_rpc_monitor<std::string const &>, textproto);
}

Frame monitor_event(std::string const &textproto)
{
    return with<pelorin::protobuf::Monitor::Event>(&Frame::set_monitor_event<std::string const &>, textproto);
}

Frame rpc_codetrace(std::string const &textproto)
{
    return with<rpc::codetrace::v1::NotifyRequest>(&Frame::set_rpc_codetrace<std::string const &>, textproto);
}

Frame ct_header(std::string const &textproto)
{
    return with<pelorin::protobuf::CT::Header>(&Frame::set_ct_header<std::string const &>, textproto);
}

/// Returns a frame with all fields set. Each kind of chunk uses only some of them.
Frame chunk(void (Frame::*set)(std::string const &), std::string const &bytes, bool more, std::int64_t skip)
{
    Frame frame;
    frame.set_request_id(frames_id);
    frame.set_more(more);
    frame.set_skip(skip);
    (frame.*set)(bytes);
    return frame;
}

Frame rpc_data(std::string const &bytes, bool more, std::int64_t skip = 4)
{
    return chunk(&Frame::set_rpc_data<std::string const &>, bytes, more, skip);
}

Frame rpc_add_data(std::string const &bytes, bool more)
{
    return chunk(&Frame::set_rpc_add_data<std::string const &>, bytes, more, 4);
}

Frame ct_data(std::string const &bytes, std::int64_t skip)
{
    return chunk(&Frame::set_ct_data<std::string const &>, bytes, true, skip);
}

Frame ct_add_data(std::string const &bytes, std::int64_t skip)
{
    return chunk(&Frame::set_ct_add_data<std::string const &>, bytes, true, skip);
}

struct Row {
    char const *name;
    Frame frame;
    std::string record; ///< its name
    std::string dialect;
    std::string fields;
};

#define FROM_FRAME R"("request_id":18446744073709551615,)"
#define COMMON(kind)                                                                                                   \
    R"("timestamp":{"seconds":0,"nanos":0},"kind":)" kind R"(,"event_text":"","function":null,"stack_trace":null,)"    \
    R"("event_flag":false,"details":)"
#define NO_ID_COMMON(kind) R"("request_id":0,)" COMMON(kind)
#define EMPTY_DUMP "0000000000000000000000000000000000000000000000000000000000000000\""

Row const rows[] = {
    {"rpc_event_with_all_fields",
     rpc_monitor(
         "request_id { id: 7 } timestamp { seconds: 1 nanos: 2 } text: 't' flag: true slow_function_exec { "
         "function { name: 'f' } stack_trace { frames { frame_number: 3 } } duration { seconds: 4 nanos: 5 } }"),
     "monitor.Event", "rpc",
     R"("request_id":7,"timestamp":{"seconds":1,"nanos":2},"kind":0,"event_text":"t",)"
     R"("function":{"name":"f","args":[],"call_value":null,"location":null,"frame_number":0},)"
     R"("stack_trace":[{"name":"","args":[],"call_value":null,"location":null,"frame_number":3}],)"
     R"("event_flag":true,"details":{"SlowFunctionExec":{"duration":{"seconds":4,"nanos":5}}})"},
    {"rpc_function_error", rpc_monitor("function_error { }"), "monitor.Event", "rpc",
     NO_ID_COMMON("1") R"({"FunctionError":{}})"},
    {"rpc_slow_request", rpc_monitor("slow_request { duration { seconds: 4 nanos: 5 } }"), "monitor.Event", "rpc",
     NO_ID_COMMON("2") R"({"SlowRequest":{"duration":{"seconds":4,"nanos":5}}})"},
    {"rpc_high_memory_usage", rpc_monitor("high_memory_usage { usage: -9223372036854775808 }"), "monitor.Event", "rpc",
     NO_ID_COMMON("3") R"({"HighMemoryUsage":{"usage":-9223372036854775808}})"},
    {"rpc_php_error", rpc_monitor("php_error { error { message: 'm' location { file: 'a.php' line: 1 } } }"),
     "monitor.Event", "rpc",
     NO_ID_COMMON("4") R"({"PhpError":{"error_number":0,"error_name":null,"message":"m",)"
                       R"("location":{"file":"a.php","line":1,"line_extra":0}}})"},
    {"rpc_custom", rpc_monitor("custom { text_0: 'a' value { long_value: 5 } level: -1 }"), "monitor.Event", "rpc",
     NO_ID_COMMON("5") R"({"CustomEvent":{"text_0":"a","text_1":"","value":{"kind":"long","value":5},"level":-1}})"},
    {"rpc_unknown_event", rpc_monitor(""), "monitor.Event", "rpc", NO_ID_COMMON("8") R"({"FunctionError":{}})"},
    {"protobuf_event", monitor_event("type: TYPE_PHP_ERROR"), "monitor.Event", "protobuf",
     FROM_FRAME COMMON("4") R"({"PhpError":{"error_number":0,"error_name":null,"message":null,"location":null}})"},
    {"protobuf_unknown_event", monitor_event("type: 9"), "monitor.Event", "protobuf",
     FROM_FRAME COMMON("8") R"({"FunctionError":{}})"},

    {"rpc_header", rpc_codetrace("request_id { id: 4294967298 } header { request { kind: KIND_1 } format_minor: 2 }"),
     "codetrace.Header", "rpc", R"("request_id":4294967298,"trace_kind":0,"dump_header":"4354000200000002)" EMPTY_DUMP},
    {"rpc_without_header", rpc_codetrace("request_id { id: 7 }"), "codetrace.Header", "rpc",
     R"("request_id":7,"trace_kind":3,"dump_header":"4354010000000000)" EMPTY_DUMP},
    {"protobuf_header", ct_header("format_major: 1 kind: KIND_2"), "codetrace.Header", "protobuf",
     FROM_FRAME R"("trace_kind":2,"dump_header":"43540100ffffffff)" EMPTY_DUMP},

    {"rpc_chunk", rpc_data("bytes", false), "codetrace.Data", "rpc",
     FROM_FRAME R"("data":"bytes","size":5,"more":false)"},
    {"rpc_chunk_with_more", rpc_data("bytes", true), "codetrace.Data", "rpc",
     FROM_FRAME R"("data":"bytes","size":5,"more":true)"},
    {"rpc_chunk_that_is_empty", rpc_data("", true), "codetrace.Data", "rpc",
     FROM_FRAME R"("data":"","size":0,"more":true)"},
    {"rpc_chunk_that_is_no_text", rpc_data(std::string("\xff\0\xfe", 3), false), "codetrace.Data", "rpc",
     FROM_FRAME R"("data":{"base64":"/wD+"},"size":3,"more":false)"},
    {"rpc_chunk_of_additional_data", rpc_add_data("bytes", true), "codetrace.AddData", "rpc",
     FROM_FRAME R"("data":"bytes","size":5,"more":true)"},
    {"protobuf_chunk", ct_data("xxxxbytes", 4), "codetrace.Data", "protobuf",
     FROM_FRAME R"("data":"bytes","size":5,"more":false)"},
    {"protobuf_chunk_with_nothing_to_skip", ct_data("bytes", 0), "codetrace.Data", "protobuf",
     FROM_FRAME R"("data":null,"size":0,"more":false)"},
    {"protobuf_chunk_with_nothing_behind", ct_data("bytes", 5), "codetrace.Data", "protobuf",
     FROM_FRAME R"("data":null,"size":0,"more":false)"},
    {"protobuf_chunk_of_additional_data", ct_add_data("xbytes", 1), "codetrace.AddData", "protobuf",
     FROM_FRAME R"("data":"bytes","size":5,"more":false)"},
};

class EventOrTrace : public test::TableTest<Row> {};

TEST_P(EventOrTrace, prints_one_record_with_and_without_all_records)
{
    auto const line = R"({"record":")" + GetParam().record + R"(","frame":0,"offset":0,"dialect":")" +
                      GetParam().dialect + "\"," + GetParam().fields + "}\n";
    for (bool const all_records : {false, true}) {
        auto const result = test::feed(GetParam().frame, all_records);
        EXPECT_EQ(result.fault, std::nullopt);
        EXPECT_EQ(result.records, line);
    }
}

INSTANTIATE_TEST_SUITE_P(Frames, EventOrTrace, test::rows(rows), test::by_name);

TEST(RecordFeed, treats_an_unknown_member_as_absent)
{
    Frame monitor;
    monitor.set_rpc_monitor(test::field_head(11, 0));
    EXPECT_THAT(test::feed(monitor).records, testing::HasSubstr(NO_ID_COMMON("8") R"({"FunctionError":{}})"));
    Frame codetrace;
    codetrace.set_rpc_codetrace(test::field_head(4, 0));
    EXPECT_THAT(test::feed(codetrace).records, testing::HasSubstr(R"("trace_kind":3,"dump_header":"43540100)"));
}

TEST(RecordFeed, prints_consecutive_chunks)
{
    test::MemoryFile const file;
    Output output(file.descriptor());
    RecordPrinter printer(output, {.json = true});
    RecordSelection selection(printer);
    RecordFeed feed(selection, false);
    std::string const large(5'000'000, 'x');
    std::string expected;
    for (auto const &bytes : {std::string("small"), large, std::string()}) {
        for (bool const more : {true, true, false}) {
            EXPECT_EQ(feed.feed(rpc_data(bytes, more)), std::nullopt);
            expected += R"({"record":"codetrace.Data","frame":0,"offset":0,"dialect":"rpc",)" FROM_FRAME R"("data":")" +
                        bytes + R"(","size":)" + std::to_string(bytes.size()) + R"(,"more":)" +
                        (more ? "true" : "false") + "}\n";
        }
    }
    output.flush();
    EXPECT_TRUE(file.content() == expected);
}

TEST(RecordFeed, prints_the_meaning_of_an_event_kind_in_text)
{
    using Kind = data::monitor::detail::Event::Kind;
    struct Case {
        Kind kind;
        std::string text;
    };
    Case const cases[] = {
        {Kind::slow_function_exec, "0 (slow function)"},
        {Kind::function_error, "1 (function error)"},
        {Kind::slow_request, "2 (slow request)"},
        {Kind::high_memory_usage, "3 (high memory usage)"},
        {Kind::php_error, "4 (PHP error)"},
        {Kind::custom_event, "5 (custom event)"},
        {Kind::unknown, "8 (unknown)"},
    };
    for (auto const &[kind, text] : cases) {
        test::MemoryFile const file;
        Output output(file.descriptor());
        RecordPrinter printer(output, {});
        RecordSelection selection(printer);
        RecordFeed feed(selection, false);
        EXPECT_EQ(feed.feed(with<pelorin::protobuf::Monitor::Event>(&Frame::set_monitor_event,
                                                                    fmt::format("type: {}", static_cast<int>(kind)))),
                  std::nullopt);
        output.flush();
        EXPECT_THAT(file.content(), testing::HasSubstr("\n  timestamp        -\n  kind             " + text + "\n"));
    }
}

TEST(RecordFeed, prints_events_and_traces_as_text)
{
    test::MemoryFile const file;
    Output output(file.descriptor());
    RecordPrinter printer(output, {});
    RecordSelection selection(printer);
    RecordFeed feed(selection, false);
    EXPECT_EQ(feed.feed(rpc_monitor("timestamp { seconds: 1 } text: 't' slow_function_exec { function { name: 'f' } "
                                    "stack_trace { } duration { nanos: 5000000 } }")),
              std::nullopt);
    EXPECT_EQ(feed.feed(rpc_codetrace("request_id { id: 7 }")), std::nullopt);
    EXPECT_EQ(feed.feed(rpc_data("\xff" + std::string(999, 'x'), true)), std::nullopt);
    output.flush();
    EXPECT_EQ(file.content(), R"(monitor.Event  frame 0 at byte 0, rpc
  request_id       0
  timestamp        1970-01-01 00:00:01.000000000 UTC
  kind             0 (slow function)
  event_text       "t"
  function
    name             "f"
    args             []
    call_value       -
    location         -
    frame_number     0
  stack_trace      []
  event_flag       false
  details          SlowFunctionExec
    duration         5.000000 ms

codetrace.Header  frame 0 at byte 0, rpc
  request_id       7
  trace_kind       3
  dump_header      43540100000000000000000000000000000000000000000000000000000000000000000000000000

codetrace.Data  frame 0 at byte 0, rpc
  request_id       18446744073709551615
  data             "\xff)" + std::string(239, 'x') +
                                  R"(" and 760 bytes more
  size             1000
  more             true

)");
}

} // namespace
} // namespace tarnwick::program::record_feed_events_and_traces_test

#undef FROM_FRAME
#undef COMMON
#undef NO_ID_COMMON
#undef EMPTY_DUMP
