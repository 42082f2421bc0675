// Function statistics, SQL and storage.

#include "capture/record_feed.h"
#include "print/record_selection.h"

#include "support/textproto.h"
#include "tools/tarnwick/support/captures.h"
#include "tools/tarnwick/support/feed.h"
#include "tools/tarnwick/support/files.h"

#include <pelorin/protobuf/Glimmet/functions.pb.h>
#include <pelorin/protobuf/Glimmet/sql.pb.h>
#include <pelorin/protobuf/Glimmet/storage.pb.h>
#include <tarnwick/rpc/glimmet/v1/notify_request.pb.h>

#include <gmock/gmock.h>

#include <cstdint>
#include <string>

namespace tarnwick::program::record_feed_profiler_test {
namespace {

using test::feed;

/// Returns the JSON of a record after its dialect.
std::string json(std::string const &record, std::string const &dialect, std::string const &fields)
{
    return R"({"record":"glimmet.)" + record + R"(","frame":0,"offset":0,"dialect":")" + dialect + "\"," + fields +
           "}\n";
}

test::Frame rpc_glimmet_frame_of(std::string const &textproto)
{
    test::Frame frame;
    frame.set_rpc_glimmet(test::from_text<rpc::glimmet::v1::NotifyRequest>(textproto).SerializeAsString());
    return frame;
}

TEST(RecordFeed, prints_the_record_of_a_glimmet_case_or_all)
{
    std::string const no_functions = json("Functions", "rpc", R"("request_id":7,"functions":[])");
    std::string const no_storage = json("Storage", "rpc", R"("request_id":7,"name":null,"entries":[])");
    std::string const no_queries =
        json("SqlQueries", "rpc", R"("request_id":7,"connections":[],"transactions":[],"queries":[])");
    std::string const functions =
        json("Functions", "rpc",
             R"("request_id":7,"functions":[{"has_location":true,"name":"f","location":)"
             R"({"file":"a.php","line":1,"line_extra":2},"count":4294967295,)"
             R"("time_first":{"seconds":3,"nanos":4},"time_second":{"seconds":5,"nanos":6}},)"
             R"({"has_location":false,"name":"","location":null,"count":0,)"
             R"("time_first":{"seconds":0,"nanos":0},"time_second":{"seconds":0,"nanos":0}}])");
    std::string const storage = json("Storage", "rpc",
                                     R"("request_id":7,"name":"n","entries":[{"name":"e","values":)"
                                     R"(["","{\"a\":1}",{"base64":"/w=="}]}])");
    std::string const queries =
        json("SqlQueries", "rpc",
             R"("request_id":7,"connections":[{"id":0,"kind":1,"name":"c"}],)"
             R"("transactions":[{"id":2,"parent":null,"extra_number":null,"time":{"seconds":0,"nanos":0}},)"
             R"({"id":3,"parent":2,"extra_number":4,"time":{"seconds":5,"nanos":6}}],)"
             R"("queries":[{"kind":13,"source_kind":0,"text":"q","status":1,"wide_number":-9,)"
             R"("error":{"message":"m"},"time":{"seconds":7,"nanos":8},"extra_number":0,"connection":0,)"
             R"("transaction":3,"stack_trace":[{"name":"f","args":[],"call_value":null,"location":null,)"
             R"("frame_number":1}]},)"
             R"({"kind":0,"source_kind":0,"text":"","status":0,"wide_number":0,"error":null,)"
             R"("time":{"seconds":0,"nanos":0},"extra_number":null,"connection":null,"transaction":null,)"
             R"("stack_trace":null}])");
    struct Case {
        std::string name;
        std::string report;
        std::string records;
        std::string all_records;
    };
    Case const cases[] = {
        {"no case", "", "", no_functions + no_storage + no_queries},
        {"functions",
         "functions { functions { name: 'f' location { file: 'a.php' line: 1 line_extra: 2 } stats { count: 4294967295 "
         "time_first { seconds: 3 nanos: 4 } time_second { seconds: 5 nanos: 6 } } } functions { } }",
         functions, functions + no_storage + no_queries},
        {"empty functions", "functions { }", no_functions, no_functions + no_storage + no_queries},
        {"storage", R"(storage { name: 'n' entries { name: 'e' values: '' values: '{"a":1}' values: '\377' } })",
         storage, no_functions + storage + no_queries},
        {"queries",
         "sql_queries { connections { kind: KIND_1 name: 'c' } transactions { id: 3 } transactions { id: 2 } "
         "transactions { id: 3 parent_id: 2 extra_number: 4 time { seconds: 5 nanos: 6 } } "
         "queries { kind: 99 text: 'q' status: STATUS_1 wide_number: -9 error { message: 'm' } "
         "time { seconds: 7 nanos: 8 } extra_number: 0 connection_id: 0 transaction_id: 3 "
         "stack_trace { frames { function { name: 'f' } frame_number: 1 } } } queries { connection_id: 1 } }",
         queries, no_functions + no_storage + queries},
    };
    for (auto const &[name, report, records, all_records] : cases) {
        SCOPED_TRACE(name);
        auto const frame = rpc_glimmet_frame_of("request_id { id: 7 } timestamp { seconds: 1 } " + report);
        EXPECT_EQ(feed(frame).fault, std::nullopt);
        EXPECT_EQ(feed(frame).records, records);
        EXPECT_EQ(feed(frame, true).fault, std::nullopt);
        EXPECT_EQ(feed(frame, true).records, all_records);
    }
}

