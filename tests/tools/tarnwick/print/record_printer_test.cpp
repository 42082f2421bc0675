#include "print/record_printer.h"

#include "tools/tarnwick/support/captures.h"
#include "tools/tarnwick/support/files.h"

#include <tarnwick/data/glimmet/functions.h>
#include <tarnwick/data/glimmet/sql_queries.h>
#include <tarnwick/data/php/rshutdown.h>

#include <pelorin/protobuf/Glimmet/functions.pb.h>
#include <tarnwick/rpc/glimmet/v1/notify_request.pb.h>

#include <gmock/gmock.h>

#include <string>

namespace tarnwick::program::record_printer_test {
namespace {

using data::php::RequestId;
using RShutdown = data::php::detail::RShutdown;

template <class Record>
std::string printed(RecordPrinter::Style style, Origin origin, Record const &record, Dialect dialect)
{
    test::MemoryFile const file;
    Output output(file.descriptor());
    RecordPrinter printer(output, style);
    printer.set_origin(origin);
    printer.print(record, dialect);
    output.flush();
    return file.content();
}

RShutdown const from_rpc(test::from_text<test::PhpReport>(R"(
    request_id { id: 18446744073709551615 }
    timestamp { seconds: 1700000000 nanos: 5 }
    rshutdown {
        duration { seconds: -9223372036854775808 nanos: -1 }
        response { status: -2147483648 }
        memory { value_0: 9223372036854775807 value_1: -9223372036854775808 value_2: 1 }
    })"));
RShutdown const from_protobuf(test::from_text<test::RShutdownData>(R"(
    duration { nanos: 5000000 } response_status: 200 memory_0: 1 memory_1: 2 memory_2: 3)"),
                              RequestId(7));

TEST(RecordPrinter, writes_a_json_line_of_either_dialect)
{
    EXPECT_EQ(printed({.json = true}, {"a.tnw", 12, 3456}, from_rpc, Dialect::rpc),
              R"({"record":"php.RShutdown","frame":12,"offset":3456,"dialect":"rpc",)"
              R"("request_id":18446744073709551615,"timestamp":{"seconds":1700000000,"nanos":5},)"
              R"("duration":{"seconds":-9223372036854775808,"nanos":-1},"response_status":-2147483648,)"
              R"("memory_0":9223372036854775807,"memory_1":-9223372036854775808,"memory_2":1})"
              "\n");
    EXPECT_EQ(printed({.json = true}, {"a.tnw", 1, 0}, from_protobuf, Dialect::protobuf),
              R"({"record":"php.RShutdown","frame":1,"offset":0,"dialect":"protobuf",)"
              R"("request_id":7,"timestamp":{"seconds":0,"nanos":0},)"
              R"("duration":{"seconds":0,"nanos":5000000},"response_status":200,)"
              R"("memory_0":1,"memory_1":2,"memory_2":3})"
              "\n");
}

TEST(RecordPrinter, writes_every_id_as_a_string_on_request)
{
    RecordPrinter::Style const style{.json = true, .json_style = {.string_ids = true}};
    EXPECT_EQ(printed(style, {"a.tnw", 12, 3456}, from_rpc, Dialect::rpc),
              R"({"record":"php.RShutdown","frame":12,"offset":3456,"dialect":"rpc",)"
              R"("request_id":"18446744073709551615","timestamp":{"seconds":1700000000,"nanos":5},)"
              R"("duration":{"seconds":"-9223372036854775808","nanos":-1},"response_status":-2147483648,)"
              R"("memory_0":"9223372036854775807","memory_1":"-9223372036854775808","memory_2":1})"
              "\n");
    data::glimmet::detail::SqlQueries const queries(test::from_text<rpc::glimmet::v1::NotifyRequest>(R"(
        request_id { id: 7 }
        sql_queries {
            connections { id: 1 }
            transactions { id: 2 }
            transactions { id: 3 parent_id: 2 }
            queries { connection_id: 1 transaction_id: 3 }
        })"));
    auto const line = printed(style, {"a.tnw", 1, 0}, queries, Dialect::rpc);
    for (auto const *member :
         {R"("request_id":"7")", R"("connections":[{"id":"1",)", R"("transactions":[{"id":"2","parent":null,)",
          R"({"id":"3","parent":"2",)", R"("connection":"1","transaction":"3")"})
        EXPECT_THAT(line, testing::HasSubstr(member));
    // A table of the protobuf dialect has the id of its frame.
    test::MemoryFile const file;
    Output output(file.descriptor());
    RecordPrinter printer(output, style);
    printer.print(data::glimmet::SqlConnections(), Dialect::protobuf, {}, RequestId(8));
    output.flush();
    EXPECT_THAT(file.content(), testing::HasSubstr(R"("request_id":"8","connections":[])"));
}

TEST(RecordPrinter, writes_the_file_after_the_record)
{
    RecordPrinter::Style const style{.json = true, .name_files = true};
    EXPECT_TRUE(printed(style, {"dir/a \"b\".tnw", 1, 0}, from_protobuf, Dialect::protobuf)
                    .starts_with(R"({"record":"php.RShutdown","file":"dir/a \"b\".tnw","frame":1,"offset":0,)"));
    EXPECT_TRUE(printed(style, {"\xff.tnw", 1, 0}, from_protobuf, Dialect::protobuf)
                    .starts_with(R"({"record":"php.RShutdown","file":{"base64":"/y50bnc="},"frame":1,)"));
}

TEST(RecordPrinter, writes_the_view_after_the_dialect)
{
    for (bool const json : {true, false}) {
        test::MemoryFile const file;
        Output output(file.descriptor());
        RecordPrinter printer(output, {.json = json});
        printer.set_origin({"a.tnw", 1, 0});
        printer.print(from_protobuf, Dialect::protobuf, "init");
        output.flush();
        EXPECT_TRUE(file.content().starts_with(
            json
                ? R"({"record":"php.RShutdown","frame":1,"offset":0,"dialect":"protobuf","view":"init","request_id":7,)"
                : "php.RShutdown  frame 1 at byte 0, protobuf, init\n"))
            << file.content();
    }
}

TEST(RecordPrinter, writes_text)
{
    EXPECT_EQ(printed({}, {"a.tnw", 1, 0}, from_protobuf, Dialect::protobuf),
              R"(php.RShutdown  frame 1 at byte 0, protobuf
  request_id       7
  timestamp        -
  duration         5.000000 ms
  response_status  200
  memory_0         1
  memory_1         2
  memory_2         3

)");
    EXPECT_TRUE(printed({.name_files = true}, {"a.tnw", 1, 20}, from_rpc, Dialect::rpc)
                    .starts_with("php.RShutdown  a.tnw: frame 1 at byte 20, rpc\n"));
    EXPECT_TRUE(printed({.color = true}, {"a.tnw", 1, 0}, from_rpc, Dialect::rpc)
                    .starts_with("\x1b[1;36mphp.RShutdown\x1b[0m"));
}

TEST(RecordPrinter, cuts_lines_and_ends_colours)
{
    EXPECT_EQ(printed({.color = true, .width = 16}, {"a.tnw", 1, 0}, from_protobuf, Dialect::protobuf),
              "\x1b[1;36mphp.RShutdown\x1b[0m  \x1b[2m…\x1b[0m\n"
              "  request_id   …\n"
              "  timestamp    …\n"
              "  duration     …\n"
              "  response_stat…\n"
              "  memory_0     …\n"
              "  memory_1     …\n"
              "  memory_2     …\n\n");
}

TEST(RecordPrinter, has_tables_in_text_and_message_order_in_json)
{
    data::glimmet::detail::Functions const functions(
        test::from_text<pelorin::protobuf::Glimmet::Functions>(
            "functions { name: 'fast' } functions { name: 'slow' time_first { seconds: 1 } }"),
        RequestId(7));
    EXPECT_EQ(printed({}, {"a.tnw", 1, 0}, functions, Dialect::protobuf),
              R"(glimmet.Functions  frame 1 at byte 0, protobuf
  request_id       7
  functions
       time_first                        time_second  count  function
    1.000000000 s  ████████████████████     0.000 µs      0  "slow"
         0.000 µs                           0.000 µs      0  "fast"

)");
    auto const line = printed({.json = true}, {"a.tnw", 1, 0}, functions, Dialect::protobuf);
    EXPECT_LT(line.find("fast"), line.find("slow"));
}

TEST(RecordPrinter, prints_consecutive_records)
{
    for (bool const json : {true, false}) {
        test::MemoryFile const file;
        Output output(file.descriptor());
        RecordPrinter printer(output, {.json = json});
        printer.print(from_rpc, Dialect::rpc);
        printer.print(from_protobuf, Dialect::protobuf);
        output.flush();
        EXPECT_EQ(file.content(), printed({.json = json}, {}, from_rpc, Dialect::rpc) +
                                      printed({.json = json}, {}, from_protobuf, Dialect::protobuf));
    }
}

} // namespace
} // namespace tarnwick::program::record_printer_test
