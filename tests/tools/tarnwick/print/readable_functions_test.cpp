#include "print/readable_functions.h"

#include "support/textproto.h"

#include <pelorin/protobuf/Glimmet/functions.pb.h>

#include <gtest/gtest.h>

#include <string>

namespace tarnwick::program::readable_functions_test {
namespace {

std::string written(std::string const &textproto)
{
    ReadableWriter writer(false);
    write_readable(writer,
                   data::glimmet::detail::Functions(test::from_text<pelorin::protobuf::Glimmet::Functions>(textproto),
                                                    data::php::RequestId(7)));
    return writer.text();
}

TEST(ReadableFunctions, are_sorted_by_first_time_with_bars)
{
    EXPECT_EQ(written(R"pb(
                  functions { name: "fast" count: 3 time_first { nanos: 2000 } time_second { nanos: 1 } }
                  functions {
                      name: "App\\slow"
                      count: 4294967295
                      time_first { seconds: 2 }
                      time_second { nanos: 5000000 }
                      kind: KIND_IN_SOURCE
                      file: "/srv/a.php"
                      line: 12
                  }
                  functions {
                      name: "half"
                      time_first { seconds: 1 nanos: 12500000 }
                      kind: KIND_IN_SOURCE
                      line: 1
                      line_extra: 9
                  })pb"),
              R"(
  request_id       7
  functions
       time_first                        time_second       count  function
    2.000000000 s  ████████████████████  5.000000 ms  4294967295  "App\\slow" at "/srv/a.php":12
    1.012500000 s  ██████████▏              0.000 µs           0  "half" at "":1:9
         2.000 µs                           0.001 µs           3  "fast")");
}

TEST(ReadableFunctions, with_equal_times_keep_their_order)
{
    auto const text =
        written("functions { name: 'b' } functions { name: 'a' } functions { name: 'c' time_first { nanos: 1 } }");
    EXPECT_LT(text.find("\"c\""), text.find("\"b\""));
    EXPECT_LT(text.find("\"b\""), text.find("\"a\""));
}

TEST(ReadableFunctions, without_a_time_above_0_have_no_bars)
{
    auto const text =
        written("functions { time_first { nanos: -1 } } functions { } functions { time_first { seconds: -5 } }");
    EXPECT_EQ(text.find("█"), std::string::npos);
    EXPECT_LT(text.find("0.000 µs"), text.find("0 s, -1 ns"));
    EXPECT_LT(text.find("0 s, -1 ns"), text.find("-5 s, 0 ns"));
}

TEST(ReadableFunctions, without_rows_are_an_empty_list)
{
    EXPECT_EQ(written(""), R"(
  request_id       7
  functions        [])");
}

} // namespace
} // namespace tarnwick::program::readable_functions_test
