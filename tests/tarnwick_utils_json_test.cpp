// Conversion of lists and maps of values to JSON, by themselves and inside a variant.

#include <tarnwick/tarnwick_utils.h>

#include "support/table.h"

#include <pelorin/protobuf/PelorinPHP/zval.pb.h>
#include <tarnwick/rpc/php/v1/zval.pb.h>

#include <gtest/gtest.h>

#include <QtCore/QDateTime>
#include <QtCore/QTimeZone>
#include <QtCore/QUrl>

#include <cmath>
#include <string>

namespace PelorinPHPX::tarnwick_utils_json_test {
namespace {

using ProtobufZVal = pelorin::protobuf::PelorinPHP::ZVal;
using RpcZVal = tarnwick::rpc::php::v1::ZVal;
using tarnwick::test::by_name;
using tarnwick::test::rows;
using tarnwick::test::TableTest;
using namespace Qt::StringLiterals;

template <class Value>
std::string rpc_json(Value const &value)
{
    RpcZVal message;
    to_protobuf_zval(message, value);
    EXPECT_EQ(message.value_case(), RpcZVal::kJsonValue);
    return message.json_value();
}

template <class Value>
std::string protobuf_json(Value const &value)
{
    ProtobufZVal message;
    to_protobuf_zval(message, value);
    EXPECT_EQ(message.type(), ProtobufZVal::TYPE_JSON);
    EXPECT_EQ(message.value_case(), ProtobufZVal::kJsonValue);
    return message.json_value();
}

struct ListCase {
    char const *name;
    QList<QVariant> values;
    char const *json;
};

ListCase const list_cases[] = {
    {"empty", {}, "[]"},
    {"order_stays", {3, 1, 2, 1}, "[3,1,2,1]"},
    {"scalars", {true, -5, 4294967295U, 0.5, u"é"_s, QString()}, R"([true,-5,4294967295,0.5,"é",""])"},
    {"no_value_is_null", {QVariant()}, "[null]"},
    {"numbers_without_a_json_form_are_null", {std::nan(""), HUGE_VAL}, "[null,null]"},
    {"nested", {QVariantList{1, QVariantList()}, QVariantMap{{u"k"_s, QVariantMap()}}}, R"([[1,[]],{"k":{}}])"},
    {"types_outside_the_table_by_the_rules_of_qt",
     {1.5F, QStringList{u"a"_s, u"b"_s}, QVariantHash{{u"k"_s, 1}}},
     R"([1.5,["a","b"],{"k":1}])"},
    {"a_nul_in_a_text_is_escaped_and_cuts_nothing", {u"a\0b"_s, 2}, R"(["a\u0000b",2])"},
};

class ListToJson : public TableTest<ListCase> {};

TEST_P(ListToJson, rpc)
{
    EXPECT_EQ(rpc_json(GetParam().values), GetParam().json);
}

TEST_P(ListToJson, protobuf)
{
    EXPECT_EQ(protobuf_json(GetParam().values), GetParam().json);
}

TEST_P(ListToJson, in_a_variant_the_same)
{
    EXPECT_EQ(rpc_json(QVariant(GetParam().values)), GetParam().json);
    EXPECT_EQ(protobuf_json(QVariant(GetParam().values)), GetParam().json);
}

INSTANTIATE_TEST_SUITE_P(Lists, ListToJson, rows(list_cases), by_name);

struct MapCase {
    char const *name;
    QMap<QString, QVariant> values;
    char const *json;
};

MapCase const map_cases[] = {
    {"empty", {}, "{}"},
    {"keys_ascend",
     {{u"b"_s, 1}, {u"a"_s, 2}, {u"B"_s, 3}, {u"10"_s, 4}, {u"9"_s, 5}},
     R"({"10":4,"9":5,"B":3,"a":2,"b":1})"},
    {"scalars",
     {{u"a"_s, true}, {u"b"_s, -5}, {u"c"_s, 0.5}, {u"d"_s, u"é"_s}},
     R"({"a":true,"b":-5,"c":0.5,"d":"é"})"},
    {"no_value_is_null_and_keeps_its_key", {{u"k"_s, QVariant()}}, R"({"k":null})"},
    {"empty_key", {{u""_s, 1}}, R"({"":1})"},
    {"nested", {{u"k"_s, QVariantMap{{u"l"_s, QVariantList{1, QVariantMap()}}}}}, R"({"k":{"l":[1,{}]}})"},
    {"a_nul_in_a_key_is_escaped_and_cuts_nothing", {{u"a\0b"_s, 1}, {u"c"_s, 2}}, R"({"a\u0000b":1,"c":2})"},
    {"a_nul_in_a_text_is_escaped_and_cuts_nothing", {{u"a"_s, u"\0"_s}, {u"c"_s, 2}}, R"({"a":"\u0000","c":2})"},
};

class MapToJson : public TableTest<MapCase> {};

TEST_P(MapToJson, rpc)
{
    EXPECT_EQ(rpc_json(GetParam().values), GetParam().json);
}

TEST_P(MapToJson, protobuf)
{
    EXPECT_EQ(protobuf_json(GetParam().values), GetParam().json);
}

TEST_P(MapToJson, in_a_variant_the_same)
{
    EXPECT_EQ(rpc_json(QVariant(GetParam().values)), GetParam().json);
    EXPECT_EQ(protobuf_json(QVariant(GetParam().values)), GetParam().json);
}

INSTANTIATE_TEST_SUITE_P(Maps, MapToJson, rows(map_cases), by_name);

TEST(Json, of_a_variant_map_and_of_an_equal_map_is_the_same_compact_text)
{
    QMap<QString, QVariant> const map{{u"a"_s, QVariantList{1, 2}}, {u"b"_s, u"x y"_s}};
    char const *const compact = R"({"a":[1,2],"b":"x y"})";

    EXPECT_EQ(rpc_json(map), compact);
    EXPECT_EQ(rpc_json(QVariant(map)), compact);
    EXPECT_EQ(protobuf_json(map), compact);
    EXPECT_EQ(protobuf_json(QVariant(map)), compact);
}

/// An element whose JSON differs between the conversion of the list or map around it as a whole, as in a variant, and
/// its own conversion.
struct TwoRoutes {
    char const *name;
    QVariant element;
    std::string as_a_whole;
    std::string by_itself;
};

TwoRoutes const two_routes[] = {
    {"date_and_time", QDateTime(QDate(2024, 1, 2), QTime(3, 4, 5, 678), QTimeZone::utc()),
     R"("2024-01-02T03:04:05.678+00:00")", "null"},
    {"date", QDate(2024, 1, 2), R"("2024-01-02")", "null"},
    {"bytes", QByteArray("abc"), R"("abc")", "null"},
    {"url", QUrl(u"http://localhost/"_s), R"("http://localhost/")", "null"},
    {"integer_beyond_a_double", 9007199254740993LL, "9007199254740993", "9007199254740992"},
};

class JsonByTwoRoutes : public TableTest<TwoRoutes> {};

TEST_P(JsonByTwoRoutes, in_a_variant_as_a_whole)
{
    QVariant const list(QVariantList{GetParam().element});
    QVariant const map(QVariantMap{{u"k"_s, GetParam().element}});
    auto const in_list = '[' + GetParam().as_a_whole + ']';
    auto const in_map = R"({"k":)" + GetParam().as_a_whole + '}';

    EXPECT_EQ(rpc_json(list), in_list);
    EXPECT_EQ(rpc_json(map), in_map);
    EXPECT_EQ(protobuf_json(list), in_list);
    EXPECT_EQ(protobuf_json(map), in_map);
}

TEST_P(JsonByTwoRoutes, of_a_list_or_map_each_element_by_itself)
{
    QList<QVariant> const list{GetParam().element};
    QMap<QString, QVariant> const map{{u"k"_s, GetParam().element}};
    auto const in_list = '[' + GetParam().by_itself + ']';
    auto const in_map = R"({"k":)" + GetParam().by_itself + '}';

    EXPECT_EQ(rpc_json(list), in_list);
    EXPECT_EQ(rpc_json(map), in_map);
    EXPECT_EQ(protobuf_json(list), in_list);
    EXPECT_EQ(protobuf_json(map), in_map);
}

INSTANTIATE_TEST_SUITE_P(Elements, JsonByTwoRoutes, rows(two_routes), by_name);

} // namespace
} // namespace PelorinPHPX::tarnwick_utils_json_test
