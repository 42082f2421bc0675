#include "requests/summary_sink.h"

#include "capture/record_feed.h"
#include "print/json_writer.h"
#include "requests/request_columns.h"
#include "tools/tarnwick/support/captures.h"

#include <pelorin/protobuf/Glimmet/error.pb.h>
#include <pelorin/protobuf/Glimmet/sql.pb.h>
#include <pelorin/protobuf/Monitor/event.pb.h>
#include <pelorin/protobuf/PelorinPHP/rinit_data.pb.h>
#include <tarnwick/rpc/glimmet/v1/notify_request.pb.h>
#include <tarnwick/rpc/monitor/v1/notify_request.pb.h>

#include <gmock/gmock.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tarnwick::program::summary_sink_test {
namespace {

using capture::v1::Frame;
using testing::ElementsAre;

/// Returns the JSON lines of the requests of these frames, from the member `start` on.
std::vector<std::string> summaries(std::vector<Frame> const &frames, ReportChoice const &reports = {})
{
    std::vector<std::string> lines;
    SummarySink sink(reports, [&](RequestSummary const &request) {
        JsonWriter writer;
        writer.begin_record({});
        for (auto const &column : request_columns()) {
            writer.field(column.name);
            column.write(writer, request);
        }
        writer.end_record();
        lines.emplace_back(writer.line());
    });
    RecordFeed feed(sink);
    for (auto const &frame : frames)
        EXPECT_EQ(feed.feed(frame), std::nullopt);
    sink.close_all();
    return lines;
}

Frame rpc_start(std::string const &request)
{
    return test::rpc_php_frame_of("request_id { id: 7 } timestamp { seconds: 5 nanos: 6 } rinit { " + request + " }");
}

Frame rpc_end(std::string const &end)
{
    return test::rpc_php_frame_of("request_id { id: 7 } rshutdown { " + end + " }");
}

Frame protobuf_start(std::string const &start)
{
    Frame frame;
    frame.set_request_id(7);
    frame.set_rinit(test::wire<pelorin::protobuf::PelorinPHP::RInitData>(start));
    return frame;
}

Frame rpc_error()
{
    return test::rpc_php_frame_of("request_id { id: 7 } error { error { message: 'm' } }");
}

Frame rpc_event()
{
    Frame frame;
    frame.set_rpc_monitor(test::wire<rpc::monitor::v1::NotifyRequest>("request_id { id: 7 }"));
    return frame;
}

Frame protobuf_event()
{
    Frame frame;
    frame.set_request_id(7);
    frame.set_monitor_event(test::wire<pelorin::protobuf::Monitor::Event>(""));
    return frame;
}

Frame rpc_statements(std::string const &queries)
{
    Frame frame;
    frame.set_rpc_glimmet(
        test::wire<rpc::glimmet::v1::NotifyRequest>("request_id { id: 7 } sql_queries { " + queries + " }"));
    return frame;
}

Frame protobuf_statements(std::string const &queries)
{
    Frame frame;
    frame.set_request_id(7);
    frame.set_sql_queries(test::wire<pelorin::protobuf::Glimmet::SqlQueries>(queries));
    return frame;
}

std::string line(std::string const &dialects, std::string const &start, std::string const &end,
                 std::string const &counts, std::string const &complete)
{
    return R"({"request_id":7,"dialects":[)" + dialects + "]," + start + "," + end + "," + counts + R"(,"complete":)" +
           complete + R"(,"number":1})";
}

std::string const no_start = R"("start":null,"method":null,"uri":null)";
std::string const no_end = R"("status":null,"duration":null,"memory":null)";
std::string const no_counts = R"("errors":0,"events":0,"statements":0)";

TEST(Summary, of_a_complete_request_has_its_start_and_its_end)
{
    EXPECT_THAT(summaries({rpc_start("request { text_0: 'GET' text_1: '/a' }"),
                           rpc_end("duration { seconds: 1 nanos: 2 } response { status: 404 } "
                                   "memory { value_0: 5 value_1: 9 value_2: -7 }")}),
                ElementsAre(line(R"("rpc")", R"("start":{"seconds":5,"nanos":6},"method":"GET","uri":"/a")",
                                 R"("status":404,"duration":{"seconds":1,"nanos":2},"memory":9)", no_counts, "true")));
}

TEST(Summary, of_a_missing_start_or_end_has_null_and_is_incomplete)
{
    EXPECT_THAT(summaries({rpc_start("")}),
                ElementsAre(line(R"("rpc")", R"("start":{"seconds":5,"nanos":6},"method":null,"uri":null)", no_end,
                                 no_counts, "false")));
    EXPECT_THAT(summaries({test::rshutdown_frame_of(7, "")}),
                ElementsAre(line(R"("protobuf")", no_start,
                                 R"("status":0,"duration":{"seconds":0,"nanos":0},"memory":0)", no_counts, "false")));
    EXPECT_THAT(summaries({rpc_event()}),
                ElementsAre(line(R"("rpc")", no_start, no_end, R"("errors":0,"events":1,"statements":0)", "false")));
}

TEST(Summary, of_both_dialects_has_start_and_end_of_rpc_in_either_order)
{
    std::string const start = R"("start":{"seconds":5,"nanos":6},"method":"GET","uri":"/rpc")";
    std::string const end = R"("status":200,"duration":{"seconds":0,"nanos":0},"memory":0)";
    auto const expected = line(R"("rpc","protobuf")", start, end, no_counts, "true");
    auto const of_rpc = rpc_start("request { text_0: 'GET' text_1: '/rpc' }");
    auto const of_protobuf = protobuf_start("text_0: 'PUT' text_1: '/protobuf'");
    auto const end_of_rpc = rpc_end("response { status: 200 }");
    auto const end_of_protobuf = test::rshutdown_frame_of(7, "response_status: 500");
    EXPECT_THAT(summaries({of_rpc, of_protobuf, end_of_rpc, end_of_protobuf}), ElementsAre(expected));
    EXPECT_THAT(summaries({of_protobuf, of_rpc, end_of_protobuf, end_of_rpc}), ElementsAre(expected));
}

TEST(Summary, of_a_start_in_rpc_and_an_end_in_protobuf_is_complete)
{
    EXPECT_THAT(summaries({rpc_start("request { text_0: '' }"), test::rshutdown_frame_of(7, "response_status: 1")}),
                ElementsAre(line(R"("rpc","protobuf")", R"("start":{"seconds":5,"nanos":6},"method":"","uri":"")",
                                 R"("status":1,"duration":{"seconds":0,"nanos":0},"memory":0)", no_counts, "true")));
}

TEST(Summary, counts_each_kind_in_rpc_if_that_has_any_report_of_it)
{
    struct Case {
        std::vector<Frame> frames;
        std::string counts;
    };
    auto const protobuf_error = test::error_frame_of(7, "");
    Case const cases[] = {
        {{rpc_error(), protobuf_error, protobuf_error}, R"("errors":1,"events":0,"statements":0)"},
        {{protobuf_error, protobuf_error}, R"("errors":2,"events":0,"statements":0)"},
        {{protobuf_event(), rpc_event(), protobuf_event()}, R"("errors":0,"events":1,"statements":0)"},
        {{protobuf_event(), protobuf_event(), rpc_error()}, R"("errors":1,"events":2,"statements":0)"},
        {{rpc_statements("queries { } queries { }"), rpc_statements("queries { }"), protobuf_statements("queries { }")},
         R"("errors":0,"events":0,"statements":3)"},
        {{protobuf_statements("queries { } queries { }")}, R"("errors":0,"events":0,"statements":2)"},
        // The rpc dialect reports that there are no statements.
        {{rpc_statements(""), protobuf_statements("queries { }")}, R"("errors":0,"events":0,"statements":0)"},
    };
    for (auto const &[frames, counts] : cases)
        EXPECT_THAT(summaries(frames), ElementsAre(testing::HasSubstr(counts)));
}

TEST(Summary, of_one_dialect_ignores_the_other)
{
    std::vector<Frame> const frames{rpc_error(), protobuf_event()};
    EXPECT_THAT(
        summaries(frames, {.requests = {}, .dialects = {Dialect::protobuf}}),
        ElementsAre(line(R"("protobuf")", no_start, no_end, R"("errors":0,"events":1,"statements":0)", "false")));
    EXPECT_THAT(summaries(frames, {.requests = {}, .dialects = {Dialect::rpc}}),
                ElementsAre(line(R"("rpc")", no_start, no_end, R"("errors":1,"events":0,"statements":0)", "false")));
}

TEST(Summary, cuts_a_long_text_between_characters)
{
    std::string uri(499, 'a');
    auto const cut = [&](std::string const &rest) {
        RequestSummary result;
        ReportChoice const all;
        SummarySink sink(all, [&](RequestSummary &request) { result = request; });
        RecordFeed feed(sink);
        EXPECT_EQ(feed.feed(rpc_start("request { text_1: '" + uri + rest + "' }")), std::nullopt);
        sink.close_all();
        return result.start->uri.value();
    };
    EXPECT_EQ(cut("a"), uri + "a");
    EXPECT_EQ(cut("aa"), uri + "a…");
    EXPECT_EQ(cut("é"), uri + "…");
}

TEST(Summary, counts_a_chunk_of_a_trace_as_a_report)
{
    Frame frame;
    frame.set_request_id(7);
    frame.set_rpc_data("bytes");
    EXPECT_THAT(summaries({frame}), ElementsAre(line(R"("rpc")", no_start, no_end, no_counts, "false")));
}

TEST(SummarySink, with_a_clock_passes_on_a_request_one_second_after_its_end)
{
    ReportChoice const reports;
    SummarySink::Groups::Time now;
    std::vector<bool> complete;
    SummarySink sink(
        reports, [&](RequestSummary const &request) { complete.push_back(request.is_complete()); },
        [&now] { return now; });
    RecordFeed feed(sink);
    auto const read = [&](Frame const &frame) { EXPECT_EQ(feed.feed(frame), std::nullopt); };
    read(rpc_start(""));
    read(rpc_end(""));
    now += std::chrono::milliseconds(500);
    read(test::rshutdown_frame_of(7, ""));
    now += std::chrono::milliseconds(999);
    sink.close_due();
    EXPECT_THAT(complete, ElementsAre());
    now += std::chrono::milliseconds(1);
    sink.close_due();
    EXPECT_THAT(complete, ElementsAre(true));
    read(rpc_end(""));
    now += std::chrono::seconds(1);
    read(test::rshutdown_frame_of(8, ""));
    EXPECT_THAT(complete, ElementsAre(true, false));
}

} // namespace
} // namespace tarnwick::program::summary_sink_test
