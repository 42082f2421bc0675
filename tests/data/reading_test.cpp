#include <tarnwick/data/reading.h>

#include "support/textproto.h"

#include <tarnwick/rpc/php/v1/error.pb.h>
#include <tarnwick/rpc/php/v1/notify_request.pb.h>

#include <google/protobuf/duration.pb.h>
#include <google/protobuf/timestamp.pb.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>

namespace tarnwick::data::reading_test {
namespace {

using test::from_text;
using namespace Qt::StringLiterals;

struct TextCase {
    char const *name;
    std::string bytes;
    QString text;
};

TextCase const text_cases[] = {
    {"ascii", "index.php", u"index.php"_s},
    {"two_to_four_bytes", "\xc3\xa9\xe2\x82\xac\xf0\x9f\x90\x98", u"é€🐘"_s},
    {"white_space_and_case_stay", " A b\t\n", u" A b\t\n"_s},
    {"an_embedded_nul_does_not_end_it", std::string("a\0b\0", 4), u"a\0b\0"_s},
    {"each_invalid_byte_is_replaced", "a\xff\xfe!", u"a\ufffd\ufffd!"_s},
    {"a_byte_order_mark_at_the_start_is_dropped",
     "\xef\xbb\xbf"
     "a",
     u"a"_s},
    {"one_byte_order_mark_is_dropped",
     "\xef\xbb\xbf\xef\xbb\xbf"
     "a",
     u"\ufeffa"_s},
    {"a_byte_order_mark_elsewhere_stays", "a\xef\xbb\xbf", u"a\ufeff"_s},
    {"a_byte_order_mark_after_a_nul_stays", std::string("\0\xef\xbb\xbf", 4), u"\0\ufeff"_s},
    {"a_byte_order_mark_of_utf16_is_invalid",
     "\xff\xfe"
     "a",
     u"\ufffd\ufffda"_s},
    {"a_cut_byte_order_mark_is_replaced", "\xef\xbb", u"\ufffd\ufffd"_s},
    {"a_cut_sequence_is_replaced", "a\xe2\x82", u"a\ufffd\ufffd"_s},
};

TEST(Text, is_the_bytes_decoded_as_utf8)
{
    for (auto const &row : text_cases) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(text(row.bytes), row.text);
    }
}

TEST(Text, of_only_a_byte_order_mark_is_empty_and_not_null)
{
    for (auto const *bytes : {"", "\xef\xbb\xbf"}) {
        EXPECT_TRUE(text(bytes).isEmpty());
        EXPECT_FALSE(text(bytes).isNull());
    }
}

TEST(TimePair, copies_timestamps_and_durations_unchanged)
{
    struct Row {
        char const *textproto;
        TimePair pair;
    };
    Row const rows[] = {
        {"", {0, 0}},
        {"seconds: 1700000000 nanos: 999999999", {1700000000, 999999999}},
        {"seconds: -1", {-1, 0}},
        {"nanos: -1", {0, -1}},
        {"nanos: 1000000000", {0, 1000000000}},
        {"seconds: 9223372036854775807 nanos: 2147483647", {9223372036854775807, 2147483647}},
    };
    for (auto const &row : rows) {
        SCOPED_TRACE(row.textproto);
        EXPECT_EQ(time_pair(from_text<google::protobuf::Timestamp>(row.textproto)), row.pair);
        EXPECT_EQ(time_pair(from_text<google::protobuf::Duration>(row.textproto)), row.pair);
    }
}

TEST(LocationWhenPresent, is_present_with_the_sub_message)
{
    EXPECT_FALSE(location_when_present(from_text<rpc::php::v1::Error>("message: 'm'")));

    auto const empty = location_when_present(from_text<rpc::php::v1::Error>("location { }"));
    ASSERT_TRUE(empty);
    EXPECT_TRUE(empty->file().isEmpty());
    EXPECT_EQ(empty->line(), 0U);
    EXPECT_EQ(empty->line_extra(), 0U);

    auto const filled =
        location_when_present(from_text<rpc::php::v1::Error>("location { file: 'a.php' line: 17 line_extra: 3 }"));
    ASSERT_TRUE(filled);
    EXPECT_EQ(filled->file(), u"a.php"_s);
    EXPECT_EQ(filled->line(), 17U);
    EXPECT_EQ(filled->line_extra(), 3U);
}

TEST(LocationWhenFileNamed, drops_the_line_of_an_empty_file)
{
    EXPECT_FALSE(location_when_file_named("", 17));
}

TEST(LocationWhenFileNamed, reads_file_and_line_and_has_no_second_number)
{
    auto const location = location_when_file_named("a.php", 17);
    ASSERT_TRUE(location);
    EXPECT_EQ(location->file(), u"a.php"_s);
    EXPECT_EQ(location->line(), 17U);
    EXPECT_EQ(location->line_extra(), 0U);
}

enum Small : std::int32_t { none = 0, small_top = 2 };
enum Wide : std::int32_t { nothing = 0, wide_top = 13 };

TEST(Classification, is_truncated_to_8_bits_and_clamped_to_the_top)
{
    struct Row {
        std::int32_t number;
        int small;
        int wide;
    };
    Row const rows[] = {
        {0, 0, 0},    {1, 1, 1},   {2, 2, 2},   {3, 2, 3},    {13, 2, 13}, {14, 2, 13},
        {255, 2, 13}, {256, 0, 0}, {257, 1, 1}, {270, 2, 13}, {-1, 2, 13}, {-256, 0, 0},
    };
    for (auto const &[number, small, wide] : rows) {
        SCOPED_TRACE(number);
        EXPECT_EQ(classification<small_top>(static_cast<Small>(number)), small);
        EXPECT_EQ(classification<wide_top>(static_cast<Wide>(number)), wide);
    }
}

TEST(NumberUnlessNegative, is_absent_only_below_0)
{
    EXPECT_EQ(number_unless_negative(0), 0U);
    EXPECT_EQ(number_unless_negative(2147483647), 2147483647U);
    EXPECT_EQ(number_unless_negative(-1), std::nullopt);
    EXPECT_EQ(number_unless_negative(-2147483648), std::nullopt);
}

TEST(Messages, with_texts_that_are_not_utf8_parse)
{
    rpc::php::v1::NotifyRequest message;
    message.mutable_request_id()->set_id(7);
    message.mutable_rinit()->mutable_request()->set_text_0("\xff\xfe");
    message.mutable_error()->mutable_error()->set_message("\xff\xfe");

    rpc::php::v1::NotifyRequest parsed;
    ASSERT_TRUE(parsed.ParseFromString(message.SerializeAsString()));
    EXPECT_EQ(parsed.error().error().message(), "\xff\xfe");
}

} // namespace
} // namespace tarnwick::data::reading_test
