#include <tarnwick/tarnwick_utils.h>

#include "support/table.h"
#include "support/textproto.h"

#include <pelorin/protobuf/PelorinPHP/zval.pb.h>
#include <tarnwick/rpc/php/v1/zval.pb.h>

#include <gtest/gtest.h>

#include <QtCore/QDateTime>
#include <QtCore/QDebug>
#include <QtCore/QMetaType>
#include <QtCore/QTimeZone>

#include <cmath>
#include <limits>
#include <string>

namespace PelorinPHPX::tarnwick_utils_from_message_test {
namespace {

using ProtobufZVal = pelorin::protobuf::PelorinPHP::ZVal;
using RpcZVal = tarnwick::rpc::php::v1::ZVal;
using tarnwick::test::by_name;
using tarnwick::test::from_text;
using tarnwick::test::rows;
using tarnwick::test::TableTest;
using namespace Qt::StringLiterals;

QVariant from_rpc(std::string const &textproto)
{
    return qvariant_from_protobuf_zval(from_text<RpcZVal>(textproto));
}

QVariant from_protobuf(std::string const &textproto)
{
    return qvariant_from_protobuf_zval(from_text<ProtobufZVal>(textproto));
}

/// Names the type of a value and of each value in it: Qt's comparison treats 1, 1.0 and true as equal.
std::string described(QVariant const &value)
{
    QString text;
    QDebug(&text) << value;
    return text.toStdString();
}

void expect_exactly(QVariant const &value, QVariant const &expected)
{
    EXPECT_EQ(described(value), described(expected));
    EXPECT_TRUE(value.metaType() == expected.metaType());
    EXPECT_TRUE(value == expected);
}

QVariant in_utc(qint64 milliseconds)
{
    return QDateTime::fromMSecsSinceEpoch(milliseconds, QTimeZone::utc());
}

struct MessageCase {
    char const *name;
    std::string textproto;
    QVariant value;
};

MessageCase const rpc_cases[] = {
    {"case_0_is_invalid", "", {}},
    {"case_1_is_invalid", "null_value: NULL_VALUE", {}},
    {"case_1_with_another_number_is_invalid", "null_value: 7", {}},
    {"case_2_is_bool", "bool_value: true", true},
    {"case_2_with_false_is_bool", "bool_value: false", false},
    {"case_3_is_long_long", "long_value: -9223372036854775808", std::numeric_limits<qlonglong>::min()},
    {"case_3_with_zero_is_long_long", "long_value: 0", 0LL},
    {"case_4_is_double", "double_value: 0.1", 0.1},
    {"case_5_is_string", R"(string_value: '\303\251')", u"é"_s},
    {"case_5_with_nothing_is_an_empty_string", "string_value: ''", u""_s},
    {"case_5_with_a_nul_is_whole", R"(string_value: 'a\000b')", u"a\0b"_s},
    {"case_5_that_is_not_utf8_has_replacements", R"(string_value: 'a\377')", u"a\ufffd"_s},
    {"case_6_is_invalid", "array_value { elements { long_key: 1 value { bool_value: true } } }", {}},
    {"case_7_is_invalid", "object_value { class_name: 'A' value { bool_value: true } }", {}},
    {"case_8_is_invalid", "resource_value { type_name: 'stream' value { bool_value: true } }", {}},
    {"case_9_is_parsed", "json_value: '[1]'", QVariantList{1LL}},
    {"case_10_is_date_and_time", "timestamp_value { seconds: 5 nanos: 7000000 }", in_utc(5007)},
    {"case_10_with_nothing_is_the_epoch", "timestamp_value { }", in_utc(0)},
};

class FromRpc : public TableTest<MessageCase> {};

TEST_P(FromRpc, is_converted)
{
    expect_exactly(from_rpc(GetParam().textproto), GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(Cases, FromRpc, rows(rpc_cases), by_name);

MessageCase const protobuf_cases[] = {
    {"type_0_is_invalid", "", {}},
    {"type_0_is_invalid_over_a_member", "bool_value: true", {}},
    {"type_1_is_invalid", "type: TYPE_NULL", {}},
    {"type_1_is_invalid_over_a_member", "type: TYPE_NULL bool_value: true", {}},
    {"type_2_is_bool", "type: TYPE_BOOL bool_value: true", true},
    {"type_3_is_string", R"(type: TYPE_STRING string_value: '\303\251')", u"é"_s},
    {"type_3_with_a_nul_is_whole", R"(type: TYPE_STRING string_value: 'a\000b')", u"a\0b"_s},
    {"type_3_that_is_not_utf8_has_replacements", R"(type: TYPE_STRING string_value: 'a\377')", u"a\ufffd"_s},
    {"type_4_is_long_long", "type: TYPE_LONG long_value: 9223372036854775807", std::numeric_limits<qlonglong>::max()},
    {"type_5_is_double", "type: TYPE_DOUBLE double_value: 0.1", 0.1},
    {"type_6_is_parsed", "type: TYPE_JSON json_value: '[1]'", QVariantList{1LL}},
    {"type_7_is_date_and_time", "type: TYPE_TIMESTAMP timestamp_value { seconds: 5 nanos: 7000000 }", in_utc(5007)},
    {"type_8_is_invalid", "type: 8 bool_value: true", {}},
    {"type_minus_1_is_invalid", "type: -1 bool_value: true", {}},
    {"type_2_over_another_member_is_false", "type: TYPE_BOOL long_value: 1", false},
    {"type_3_over_another_member_is_an_empty_string", "type: TYPE_STRING json_value: 'x'", u""_s},
    {"type_4_over_another_member_is_0", "type: TYPE_LONG string_value: '7'", 0LL},
    {"type_5_over_another_member_is_0", "type: TYPE_DOUBLE long_value: 7", 0.0},
    {"type_6_over_another_member_is_invalid", "type: TYPE_JSON string_value: '[1]'", {}},
    {"type_7_over_another_member_is_the_epoch", "type: TYPE_TIMESTAMP long_value: 7", in_utc(0)},
    {"type_2_without_a_member_is_false", "type: TYPE_BOOL", false},
    {"type_3_without_a_member_is_an_empty_string", "type: TYPE_STRING", u""_s},
    {"type_4_without_a_member_is_0", "type: TYPE_LONG", 0LL},
    {"type_5_without_a_member_is_0", "type: TYPE_DOUBLE", 0.0},
    {"type_6_without_a_member_is_invalid", "type: TYPE_JSON", {}},
    {"type_7_without_a_member_is_the_epoch", "type: TYPE_TIMESTAMP", in_utc(0)},
};

class FromProtobuf : public TableTest<MessageCase> {};

TEST_P(FromProtobuf, is_converted)
{
    expect_exactly(from_protobuf(GetParam().textproto), GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(Types, FromProtobuf, rows(protobuf_cases), by_name);

struct JsonCase {
    char const *name;
    std::string json;
    QVariant value;
};

JsonCase const json_texts[] = {
    {"object", R"({"b":2,"a":"x"})", QVariantMap{{u"a"_s, u"x"_s}, {u"b"_s, 2LL}}},
    {"object_empty", "{}", QVariantMap()},
    {"array", R"([3,1,"x"])", QVariantList{3LL, 1LL, u"x"_s}},
    {"array_empty", "[]", QVariantList()},
    {"every_kind_inside", R"([true,null,1,1.5,"s",[1],{"k":false}])",
     QVariantList{true, QVariant::fromValue(nullptr), 1LL, 1.5, u"s"_s, QVariant(QVariantList{1LL}),
                  QVariantMap{{u"k"_s, false}}}},
    {"integer_beyond_a_double", "[9007199254740993]", QVariantList{9007199254740993LL}},
    {"integer_beyond_long_long", "[18446744073709551615]", QVariantList{18446744073709551616.0}},
    {"escaped_nul", R"(["a\u0000b"])", QVariantList{u"a\0b"_s}},
    {"white_space_around", " \n[1]\t", QVariantList{1LL}},
    {"bare_number", "5", {}},
    {"bare_string", R"("text")", {}},
    {"bare_true", "true", {}},
    {"bare_null", "null", {}},
    {"empty", "", {}},
    {"broken", R"({"a":)", {}},
    {"text_after_it", "[1]x", {}},
    {"nul_after_it", std::string("[1]\0", 4), {}},
    {"not_utf8", "[\"\xff\"]", {}},
};

class FromJson : public TableTest<JsonCase> {};

TEST_P(FromJson, is_converted)
{
    RpcZVal rpc;
    rpc.set_json_value(GetParam().json);
    expect_exactly(qvariant_from_protobuf_zval(rpc), GetParam().value);

    ProtobufZVal protobuf;
    protobuf.set_type(ProtobufZVal::TYPE_JSON);
    protobuf.set_json_value(GetParam().json);
    expect_exactly(qvariant_from_protobuf_zval(protobuf), GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(Texts, FromJson, rows(json_texts), by_name);

struct TimeCase {
    char const *name;
    std::string textproto;
    QVariant value;
};

TimeCase const times[] = {
    {"nanoseconds_below_a_millisecond_are_dropped", "nanos: 999999", in_utc(0)},
    {"one_millisecond", "nanos: 1000000", in_utc(1)},
    {"almost_two_milliseconds_are_one", "nanos: 1999999", in_utc(1)},
    {"negative_nanoseconds_below_a_millisecond_are_dropped", "nanos: -999999", in_utc(0)},
    {"negative_nanoseconds_round_towards_zero", "seconds: 1 nanos: -1999999", in_utc(999)},
    {"half_a_second_before_1970", "seconds: -1 nanos: 500000000", in_utc(-500)},
    {"nanoseconds_beyond_a_second_count", "seconds: 1 nanos: 2147483647", in_utc(3147)},
    {"negative_nanoseconds_beyond_a_second_count", "nanos: -2147483648", in_utc(-2147)},
    {"end_of_the_year_9999", "seconds: 253402300799 nanos: 999000000", in_utc(253402300799999)},
    {"out_of_the_range_of_a_date", "seconds: 9223372036854775807 nanos: 5",
     QDateTime::fromSecsSinceEpoch(std::numeric_limits<qint64>::max(), QTimeZone::utc())},
};

class FromTime : public TableTest<TimeCase> {};

TEST_P(FromTime, is_converted)
{
    expect_exactly(from_rpc("timestamp_value { " + GetParam().textproto + " }"), GetParam().value);
    expect_exactly(from_protobuf("type: TYPE_TIMESTAMP timestamp_value { " + GetParam().textproto + " }"),
                   GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(Times, FromTime, rows(times), by_name);

TEST(FromMessage, a_time_is_in_utc)
{
    for (auto const &value : {from_rpc("timestamp_value { seconds: 5 }"),
                              from_protobuf("type: TYPE_TIMESTAMP timestamp_value { seconds: 5 }"),
                              from_protobuf("type: TYPE_TIMESTAMP")}) {
        ASSERT_EQ(value.typeId(), QMetaType::QDateTime);
        EXPECT_EQ(value.toDateTime().timeZone(), QTimeZone::utc());
        EXPECT_EQ(value.toDateTime().offsetFromUtc(), 0);
    }
}

TEST(FromMessage, converts_a_time_out_of_range_to_an_invalid_date)
{
    auto const value = from_rpc("timestamp_value { seconds: 9223372036854775807 nanos: 5000000 }");
    ASSERT_EQ(value.typeId(), QMetaType::QDateTime);
    EXPECT_FALSE(value.toDateTime().isValid());
}

TEST(FromMessage, nan_and_infinity_are_doubles)
{
    auto const rpc = from_rpc("double_value: nan");
    auto const protobuf = from_protobuf("type: TYPE_DOUBLE double_value: -inf");
    EXPECT_EQ(rpc.typeId(), QMetaType::Double);
    EXPECT_TRUE(std::isnan(rpc.toDouble()));
    EXPECT_EQ(protobuf.typeId(), QMetaType::Double);
    EXPECT_EQ(protobuf.toDouble(), -HUGE_VAL);
}

TEST(FromMessage, an_unknown_member_of_rpc_is_invalid)
{
    RpcZVal message;
    ASSERT_TRUE(message.ParseFromString("\x10\x01\xf8\x7f\x05"));
    EXPECT_TRUE(qvariant_from_protobuf_zval(message).toBool()) << "a field beside the value changes nothing";
    ASSERT_TRUE(message.ParseFromString("\xf8\x7f\x05"));
    EXPECT_FALSE(qvariant_from_protobuf_zval(message).isValid());
}

TEST(FromMessage, converts_arrays_objects_and_resources_of_rpc_to_invalid_values)
{
    EXPECT_FALSE(from_rpc("array_value { elements { string_key: 'k' value { long_value: 1 } } }").isValid());
    EXPECT_FALSE(from_rpc("object_value { class_name: 'A' }").isValid());
    EXPECT_FALSE(from_rpc("resource_value { type_name: 'stream' }").isValid());
}

TEST(FromMessage, null_is_invalid_and_not_the_null_of_a_type)
{
    auto const value = from_rpc("null_value: NULL_VALUE");
    EXPECT_FALSE(value.isValid());
    EXPECT_FALSE(value.metaType().isValid());
}

TEST(FromMessage, json_without_a_member_is_invalid_since_empty_text_is_no_document)
{
    EXPECT_FALSE(from_protobuf("type: TYPE_JSON").isValid());
}

TEST(FromMessage, a_time_without_a_member_is_a_valid_epoch)
{
    auto const value = from_protobuf("type: TYPE_TIMESTAMP");
    ASSERT_EQ(value.typeId(), QMetaType::QDateTime);
    EXPECT_TRUE(value.toDateTime().isValid());
    EXPECT_EQ(value.toDateTime().toMSecsSinceEpoch(), 0);
}

TEST(FromMessage, a_string_without_a_member_is_empty_and_a_bool_is_false)
{
    auto const string = from_protobuf("type: TYPE_STRING");
    ASSERT_EQ(string.typeId(), QMetaType::QString);
    EXPECT_EQ(string.toString(), u""_s);
    EXPECT_FALSE(string.toString().isNull());

    auto const boolean = from_protobuf("type: TYPE_BOOL");
    ASSERT_EQ(boolean.typeId(), QMetaType::Bool);
    EXPECT_FALSE(boolean.toBool());
}

TEST(FromMessage, nanos_1999999_add_one_millisecond)
{
    EXPECT_EQ(from_rpc("timestamp_value { seconds: 5 nanos: 1999999 }").toDateTime().toMSecsSinceEpoch(), 5001);
}

TEST(FromMessage, json_of_a_bare_number_or_string_is_invalid)
{
    EXPECT_FALSE(from_rpc("json_value: '5'").isValid());
    EXPECT_FALSE(from_rpc("json_value: '\"text\"'").isValid());
    EXPECT_FALSE(from_protobuf("type: TYPE_JSON json_value: '5'").isValid());
    EXPECT_FALSE(from_protobuf("type: TYPE_JSON json_value: '\"text\"'").isValid());
}

struct RoundTripCase {
    char const *name;
    QVariant start;
    QVariant rpc_end;
    QVariant protobuf_end;
};

constexpr auto long_max = std::numeric_limits<qlonglong>::max();

RoundTripCase const both_ways[] = {
    {"bool", true, true, true},
    {"int", -5, -5LL, -5LL},
    {"unsigned_int", 4294967295U, 4294967295LL, 4294967295LL},
    {"long_long", long_max, long_max, long_max},
    {"unsigned_long_long", 9223372036854775807ULL, long_max, long_max},
    {"unsigned_long_long_beyond_long_long", 9223372036854775808ULL, std::numeric_limits<qlonglong>::min(),
     std::numeric_limits<qlonglong>::min()},
    {"double", 0.1, 0.1, 0.1},
    {"double_without_a_fraction", 2.0, 2.0, 2.0},
    {"string", u"é€🐘"_s, u"é€🐘"_s, u"é€🐘"_s},
    {"string_with_a_nul", u"a\0b"_s, u"a\0b"_s, u"a"_s},
    {"string_empty", u""_s, u""_s, u""_s},
    {"map", QVariantMap{{u"k"_s, 1}, {u"l"_s, QVariantMap{{u"m"_s, QVariantList{true, u"x"_s}}}}},
     QVariantMap{{u"k"_s, 1LL}, {u"l"_s, QVariantMap{{u"m"_s, QVariantList{true, u"x"_s}}}}},
     QVariantMap{{u"k"_s, 1LL}, {u"l"_s, QVariantMap{{u"m"_s, QVariantList{true, u"x"_s}}}}}},
    {"map_empty", QVariantMap(), QVariantMap(), QVariantMap()},
    {"list_has_the_types_of_json", QVariantList{1, 2.0, 0.5, QVariant(), QDate(2024, 1, 2)},
     QVariantList{1LL, 2LL, 0.5, QVariant::fromValue(nullptr), u"2024-01-02"_s},
     QVariantList{1LL, 2LL, 0.5, QVariant::fromValue(nullptr), u"2024-01-02"_s}},
    {"list_empty", QVariantList(), QVariantList(), QVariantList()},
    {"date_and_time_in_utc", in_utc(1704164645678), in_utc(1704164645678), in_utc(1704164645678)},
    {"date_and_time_of_another_zone",
     QDateTime(QDate(2024, 1, 2), QTime(8, 49, 5, 678), QTimeZone::fromSecondsAheadOfUtc(20700)), in_utc(1704164645678),
     in_utc(1704164645678)},
    {"whole_second_before_1970", in_utc(-1000), in_utc(-1000), in_utc(-1000)},
    {"half_a_second_before_1970_returns_half_a_second_after_it", in_utc(-500), in_utc(500), in_utc(500)},
    {"no_date_returns_a_millisecond_before_1970", QDateTime(), in_utc(-1), in_utc(-1)},
    {"float", 1.5F, {}, {}},
    {"string_list", QStringList{u"x"_s}, {}, {}},
    {"bytes", QByteArray("x"), {}, {}},
    {"date", QDate(2024, 1, 2), {}, {}},
    {"null_pointer", QVariant::fromValue(nullptr), {}, {}},
    {"invalid", {}, {}, {}},
};

template <class Message>
QVariant there_and_back(QVariant const &value)
{
    Message message;
    to_protobuf_zval(message, value);
    return qvariant_from_protobuf_zval(message);
}

class VariantBothWays : public TableTest<RoundTripCase> {};

TEST_P(VariantBothWays, rpc)
{
    expect_exactly(there_and_back<RpcZVal>(GetParam().start), GetParam().rpc_end);
}

TEST_P(VariantBothWays, protobuf)
{
    expect_exactly(there_and_back<ProtobufZVal>(GetParam().start), GetParam().protobuf_end);
}

INSTANTIATE_TEST_SUITE_P(Table, VariantBothWays, rows(both_ways), by_name);

} // namespace
} // namespace PelorinPHPX::tarnwick_utils_from_message_test
