#include "print/readable_sql.h"

#include "support/textproto.h"

#include <pelorin/protobuf/Glimmet/sql.pb.h>
#include <tarnwick/rpc/glimmet/v1/notify_request.pb.h>

#include <gmock/gmock.h>

#include <string>

namespace tarnwick::program::readable_sql_test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

template <class Record>
std::string written(Record const &record)
{
    ReadableWriter writer(false);
    write_readable(writer, record);
    return writer.text();
}

std::string written_queries(std::string const &textproto)
{
    return written(data::glimmet::detail::SqlQueries(
        test::from_text<rpc::glimmet::v1::NotifyRequest>("request_id { id: 7 } sql_queries { " + textproto + " }")));
}

TEST(ReadableSql, writes_tables)
{
    EXPECT_EQ(written_queries(R"pb(
                  connections { id: 10 kind: KIND_2 name: "mysql:host=db" }
                  connections { id: 9 }
                  transactions { id: 1 time { nanos: 1000 } }
                  transactions { id: 2 parent_id: 1 extra_number: 3 }
                  queries {
                      text: "SELECT 1"
                      time { nanos: 2000000 }
                      kind: KIND_3
                      connection_id: 10
                      source_kind: SOURCE_KIND_2
                      transaction_id: 2
                      wide_number: -4
                      status: STATUS_1
                      extra_number: 5
                      stack_trace {
                          frames { function { name: "query" } }
                          frames { function { name: "load" location { file: "/srv/a.php" line: 12 } } }
                          frames { function { name: "main" location { file: "/srv/b.php" line: 1 } } }
                      }
                  }
                  queries { text: "BEGIN" error { message: "no" } })pb"),
              R"(
  request_id       7
  connections
    id  kind  name
     9     0  ""
    10     2  "mysql:host=db"
  transactions
    id  parent  extra_number      time
     1       -             -  1.000 µs
     2       1             3  0.000 µs
  queries
           time  connection  transaction  kind  source_kind  status  wide_number  extra_number  call site                  text
    2.000000 ms          10            2     3            2       1           -4             5  "load" at "/srv/a.php":12  "SELECT 1"
       0.000 µs           -            -     0            0       0            0             -  -                          "BEGIN", error "no")");
}

TEST(ReadableSql, writes_empty_lists)
{
    EXPECT_EQ(written_queries(""), R"(
  request_id       7
  connections      []
  transactions     []
  queries          [])");
}

TEST(ReadableSql, uses_the_first_call_if_none_has_a_file)
{
    EXPECT_THAT(written_queries("queries { stack_trace { frames { function { name: 'f' } } frames { } } }"),
                EndsWith("  \"f\"        \"\""));
    EXPECT_THAT(written_queries("queries { stack_trace { } }"), EndsWith("  -          \"\""));
}

TEST(ReadableSql, counts_repeated_statements)
{
    EXPECT_THAT(
        written_queries("queries { text: 'c' } queries { text: 'b' } queries { text: 'a' } queries { text: 'b' }"
                        " queries { text: 'd' } queries { text: 'a' } queries { text: 'd' } queries { text: 'd' }"),
        EndsWith(R"(
  repeated
    count  text
        3  "d"
        2  "b"
        2  "a")"));
}

TEST(ReadableSql, has_no_count_table_without_repetitions)
{
    EXPECT_THAT(written_queries("queries { text: 'a' } queries { text: 'A' } queries { text: 'a ' }"),
                Not(HasSubstr("repeated")));
}

TEST(ReadableSql, writes_separate_tables_of_the_protobuf_dialect)
{
    EXPECT_EQ(written(data::glimmet::SqlConnections(
                  test::from_text<pelorin::protobuf::Glimmet::SqlConnections>("connections { id: 1 name: 'c' }"))),
              R"(
  connections
    id  kind  name
     1     0  "c")");
    EXPECT_EQ(written(data::glimmet::SqlTransactions(
                  test::from_text<pelorin::protobuf::Glimmet::SqlTransactions>("transactions { id: 1 }"))),
              R"(
  transactions
    id  parent  extra_number      time
     1       -             0  0.000 µs)");
    EXPECT_EQ(written(data::glimmet::SqlConnections()), "\n  connections      []");
    EXPECT_EQ(written(data::glimmet::SqlTransactions()), "\n  transactions     []");
}

} // namespace
} // namespace tarnwick::program::readable_sql_test