TEST(RecordFeed, treats_an_unknown_glimmet_case_as_none)
{
    test::Frame frame;
    frame.set_rpc_glimmet(test::field_head(6, 0));
    EXPECT_EQ(feed(frame).records, "");
    EXPECT_EQ(feed(frame, true).records,
              json("Functions", "rpc", R"("request_id":0,"functions":[])") +
                  json("Storage", "rpc", R"("request_id":0,"name":null,"entries":[])") +
                  json("SqlQueries", "rpc", R"("request_id":0,"connections":[],"transactions":[],"queries":[])"));
}

TEST(RecordFeed, builds_a_record_of_each_glimmet_report_of_the_protobuf_dialect)
{
    test::Frame frame;
    frame.set_request_id(7);
    frame.set_functions(
        test::from_text<pelorin::protobuf::Glimmet::Functions>("functions { name: 'f' kind: 1 }").SerializeAsString());
    EXPECT_EQ(feed(frame).records,
              json("Functions", "protobuf",
                   R"("request_id":7,"functions":[{"has_location":true,"name":"f","location":)"
                   R"({"file":"","line":0,"line_extra":0},"count":0,"time_first":{"seconds":0,"nanos":0},)"
                   R"("time_second":{"seconds":0,"nanos":0}}])"));
    frame.set_storage(test::from_text<pelorin::protobuf::Glimmet::Storage>("entries { }").SerializeAsString());
    EXPECT_EQ(feed(frame, true).records,
              json("Storage", "protobuf", R"("request_id":7,"name":"","entries":[{"name":"","values":[]}])"));
}

/// Prints the frames of one capture, in order.
class SqlFeed {
public:
    explicit SqlFeed(bool json = true)
        : printer_(output_, {.json = json})
    {
    }

    void connections(std::uint64_t request_id, std::string const &textproto)
    {
        test::Frame frame;
        frame.set_sql_connections(
            test::from_text<pelorin::protobuf::Glimmet::SqlConnections>(textproto).SerializeAsString());
        feed(request_id, frame);
    }
    void transactions(std::uint64_t request_id, std::string const &textproto)
    {
        test::Frame frame;
        frame.set_sql_transactions(
            test::from_text<pelorin::protobuf::Glimmet::SqlTransactions>(textproto).SerializeAsString());
        feed(request_id, frame);
    }
    void query(std::uint64_t request_id)
    {
        test::Frame frame;
        frame.set_sql_queries(test::from_text<pelorin::protobuf::Glimmet::SqlQueries>(
                                  "queries { connection_id: 1 transaction_id: 2 extra_number: -1 }")
                                  .SerializeAsString());
        feed(request_id, frame);
    }
    std::string records()
    {
        output_.flush();
        return file_.content();
    }

private:
    void feed(std::uint64_t request_id, test::Frame &frame)
    {
        frame.set_request_id(request_id);
        EXPECT_EQ(feed_.feed(frame), std::nullopt);
    }

