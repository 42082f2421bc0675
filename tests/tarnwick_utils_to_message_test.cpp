#include <tarnwick/tarnwick_utils.h>

#include <tarnwick/data/php/zval.h>

#include "support/table.h"
#include "support/textproto.h"
#include "support/wire.h"

#include <pelorin/protobuf/PelorinPHP/zval.pb.h>
#include <tarnwick/rpc/php/v1/zval.pb.h>

#include <google/protobuf/arena.h>

#include <gtest/gtest.h>

#include <QtCore/QBitArray>
#include <QtCore/QDateTime>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QMetaType>
#include <QtCore/QTimeZone>
#include <QtCore/QUrl>
#include <QtCore/QUuid>

#include <cmath>
#include <cstdint>
#include <limits>
#include <map>
#include <string>
#include <utility>

namespace PelorinPHPX::tarnwick_utils_to_message_test {
namespace {

using ProtobufZVal = pelorin::protobuf::PelorinPHP::ZVal;
using RpcZVal = tarnwick::rpc::php::v1::ZVal;
using tarnwick::test::by_name;
using tarnwick::test::from_text;
using tarnwick::test::rows;
using tarnwick::test::TableTest;
using tarnwick::test::text_of;
using namespace Qt::StringLiterals;

/// The message that a value is written to, which is empty or `before` at first.
template <class Message, class Value>
std::string filled(Value const &value, std::string const &before = {})
{
    auto message = from_text<Message>(before);
    to_protobuf_zval(message, value);
    return text_of(message);
}

template <class Message>
std::string same_as(std::string const &textproto)
{
    return text_of(from_text<Message>(textproto));
}

struct ValueCase {
    char const *name;
    QVariant value;
    std::string rpc;
    std::string protobuf;
};

constexpr auto long_max = std::numeric_limits<qlonglong>::max();
constexpr auto long_min = std::numeric_limits<qlonglong>::min();

template <class Number>
QVariant null_of()
{
    return QVariant(QMetaType::fromType<Number>());
}

ValueCase const in_the_table[] = {
    {"bool_true", true, "bool_value: true", "type: TYPE_BOOL bool_value: true"},
    {"bool_false", false, "bool_value: false", "type: TYPE_BOOL bool_value: false"},
    {"null_of_type_bool", null_of<bool>(), "bool_value: false", "type: TYPE_BOOL bool_value: false"},
    {"int_max", 2147483647, "long_value: 2147483647", "type: TYPE_LONG long_value: 2147483647"},
    {"int_min", std::numeric_limits<int>::min(), "long_value: -2147483648", "type: TYPE_LONG long_value: -2147483648"},
    {"int_zero", 0, "long_value: 0", "type: TYPE_LONG long_value: 0"},
    {"null_of_type_int", null_of<int>(), "long_value: 0", "type: TYPE_LONG long_value: 0"},
    {"uint_max", 4294967295U, "long_value: 4294967295", "type: TYPE_LONG long_value: 4294967295"},
    {"long_long_max", long_max, "long_value: 9223372036854775807", "type: TYPE_LONG long_value: 9223372036854775807"},
    {"long_long_min", long_min, "long_value: -9223372036854775808", "type: TYPE_LONG long_value: -9223372036854775808"},
    {"unsigned_long_long", 5ULL, "long_value: 5", "type: TYPE_LONG long_value: 5"},
    {"unsigned_long_long_beyond_long_long", 18446744073709551615ULL, "long_value: -1",
     "type: TYPE_LONG long_value: -1"},
    {"double_fraction", 0.1, "double_value: 0.1", "type: TYPE_DOUBLE double_value: 0.1"},
    {"double_zero", 0.0, "double_value: 0", "type: TYPE_DOUBLE double_value: 0"},
    {"double_negative_zero", -0.0, "double_value: -0.0", "type: TYPE_DOUBLE double_value: -0.0"},
    {"double_smallest", 5e-324, "double_value: 5e-324", "type: TYPE_DOUBLE double_value: 5e-324"},
    {"double_infinity", HUGE_VAL, "double_value: inf", "type: TYPE_DOUBLE double_value: inf"},
    {"double_nan", std::nan(""), "double_value: nan", "type: TYPE_DOUBLE double_value: nan"},
    {"string", u"text"_s, "string_value: 'text'", "type: TYPE_STRING string_value: 'text'"},
    {"string_becomes_utf8", u"é€🐘"_s, R"(string_value: '\303\251\342\202\254\360\237\220\230')",
     R"(type: TYPE_STRING string_value: '\303\251\342\202\254\360\237\220\230')"},
    {"string_empty", u""_s, "string_value: ''", "type: TYPE_STRING string_value: ''"},
    {"string_null", QString(), "string_value: ''", "type: TYPE_STRING string_value: ''"},
    {"string_with_a_nul_is_whole_or_cut", u"a\0b\0"_s, R"(string_value: 'a\000b\000')",
     "type: TYPE_STRING string_value: 'a'"},
    {"string_of_a_nul_is_whole_or_empty", u"\0"_s, R"(string_value: '\000')", "type: TYPE_STRING string_value: ''"},
    {"map", QVariantMap{{u"b"_s, 1}, {u"a"_s, u"é"_s}}, R"(json_value: '{"a":"é","b":1}')",
     R"(type: TYPE_JSON json_value: '{"a":"é","b":1}')"},
    {"map_empty", QVariantMap(), "json_value: '{}'", "type: TYPE_JSON json_value: '{}'"},
    {"list", QVariantList{2, true, 1.5, QVariant(), u"x"_s}, R"(json_value: '[2,true,1.5,null,"x"]')",
     R"(type: TYPE_JSON json_value: '[2,true,1.5,null,"x"]')"},
    {"list_empty", QVariantList(), "json_value: '[]'", "type: TYPE_JSON json_value: '[]'"},
    {"date_and_time", QDateTime(QDate(2024, 1, 2), QTime(3, 4, 5, 678), QTimeZone::utc()),
     "timestamp_value { seconds: 1704164645 nanos: 678000000 }",
     "type: TYPE_TIMESTAMP timestamp_value { seconds: 1704164645 nanos: 678000000 }"},
};

struct OwnType {
    int number;
};

#define LOST "null_value: NULL_VALUE", "type: TYPE_NONE"

ValueCase const outside_the_table[] = {
    {"float", 1.5F, LOST},
    {"char16", QChar(u'x'), LOST},
    {"string_list", QStringList{u"x"_s}, LOST},
    {"byte_array", QByteArray("x"), LOST},
    {"bit_array", QBitArray(3, true), LOST},
    {"date", QDate(2024, 1, 2), LOST},
    {"time", QTime(3, 4), LOST},
    {"url", QUrl(u"http://localhost/"_s), LOST},
    {"uuid", QUuid(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11), LOST},
    {"hash", QVariantHash{{u"a"_s, 1}}, LOST},
    {"long", QVariant::fromValue(5L), LOST},
    {"unsigned_long", QVariant::fromValue(5UL), LOST},
    {"short", QVariant::fromValue(short{5}), LOST},
    {"unsigned_short", QVariant::fromValue<unsigned short>(5), LOST},
    {"char", QVariant::fromValue('c'), LOST},
    {"signed_char", QVariant::fromValue<signed char>('c'), LOST},
    {"unsigned_char", QVariant::fromValue<unsigned char>('c'), LOST},
    {"json_value", QJsonValue(5), LOST},
    {"json_object", QJsonObject{{u"a"_s, 1}}, LOST},
    {"json_array", QJsonArray{1}, LOST},
    {"json_document", QJsonDocument(QJsonArray{1}), LOST},
    {"null_pointer", QVariant::fromValue(nullptr), LOST},
    {"type_of_a_program", QVariant::fromValue(OwnType{5}), LOST},
    {"no_type", QVariant(), LOST},
};

class ToMessage : public TableTest<ValueCase> {};

TEST_P(ToMessage, rpc)
{
    EXPECT_EQ(filled<RpcZVal>(GetParam().value), same_as<RpcZVal>(GetParam().rpc));
}

TEST_P(ToMessage, protobuf)
{
    EXPECT_EQ(filled<ProtobufZVal>(GetParam().value), same_as<ProtobufZVal>(GetParam().protobuf));
}

INSTANTIATE_TEST_SUITE_P(InTheTable, ToMessage, rows(in_the_table), by_name);
INSTANTIATE_TEST_SUITE_P(OutsideTheTable, ToMessage, rows(outside_the_table), by_name);

TEST(ToMessage, converts_exactly_ten_metatypes_of_qt_core)
{
    struct Member {
        RpcZVal::ValueCase rpc = RpcZVal::kNullValue;
        ProtobufZVal::Type type = ProtobufZVal::TYPE_NONE;
        ProtobufZVal::ValueCase protobuf = ProtobufZVal::VALUE_NOT_SET;
    };
    Member const long_member{RpcZVal::kLongValue, ProtobufZVal::TYPE_LONG, ProtobufZVal::kLongValue};
    Member const json_member{RpcZVal::kJsonValue, ProtobufZVal::TYPE_JSON, ProtobufZVal::kJsonValue};
    std::map<int, Member> expected{
        {1, {RpcZVal::kBoolValue, ProtobufZVal::TYPE_BOOL, ProtobufZVal::kBoolValue}},
        {2, long_member},
        {3, long_member},
        {4, long_member},
        {5, long_member},
        {6, {RpcZVal::kDoubleValue, ProtobufZVal::TYPE_DOUBLE, ProtobufZVal::kDoubleValue}},
        {8, json_member},
        {9, json_member},
        {10, {RpcZVal::kStringValue, ProtobufZVal::TYPE_STRING, ProtobufZVal::kStringValue}},
        {16, {RpcZVal::kTimestampValue, ProtobufZVal::TYPE_TIMESTAMP, ProtobufZVal::kTimestampValue}},
    };

    int made = 0;
    for (int id = 0; id <= QMetaType::HighestInternalId; ++id) {
        // A type without values, or of a library that is not linked.
        if (id != QMetaType::UnknownType && (!QMetaType::isRegistered(id) || id == QMetaType::Void))
            continue;
        SCOPED_TRACE(QMetaType(id).name());
        QVariant const value{QMetaType(id)};
        ASSERT_EQ(value.typeId(), id);
        ++made;
        auto const member = expected.contains(id) ? expected.extract(id).mapped() : Member();

        RpcZVal rpc;
        to_protobuf_zval(rpc, value);
        EXPECT_EQ(rpc.value_case(), member.rpc);

        ProtobufZVal protobuf;
        to_protobuf_zval(protobuf, value);
        EXPECT_EQ(protobuf.type(), member.type);
        EXPECT_EQ(protobuf.value_case(), member.protobuf);
    }
    EXPECT_TRUE(expected.empty());
    EXPECT_GE(made, 50) << "types of QtCore are missing";
}

struct DateCase {
    char const *name;
    QDateTime value;
    std::int64_t seconds;
    std::int32_t nanos;
};

QDateTime at(qint64 milliseconds)
{
    return QDateTime::fromMSecsSinceEpoch(milliseconds, QTimeZone::utc());
}

QTimeZone east(int hours, int minutes)
{
    return QTimeZone::fromSecondsAheadOfUtc((hours * 60 + minutes) * 60);
}

DateCase const instants[] = {
    {"epoch", at(0), 0, 0},
    {"one_millisecond", at(1), 0, 1'000'000},
    {"last_millisecond_of_a_second", at(1999), 1, 999'000'000},
    {"of_a_zone_in_the_east", QDateTime(QDate(2024, 1, 2), QTime(5, 45, 0, 250), east(5, 45)), 1704153600, 250'000'000},
    {"of_a_zone_in_the_west", QDateTime(QDate(2024, 1, 1), QTime(14, 30), east(-9, -30)), 1704153600, 0},
    {"whole_second_before_1970", at(-1000), -1, 0},
    // Qt rounds these seconds towards zero while the milliseconds count forwards.
    {"half_a_second_before_1970_lands_after_it", at(-500), 0, 500'000'000},
    {"one_and_a_half_before_1970_land_half_before_it", at(-1500), -1, 500'000'000},
    {"a_millisecond_before_1970_lands_after_it", at(-1), 0, 999'000'000},
    {"far_future", QDateTime(QDate(9999, 12, 31), QTime(23, 59, 59, 999), QTimeZone::utc()), 253402300799, 999'000'000},
    // Qt returns 0 as the seconds of an invalid date, and -1 as the millisecond of an invalid time.
    {"no_date_and_no_time", QDateTime(), 0, -1'000'000},
    {"no_such_day", QDateTime(QDate(2024, 2, 30), QTime(1, 2, 3, 4), QTimeZone::utc()), 0, 4'000'000},
};

class DateToMessage : public TableTest<DateCase> {};

TEST_P(DateToMessage, rpc)
{
    RpcZVal message;
    to_protobuf_zval(message, GetParam().value);
    ASSERT_EQ(message.value_case(), RpcZVal::kTimestampValue);
    EXPECT_EQ(message.timestamp_value().seconds(), GetParam().seconds);
    EXPECT_EQ(message.timestamp_value().nanos(), GetParam().nanos);
}

TEST_P(DateToMessage, protobuf)
{
    ProtobufZVal message;
    to_protobuf_zval(message, GetParam().value);
    ASSERT_EQ(message.type(), ProtobufZVal::TYPE_TIMESTAMP);
    ASSERT_EQ(message.value_case(), ProtobufZVal::kTimestampValue);
    EXPECT_EQ(message.timestamp_value().seconds(), GetParam().seconds);
    EXPECT_EQ(message.timestamp_value().nanos(), GetParam().nanos);
}

INSTANTIATE_TEST_SUITE_P(Instants, DateToMessage, rows(instants), by_name);

TEST(ToMessage, converts_an_invalid_value_to_null_value_or_type_0_and_never_type_null)
{
    EXPECT_EQ(filled<RpcZVal>(QVariant()), same_as<RpcZVal>("null_value: NULL_VALUE"));

    ProtobufZVal message;
    message.set_type(ProtobufZVal::TYPE_NULL);
    to_protobuf_zval(message, QVariant());
    EXPECT_EQ(message.type(), ProtobufZVal::TYPE_NONE);
    EXPECT_EQ(message.value_case(), ProtobufZVal::VALUE_NOT_SET);
}

TEST(ToMessage, does_not_convert_a_float_to_a_double)
{
    EXPECT_EQ(filled<RpcZVal>(QVariant(1.5F)), same_as<RpcZVal>("null_value: NULL_VALUE"));
    EXPECT_EQ(filled<ProtobufZVal>(QVariant(1.5F)), same_as<ProtobufZVal>("type: TYPE_NONE"));
}

TEST(ToMessage, does_not_convert_a_string_list_to_json)
{
    QVariant const value(QStringList{u"a"_s, u"b"_s});
    EXPECT_EQ(filled<RpcZVal>(value), same_as<RpcZVal>("null_value: NULL_VALUE"));
    EXPECT_EQ(filled<ProtobufZVal>(value), same_as<ProtobufZVal>("type: TYPE_NONE"));
}

TEST(ToMessage, a_value_that_cannot_be_converted_removes_an_old_member_in_rpc_and_hides_it_in_protobuf)
{
    EXPECT_EQ(filled<RpcZVal>(QVariant(1.5F), "long_value: 5"), same_as<RpcZVal>("null_value: NULL_VALUE"));

    auto protobuf = from_text<ProtobufZVal>("type: TYPE_LONG long_value: 5");
    to_protobuf_zval(protobuf, QVariant(1.5F));
    EXPECT_EQ(text_of(protobuf), same_as<ProtobufZVal>("type: TYPE_NONE long_value: 5"));
    EXPECT_FALSE(qvariant_from_protobuf_zval(protobuf).isValid());
    EXPECT_EQ(tarnwick::data::php::detail::ZVal(protobuf).kind(), tarnwick::data::php::detail::ZVal::Kind::undefined);
}

/// The unknown field that these messages contain: field 2047.
template <class Message>
Message with_unknown_field()
{
    Message message;
    EXPECT_TRUE(message.ParseFromString("\xf8\x7f\x05"));
    return message;
}

template <class Message, class Value>
bool keeps_unknown_field(Value const &value)
{
    auto message = with_unknown_field<Message>();
    to_protobuf_zval(message, value);
    return !message.GetReflection()->GetUnknownFields(message).empty();
}

TEST(ToMessage, clears_only_a_message_of_the_rpc_dialect)
{
    EXPECT_FALSE(keeps_unknown_field<RpcZVal>(QVariant(true)));
    EXPECT_FALSE(keeps_unknown_field<RpcZVal>(QVariant(1.5F)));
    EXPECT_FALSE(keeps_unknown_field<RpcZVal>(QVariantList()));
    EXPECT_FALSE(keeps_unknown_field<RpcZVal>(QVariantMap()));

    EXPECT_TRUE(keeps_unknown_field<ProtobufZVal>(QVariant(true)));
    EXPECT_TRUE(keeps_unknown_field<ProtobufZVal>(QVariant(1.5F)));
    EXPECT_TRUE(keeps_unknown_field<ProtobufZVal>(QVariantList()));
    EXPECT_TRUE(keeps_unknown_field<ProtobufZVal>(QVariantMap()));
}

TEST(ToMessage, replaces_an_old_member)
{
    char const *const rpc = "array_value { elements { long_key: 1 } }";
    char const *const protobuf = "type: TYPE_LONG long_value: 5";
    for (auto const &row : in_the_table) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(filled<RpcZVal>(row.value, rpc), same_as<RpcZVal>(row.rpc));
        EXPECT_EQ(filled<ProtobufZVal>(row.value, protobuf), same_as<ProtobufZVal>(row.protobuf));
    }
    EXPECT_EQ(filled<RpcZVal>(QVariantList{1}, rpc), same_as<RpcZVal>("json_value: '[1]'"));
    EXPECT_EQ(filled<RpcZVal>(QVariantMap(), rpc), same_as<RpcZVal>("json_value: '{}'"));
    EXPECT_EQ(filled<ProtobufZVal>(QVariantList{1}, protobuf),
              same_as<ProtobufZVal>("type: TYPE_JSON json_value: '[1]'"));
    EXPECT_EQ(filled<ProtobufZVal>(QVariantMap(), protobuf), same_as<ProtobufZVal>("type: TYPE_JSON json_value: '{}'"));
}

TEST(ToMessage, replaces_both_parts_of_an_old_time)
{
    EXPECT_EQ(filled<RpcZVal>(QVariant(at(0)), "timestamp_value { seconds: 5 nanos: 7 }"),
              same_as<RpcZVal>("timestamp_value { }"));
    EXPECT_EQ(filled<ProtobufZVal>(QVariant(at(0)), "type: TYPE_TIMESTAMP timestamp_value { seconds: 5 nanos: 7 }"),
              same_as<ProtobufZVal>("type: TYPE_TIMESTAMP timestamp_value { }"));
}

template <class Message>
class ToMessageOnArena : public testing::Test {};

using Dialects = testing::Types<RpcZVal, ProtobufZVal>;
TYPED_TEST_SUITE(ToMessageOnArena, Dialects);

TYPED_TEST(ToMessageOnArena, puts_a_time_on_the_arena_of_the_message)
{
    google::protobuf::Arena arena;
    auto &message = *google::protobuf::Arena::Create<TypeParam>(&arena);
    to_protobuf_zval(message, QVariant(at(5001)));

    EXPECT_EQ(message.timestamp_value().GetArena(), &arena);
    EXPECT_EQ(message.timestamp_value().seconds(), 5);
    EXPECT_EQ(message.timestamp_value().nanos(), 1'000'000);
}

TYPED_TEST(ToMessageOnArena, writes_every_value)
{
    google::protobuf::Arena arena;
    auto &message = *google::protobuf::Arena::Create<TypeParam>(&arena);
    for (auto const &row : in_the_table) {
        SCOPED_TRACE(row.name);
        to_protobuf_zval(message, row.value);
        EXPECT_EQ(text_of(message), filled<TypeParam>(row.value));
    }
}

TYPED_TEST(ToMessageOnArena, writes_lists_and_maps)
{
    google::protobuf::Arena arena;
    auto &message = *google::protobuf::Arena::Create<TypeParam>(&arena);
    QVariantList const list{1, u"a text with a block of its own on the heap"_s, QVariantList{QVariant(true)}};
    QVariantMap const map{{u"list"_s, list}, {u"none"_s, QVariant()}};

    // Each value replaces the previous one, which can be a time on the arena.
    to_protobuf_zval(message, QVariant(at(5001)));
    to_protobuf_zval(message, list);
    EXPECT_EQ(message.json_value(), R"([1,"a text with a block of its own on the heap",[true]])");
    EXPECT_EQ(text_of(message), filled<TypeParam>(list));
    to_protobuf_zval(message, map);
    EXPECT_EQ(message.json_value(), R"({"list":[1,"a text with a block of its own on the heap",[true]],"none":null})");
    EXPECT_EQ(text_of(message), filled<TypeParam>(map));
    to_protobuf_zval(message, QVariantList());
    EXPECT_EQ(message.json_value(), "[]");
    EXPECT_EQ(message.GetArena(), &arena);
}

TYPED_TEST(ToMessageOnArena, puts_a_time_of_a_heap_message_on_the_heap)
{
    TypeParam message;
    to_protobuf_zval(message, QVariant(at(5001)));
    EXPECT_EQ(message.timestamp_value().GetArena(), nullptr);
}

} // namespace
} // namespace PelorinPHPX::tarnwick_utils_to_message_test

#undef LOST
