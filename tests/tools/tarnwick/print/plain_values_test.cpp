#include "print/plain_values.h"

#include "support/rpc_values.h"
#include "support/table.h"

#include <tarnwick/data/php/make_values.h>
#include <tarnwick/data/walk.h>

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace tarnwick::program::plain_values_test {
namespace {

using namespace data::php;

std::string plain(ZVal const &value, bool string_ids = false)
{
    JsonWriter writer(JsonStyle{.string_ids = string_ids, .plain_values = true});
    data::walk(writer, value);
    return std::string(writer.line());
}

struct Case {
    char const *name;
    char const *textproto;
    char const *json;
};

class PlainValues : public test::TableTest<Case> {};

TEST_P(PlainValues, resemble_the_value)
{
    EXPECT_EQ(plain(test::value_from_text(GetParam().textproto)), GetParam().json);
}

Case const cases[] = {
    {"undefined", "", "null"},
    {"null", "null_value: NULL_VALUE", "null"},
    {"bool_", "bool_value: true", "true"},
    {"long_", "long_value: -9223372036854775808", "-9223372036854775808"},
    {"double_", "double_value: 0.5", "0.5"},
    {"nan", "double_value: nan", R"({"$double":"NaN"})"},
    {"infinity", "double_value: -inf", R"({"$double":"-Infinity"})"},
    {"string", "string_value: '$a'", R"("$a")"},
    {"string_not_utf8", "string_value: '\\377'", R"({"$base64":"/w=="})"},
    {"json", "json_value: '{\"a\": 1}'", R"({"$json":"{\"a\": 1}"})"},
    {"json_not_utf8", "json_value: '\\377'", R"({"$json":{"$base64":"/w=="}})"},
    {"timestamp", "timestamp_value { seconds: 8 nanos: -9 }", R"({"$timestamp":{"seconds":8,"nanos":-9}})"},
    {"object", "object_value { class_name: 'C' properties { elements { string_key: 'p' value { long_value: 1 } } } }",
     R"({"$object":"C","properties":{"p":1},"value":null})"},
    {"object_with_value", "object_value { value { string_value: 'v' } }",
     R"({"$object":"","properties":[],"value":"v"})"},
    {"resource", "resource_value { type_name: 'stream' value { long_value: 2 } }",
     R"({"$resource":"stream","value":2})"},
    {"empty_array", "array_value { }", "[]"},
    {"keys_from_0",
     "array_value { elements { long_key: 0 value { long_value: 5 } } elements { long_key: 1 value { bool_value: false "
     "} } }",
     "[5,false]"},
    {"keys_from_1", "array_value { elements { long_key: 1 value { long_value: 5 } } }", R"({"$entries":[[1,5]]})"},
    {"keys_out_of_order",
     "array_value { elements { long_key: 1 value { long_value: 5 } } elements { long_key: 0 value { long_value: 6 } } "
     "}",
     R"({"$entries":[[1,5],[0,6]]})"},
    {"same_index",
     "array_value { elements { long_key: 0 value { long_value: 5 } } elements { long_key: 0 value { long_value: 6 } } "
     "}",
     R"({"$entries":[[0,5],[0,6]]})"},
    {"names",
     "array_value { elements { string_key: 'b\"' value { long_value: 5 } } elements { string_key: '' value { } } "
     "elements { string_key: '0' value { long_value: 7 } } }",
     R"({"b\"":5,"":null,"0":7})"},
    {"repeated_name",
     "array_value { elements { string_key: 'a' value { long_value: 5 } } elements { string_key: 'b' value { } } "
     "elements { string_key: 'a' value { long_value: 6 } } }",
     R"({"$entries":[["a",5],["b",null],["a",6]]})"},
    {"names_and_indices",
     "array_value { elements { long_key: 0 value { long_value: 5 } } elements { string_key: 'a' value { long_value: 6 "
     "} } }",
     R"({"$entries":[[0,5],["a",6]]})"},
    {"name_not_utf8", "array_value { elements { string_key: '\\377' value { long_value: 5 } } }",
     R"({"$entries":[[{"$base64":"/w=="},5]]})"},
    {"name_like_a_mark", "array_value { elements { string_key: '$long' value { string_value: '5' } } }",
     R"({"$entries":[["$long","5"]]})"},
    {"no_key", "array_value { elements { value { long_value: 5 } } }", R"({"$entries":[[null,5]]})"},
    {"nested_arrays",
     "array_value { elements { string_key: 'a' value { array_value { elements { long_key: 0 value { array_value { } } "
     "} } } } }",
     R"({"a":[[]]})"},
};
INSTANTIATE_TEST_SUITE_P(Of, PlainValues, test::rows(cases), test::by_name);

TEST(PlainValuesWithStringIds, mark_inexact_longs)
{
    EXPECT_EQ(plain(php_long(9007199254740991), true), "9007199254740991");
    EXPECT_EQ(plain(php_long(-9007199254740991), true), "-9007199254740991");
    EXPECT_EQ(plain(php_long(9007199254740992), true), R"({"$long":"9007199254740992"})");
    EXPECT_EQ(plain(php_long(std::numeric_limits<std::int64_t>::min()), true), R"({"$long":"-9223372036854775808"})");
}

TEST(PlainValuesWithoutNul, have_base64_instead)
{
    auto const array =
        test::value_from_text(R"(array_value { elements { string_key: "a\000" value { string_value: "b\000" } } })");
    EXPECT_EQ(plain(array), R"({"a\u0000":"b\u0000"})");
    JsonWriter writer(JsonStyle{.plain_values = true, .base64_nul = true});
    data::walk(writer, array);
    EXPECT_EQ(writer.line(), R"({"$entries":[[{"$base64":"YQA="},{"$base64":"YgA="}]]})");
}

TEST(PlainValuesOfRecords, apply_to_each_array_and_value)
{
    Function const call(test::from_text<rpc::php::v1::Function>(R"pb(
        name: "f"
        arguments { elements { long_key: 0 value { string_value: "a" } } }
        call_value { long_value: 1 })pb"));
    JsonWriter writer(JsonStyle{.plain_values = true});
    data::walk(writer, call);
    EXPECT_EQ(writer.line(), R"({"name":"f","args":["a"],"call_value":1,"location":null,"frame_number":0})");
}

} // namespace
} // namespace tarnwick::program::plain_values_test