    test::MemoryFile file_;
    Output output_{file_.descriptor()};
    RecordPrinter printer_;
    RecordSelection selection_{printer_};
    RecordFeed<RecordSelection> feed_{selection_};
};

std::string queries_of(std::string const &request_id, std::string const &connections, std::string const &transactions)
{
    auto const link = [](std::string const &list, char const *id) { return list.empty() ? "null" : id; };
    return json("SqlQueries", "protobuf",
                "\"request_id\":" + request_id + ",\"connections\":[" + connections + "],\"transactions\":[" +
                    transactions + R"(],"queries":[{"kind":0,"source_kind":0,"text":"","status":0,"wide_number":0,)" +
                    R"("error":null,"time":{"seconds":0,"nanos":0},"extra_number":null,"connection":)" +
                    link(connections, "1") + ",\"transaction\":" + link(transactions, "2") +
                    R"(,"stack_trace":null}])");
}

TEST(RecordFeed, links_protobuf_queries_to_the_latest_tables_of_their_request)
{
    SqlFeed feed;
    feed.query(7);
    feed.connections(7, "connections { id: 1 name: 'old' }");
    feed.transactions(7, "transactions { id: 3 } transactions { id: 2 parent_id: 3 extra_number: -1 }");
    feed.connections(7, "connections { id: 9 } connections { id: 1 name: 'new' }");
    feed.connections(8, "connections { id: 1 name: 'other' }");
    feed.query(7);
    feed.query(7);
    feed.query(8);

    auto const of_7 = std::string("\"request_id\":7,");
    auto const of_8 = std::string("\"request_id\":8,");
    std::string const transactions = R"({"id":2,"parent":3,"extra_number":null,"time":{"seconds":0,"nanos":0}},)"
                                     R"({"id":3,"parent":null,"extra_number":0,"time":{"seconds":0,"nanos":0}})";
    std::string const old_connections = R"({"id":1,"kind":0,"name":"old"})";
    std::string const connections = R"({"id":1,"kind":0,"name":"new"},{"id":9,"kind":0,"name":""})";
    std::string const other_connections = R"({"id":1,"kind":0,"name":"other"})";
    EXPECT_EQ(feed.records(),
              queries_of("7", "", "") +
                  json("SqlConnections", "protobuf", of_7 + "\"connections\":[" + old_connections + "]") +
                  json("SqlTransactions", "protobuf", of_7 + "\"transactions\":[" + transactions + "]") +
                  json("SqlConnections", "protobuf", of_7 + "\"connections\":[" + connections + "]") +
                  json("SqlConnections", "protobuf", of_8 + "\"connections\":[" + other_connections + "]") +
                  queries_of("7", connections, transactions) + queries_of("7", connections, transactions) +
                  queries_of("8", other_connections, ""));
}

TEST(RecordFeed, prints_the_request_id_of_tables_in_text)
{
    SqlFeed feed(false);
    feed.connections(7, "connections { id: 1 }");
    feed.transactions(8, "");
    EXPECT_EQ(feed.records(), R"(glimmet.SqlConnections  frame 0 at byte 0, protobuf
  request_id       7
  connections
    id  kind  name
     1     0  ""

glimmet.SqlTransactions  frame 0 at byte 0, protobuf
  request_id       8
  transactions     []

)");
}

TEST(RecordFeed, does_not_link_different_rpc_reports)
{
    test::MemoryFile const file;
    Output output(file.descriptor());
    RecordPrinter printer(output, {.json = true});
    RecordSelection selection(printer);
    RecordFeed feed(selection, false);
    EXPECT_EQ(feed.feed(rpc_glimmet_frame_of("sql_queries { connections { id: 1 } }")), std::nullopt);
    EXPECT_EQ(feed.feed(rpc_glimmet_frame_of("sql_queries { queries { connection_id: 1 } }")), std::nullopt);
    output.flush();
    EXPECT_THAT(file.content(), testing::HasSubstr(R"("connection":null)"));
}

} // namespace
} // namespace tarnwick::program::record_feed_profiler_test
