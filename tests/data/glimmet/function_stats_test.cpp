#include <tarnwick/data/glimmet/function_stats.h>

#include <tarnwick/data/print.h>

#include "support/allocations.h"
#include "support/message_fields.h"
#include "support/table.h"
#include "support/textproto.h"

#include <pelorin/protobuf/Glimmet/functions.pb.h>
#include <tarnwick/rpc/glimmet/v1/functions.pb.h>

#include <gmock/gmock.h>

#include <QtCore/QVariant>

#include <optional>
#include <string>
#include <type_traits>
#include <utility>

namespace tarnwick::data::glimmet::function_stats_test {
namespace {

using RpcFunction = rpc::glimmet::v1::Function;
using ProtobufFunction = pelorin::protobuf::Glimmet::Function;
using test::allocations_of;
using test::field_names;
using test::from_text;
using testing::ElementsAre;
using namespace Qt::StringLiterals;

static_assert(std::is_copy_constructible_v<FunctionStats>);
static_assert(std::is_copy_assignable_v<FunctionStats>);
static_assert(std::is_nothrow_move_constructible_v<FunctionStats>);
static_assert(std::is_nothrow_move_assignable_v<FunctionStats>);
static_assert(!std::is_default_constructible_v<FunctionStats>);
static_assert(QTypeInfo<FunctionStats>::isRelocatable);

template <class Message>
FunctionStats from(std::string const &textproto)
{
    return FunctionStats(from_text<Message>(textproto));
}

void expect_every_field(FunctionStats const &line)
{
    EXPECT_TRUE(line.has_location());
    EXPECT_EQ(line.name(), u"A\\B::c"_s);
    ASSERT_TRUE(line.location());
    EXPECT_EQ(line.location()->file(), u"/srv/../a.php"_s);
    EXPECT_EQ(line.location()->line(), 4294967295U);
    EXPECT_EQ(line.location()->line_extra(), 3U);
    EXPECT_EQ(line.count(), 5U);
    EXPECT_EQ(line.time_first(), (TimePair{1, 2}));
    EXPECT_EQ(line.time_second(), (TimePair{3, 4}));
}

TEST(FunctionStats, reads_every_field_of_an_rpc_line)
{
    expect_every_field(from<RpcFunction>(R"pb(
        name: "A\\B::c"
        location { file: "/srv/../a.php" line: 4294967295 line_extra: 3 }
        stats { time_first { seconds: 1 nanos: 2 } time_second { seconds: 3 nanos: 4 } count: 5 })pb"));
}

TEST(FunctionStats, reads_every_field_of_a_protobuf_line)
{
    expect_every_field(from<ProtobufFunction>(R"pb(
        name: "A\\B::c"
        file: "/srv/../a.php"
        time_first { seconds: 1 nanos: 2 }
        time_second { seconds: 3 nanos: 4 }
        kind: KIND_IN_SOURCE
        count: 5
        line: 4294967295
        line_extra: 3)pb"));
}

TEST(FunctionStats, is_the_same_in_both_dialects)
{
    EXPECT_EQ(to_text(from<RpcFunction>(R"pb(
                  name: "f"
                  location { file: "a.php" line: 12 line_extra: 34 }
                  stats { time_first { seconds: -1 nanos: -2 } time_second { nanos: 1999999999 } count: 4294967295 })pb")),
              to_text(from<ProtobufFunction>(R"pb(
                  name: "f"
                  file: "a.php"
                  time_first { seconds: -1 nanos: -2 }
                  time_second { nanos: 1999999999 }
                  kind: KIND_IN_SOURCE
                  count: 4294967295
                  line: 12
                  line_extra: 34)pb")));
}

struct Case {
    char const *name;
    FunctionStats (*read)(std::string const &textproto);
    char const *textproto;
    char const *printed;
};

#define LINE(has_location, name, location)                                                                             \
    "glimmet.FunctionStats{has_location: " has_location ", name: \"" name "\", location: " location ", "
#define PLACE(file, line, line_extra)                                                                                  \
    "php.SourceLocation{file: \"" file "\", line: " line ", line_extra: " line_extra "}"
#define NOTHING_MEASURED "count: 0, time_first: {0 s, 0 ns}, time_second: {0 s, 0 ns}}"

Case const cases[] = {
    {"rpc_empty", from<RpcFunction>, "", LINE("false", "", "none") NOTHING_MEASURED},
    {"rpc_without_stats_keeps_name_and_location", from<RpcFunction>, "name: 'f' location { file: 'a' line: 1 }",
     LINE("true", "f", PLACE("a", "1", "0")) NOTHING_MEASURED},
    {"rpc_with_empty_stats", from<RpcFunction>, "name: 'f' stats { }", LINE("false", "f", "none") NOTHING_MEASURED},
    {"rpc_with_an_empty_location", from<RpcFunction>, "location { }",
     LINE("true", "", PLACE("", "0", "0")) NOTHING_MEASURED},
    {"rpc_with_a_location_without_file", from<RpcFunction>, "location { line: 12 line_extra: 3 }",
     LINE("true", "", PLACE("", "12", "3")) NOTHING_MEASURED},
    {"rpc_with_the_first_time_alone", from<RpcFunction>, "stats { time_first { seconds: 1 nanos: 2 } }",
     LINE("false", "", "none") "count: 0, time_first: {1 s, 2 ns}, time_second: {0 s, 0 ns}}"},
    {"rpc_with_the_second_time_alone", from<RpcFunction>, "stats { time_second { seconds: 1 nanos: 2 } }",
     LINE("false", "", "none") "count: 0, time_first: {0 s, 0 ns}, time_second: {1 s, 2 ns}}"},
    {"rpc_with_the_highest_count", from<RpcFunction>, "stats { count: 4294967295 }",
     LINE("false", "", "none") "count: 4294967295, time_first: {0 s, 0 ns}, time_second: {0 s, 0 ns}}"},
    {"protobuf_empty", from<ProtobufFunction>, "", LINE("false", "", "none") NOTHING_MEASURED},
    {"protobuf_of_kind_0_drops_its_file", from<ProtobufFunction>, "name: 'f' file: 'a' line: 12 line_extra: 3",
     LINE("false", "f", "none") NOTHING_MEASURED},
    {"protobuf_of_kind_2_drops_its_file", from<ProtobufFunction>, "file: 'a' kind: 2 line: 12 line_extra: 3",
     LINE("false", "", "none") NOTHING_MEASURED},
    {"protobuf_of_kind_257_drops_its_file", from<ProtobufFunction>, "file: 'a' kind: 257 line: 12",
     LINE("false", "", "none") NOTHING_MEASURED},
    {"protobuf_of_kind_minus_1_drops_its_file", from<ProtobufFunction>, "file: 'a' kind: -1 line: 12",
     LINE("false", "", "none") NOTHING_MEASURED},
    {"protobuf_of_kind_1_without_file_keeps_its_lines", from<ProtobufFunction>, "kind: 1 line: 12 line_extra: 3",
     LINE("true", "", PLACE("", "12", "3")) NOTHING_MEASURED},
    {"protobuf_of_kind_1_without_anything", from<ProtobufFunction>, "kind: 1",
     LINE("true", "", PLACE("", "0", "0")) NOTHING_MEASURED},
    {"protobuf_without_location_keeps_its_numbers", from<ProtobufFunction>,
     "time_first { seconds: 1 } time_second { nanos: 2 } count: 3",
     LINE("false", "", "none") "count: 3, time_first: {1 s, 0 ns}, time_second: {0 s, 2 ns}}"},
    {"protobuf_with_the_highest_count", from<ProtobufFunction>, "count: 4294967295",
     LINE("false", "", "none") "count: 4294967295, time_first: {0 s, 0 ns}, time_second: {0 s, 0 ns}}"},
};

class FunctionStatsFromMessage : public test::TableTest<Case> {};

TEST_P(FunctionStatsFromMessage, is_read)
{
    auto const line = GetParam().read(GetParam().textproto);
    EXPECT_EQ(to_text(line), GetParam().printed);
    EXPECT_EQ(line.has_location(), line.location().has_value());
}

INSTANTIATE_TEST_SUITE_P(Cases, FunctionStatsFromMessage, test::rows(cases), test::by_name);

TEST(FunctionStats, absent_texts_are_empty_and_not_null)
{
    for (auto const &line : {from<RpcFunction>("location { }"), from<ProtobufFunction>("kind: 1")}) {
        EXPECT_FALSE(line.name().isNull());
        EXPECT_FALSE(line.location()->file().isNull());
    }
}

TEST(FunctionStats, names_keep_nul_bytes_and_spaces_and_replace_invalid_utf8)
{
    for (auto const &line :
         {from<RpcFunction>(R"(name: ' {Closure}\000\377')"), from<ProtobufFunction>(R"(name: ' {Closure}\000\377')")})
        EXPECT_EQ(line.name(), u" {Closure}\0\ufffd"_s);
}

TEST(FunctionStats, allocate_a_block_for_each_text)
{
    auto const rpc = from_text<RpcFunction>("name: 'some_function' location { file: 'a.php' } stats { count: 1 }");
    auto const protobuf = from_text<ProtobufFunction>("name: 'some_function' file: 'a.php' kind: 1 count: 1");
    EXPECT_EQ(allocations_of([&] { FunctionStats const line(rpc); }), 2U);
    EXPECT_EQ(allocations_of([&] { FunctionStats const line(protobuf); }), 2U);
}

TEST(FunctionStats, copies_share_their_texts_and_moves_keep_them)
{
    auto line = from<ProtobufFunction>("name: 'f' file: 'a.php' kind: 1 count: 7");
    auto const printed = to_text(line);
    auto const *const name = line.name().constData();
    auto other = from<ProtobufFunction>("name: 'g'");

    auto copy = line;
    EXPECT_EQ(copy.name().constData(), name);
    other = copy;
    EXPECT_EQ(to_text(other), printed);
    FunctionStats const moved(std::move(line));
    EXPECT_EQ(moved.name().constData(), name);
    EXPECT_EQ(to_text(moved), printed);
    line = std::move(copy);
    EXPECT_EQ(to_text(line), printed);
    EXPECT_EQ(allocations_of([&] { std::optional<FunctionStats> const another(moved); }), 0U);
}

TEST(FunctionStats, round_trip_through_a_qvariant)
{
    auto const line = from<RpcFunction>("name: 'f' stats { count: 7 }");
    auto const variant = QVariant::fromValue(line);
    EXPECT_STREQ(variant.metaType().name(), "tarnwick::data::glimmet::FunctionStats");
    auto const *const inside = get_if<FunctionStats>(&variant);
    ASSERT_NE(inside, nullptr);
    EXPECT_EQ(to_text(*inside), to_text(line));
}

TEST(FunctionStats, message_fields_are_all_read)
{
    EXPECT_THAT(field_names<RpcFunction>(), ElementsAre("name", "location", "stats"));
    EXPECT_THAT(field_names<rpc::glimmet::v1::FunctionStats>(), ElementsAre("time_first", "time_second", "count"));
    EXPECT_THAT(field_names<ProtobufFunction>(),
                ElementsAre("name", "file", "time_first", "time_second", "kind", "count", "line", "line_extra"));
}

} // namespace
} // namespace tarnwick::data::glimmet::function_stats_test

#undef LINE
#undef PLACE
#undef NOTHING_MEASURED
