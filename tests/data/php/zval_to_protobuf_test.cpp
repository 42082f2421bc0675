#include <tarnwick/data/php/zval.h>

#include "support/php_values.h"
#include "support/table.h"
#include "support/textproto.h"
#include "support/wire.h"

#include <tarnwick/rpc/php/v1/zval.pb.h>

#include <gmock/gmock.h>

#include <cstddef>
#include <limits>
#include <string>
#include <tuple>

namespace tarnwick::data::php::zval_to_protobuf_test {
namespace {

using RpcMessage = rpc::php::v1::ZVal;
using test::from_text;
using test::notation;
using test::Target;
using test::text_of;

using Value = detail::ZVal::Value;

constexpr auto from_rpc = test::record_from_text<ZVal, RpcMessage>;

struct WritingCase {
    char const *name;
    char const *textproto;
    /// The message after writing into an empty one.
    char const *written;
    /// The message after writing into one with `bool_value: true`.
    char const *written_over_bool;
    char const *read_back;
};

#define SAME(text) text, text, text
#define NESTED                                                                                                         \
    "array_value { elements { long_key: 1 value { object_value { class_name: 'C' properties { elements { "             \
    "string_key: 'p' value { resource_value { type_name: 'r' value { json_value: '{' } } } } } } } } }"

WritingCase const writing_cases[] = {
    {"undefined", "", "", "bool_value: true", "undefined"},
    {"null", "null_value: NULL_VALUE", "", "bool_value: true", "undefined"},
    {"bool_true", SAME("bool_value: true"), "true"},
    {"bool_false", SAME("bool_value: false"), "false"},
    {"long", SAME("long_value: -9223372036854775808"), "long -9223372036854775808"},
    {"long_0", SAME("long_value: 0"), "long 0"},
    {"double", SAME("double_value: -2.5"), "double -2.5"},
    {"double_minus_0", SAME("double_value: -0"), "double -0"},
    {"double_nan", SAME("double_value: nan"), "double nan"},
    {"string", SAME("string_value: 'a\\000\\377b'"), "string 'a\\x00\\xffb'"},
    {"string_empty", SAME("string_value: ''"), "string ''"},
    {"array", SAME("array_value { elements { long_key: 1 value { bool_value: false } } }"), "[long 1 => false]"},
    {"array_empty", SAME("array_value { }"), "[]"},
    {"array_of_null", "array_value { elements { string_key: 'k' value { null_value: NULL_VALUE } } }",
     "array_value { elements { string_key: 'k' value { } } }", "array_value { elements { string_key: 'k' value { } } }",
     "[string 'k' => undefined]"},
    {"array_without_key_and_value", "array_value { elements { } }", "array_value { elements { value { } } }",
     "array_value { elements { value { } } }", "[undefined => undefined]"},
    {"object", SAME("object_value { class_name: 'C' properties { elements { value { } } } value { long_value: 7 } }"),
     "object 'C' [undefined => undefined] long 7"},
    {"object_with_empty_parts", "object_value { properties { } value { } }", "object_value { }", "object_value { }",
     "object '' [] undefined"},
    {"object_with_value_null", "object_value { value { null_value: NULL_VALUE } }", "object_value { value { } }",
     "object_value { value { } }", "object '' [] undefined"},
    {"resource", SAME("resource_value { type_name: 'r' value { long_value: 7 } }"), "resource 'r' long 7"},
    {"resource_with_an_empty_value", "resource_value { value { } }", "resource_value { }", "resource_value { }",
     "resource '' undefined"},
    {"resource_with_value_null", "resource_value { value { null_value: NULL_VALUE } }", "resource_value { value { } }",
     "resource_value { value { } }", "resource '' undefined"},
    {"json", SAME("json_value: '{\\000\\377'"), "json '{\\x00\\xff'"},
    {"json_empty", SAME("json_value: ''"), "json ''"},
    {"timestamp", SAME("timestamp_value { seconds: -5 nanos: 1999999999 }"), "time -5 s 1999999999 ns"},
    {"timestamp_0", SAME("timestamp_value { }"), "time 0 s 0 ns"},
    {"nested", SAME(NESTED), "[long 1 => object 'C' [string 'p' => resource 'r' json '{'] undefined]"},
};

class ZValWriting : public testing::TestWithParam<std::tuple<test::Named<WritingCase>, bool>> {};

TEST_P(ZValWriting, into_an_empty_message)
{
    auto const &[row, on_arena] = GetParam();
    Target<RpcMessage> message(on_arena);
    from_rpc(row.textproto)->to_protobuf(*message);
    EXPECT_EQ(text_of(*message), text_of(from_text<RpcMessage>(row.written)));
}

TEST_P(ZValWriting, into_a_message_with_another_member)
{
    auto const &[row, on_arena] = GetParam();
    Target<RpcMessage> message(on_arena);
    message->set_bool_value(true);
    from_rpc(row.textproto)->to_protobuf(*message);
    EXPECT_EQ(text_of(*message), text_of(from_text<RpcMessage>(row.written_over_bool)));
}

TEST_P(ZValWriting, and_reading_back_returns_what_the_message_can_carry)
{
    auto const &[row, on_arena] = GetParam();
    Target<RpcMessage> message(on_arena);
    from_rpc(row.textproto)->to_protobuf(*message);
    EXPECT_EQ(notation(detail::ZVal(*message)), row.read_back);
}

INSTANTIATE_TEST_SUITE_P(Kinds, ZValWriting, testing::Combine(test::rows(writing_cases), testing::Bool()),
                         [](auto const &instance) {
                             return std::string(std::get<0>(instance.param).name) +
                                    (std::get<1>(instance.param) ? "_on_an_arena" : "_on_the_heap");
                         });

TEST(ZValToProtobuf, null_leaves_a_new_message_without_a_member)
{
    RpcMessage message;
    php_null()->to_protobuf(message);
    EXPECT_EQ(message.value_case(), RpcMessage::VALUE_NOT_SET);
}

TEST(ZValToProtobuf, writes_a_string_byte_for_byte)
{
    std::string const bytes("\0a\xff\xc3(\0", 6);
    RpcMessage message;
    php_string(bytes)->to_protobuf(message);
    EXPECT_EQ(message.string_value(), bytes);
}

TEST(ZValToProtobuf, writes_a_timestamp_unchanged)
{
    RpcMessage message;
    php_timestamp({-1, -1'999'999'999})->to_protobuf(message);
    EXPECT_EQ(message.timestamp_value().seconds(), -1);
    EXPECT_EQ(message.timestamp_value().nanos(), -1'999'999'999);
}

TEST(ZValToProtobuf, undefined_and_null_leave_every_member_unchanged)
{
    for (auto const &row : writing_cases) {
        auto const before = from_text<RpcMessage>(row.written);
        auto message = before;
        php_undefined()->to_protobuf(message);
        php_null()->to_protobuf(message);
        EXPECT_EQ(text_of(message), text_of(before)) << row.name;
    }
}

TEST(ZValToProtobuf, writes_nothing_for_a_valueless_variant)
{
    auto const value = test::php_valueless();
    ASSERT_TRUE(value->value().valueless_by_exception());

    RpcMessage message;
    value->to_protobuf(message);
    EXPECT_EQ(message.value_case(), RpcMessage::VALUE_NOT_SET);

    message.set_long_value(5);
    value->to_protobuf(message);
    EXPECT_EQ(text_of(message), text_of(from_text<RpcMessage>("long_value: 5")));
}

TEST(ZValToProtobuf, every_member_replaces_every_other)
{
    for (auto const &before : writing_cases) {
        for (auto const &row : writing_cases) {
            auto message = from_text<RpcMessage>(before.written);
            auto const fresh = from_text<RpcMessage>(row.written);
            if (fresh.value_case() == RpcMessage::VALUE_NOT_SET || fresh.value_case() == message.value_case())
                continue;
            from_rpc(row.textproto)->to_protobuf(message);
            EXPECT_EQ(text_of(message), text_of(fresh)) << row.name << " over " << before.name;
        }
    }
}

TEST(ZValToProtobuf, a_scalar_is_overwritten)
{
    struct {
        char const *before, *value;
    } const cases[] = {
        {"bool_value: true", "bool_value: false"},
        {"long_value: 5", "long_value: 0"},
        {"double_value: 5", "double_value: 0"},
        {"string_value: 'before'", "string_value: ''"},
        {"json_value: 'before'", "json_value: ''"},
        {"timestamp_value { seconds: 5 nanos: 6 }", "timestamp_value { }"},
        {"timestamp_value { seconds: 5 nanos: 6 }", "timestamp_value { seconds: 7 }"},
    };
    for (auto const &row : cases) {
        auto message = from_text<RpcMessage>(row.before);
        from_rpc(row.value)->to_protobuf(message);
        EXPECT_EQ(text_of(message), text_of(from_text<RpcMessage>(row.value)));
    }
}

TEST(ZValToProtobuf, merges_into_a_present_sub_message)
{
    struct {
        char const *before, *value, *after;
    } const cases[] = {
        {"array_value { elements { long_key: 1 value { bool_value: true } } }",
         "array_value { elements { long_key: 1 value { long_value: 5 } } }",
         "array_value { elements { long_key: 1 value { bool_value: true } } elements { long_key: 1 value { "
         "long_value: 5 } } }"},
        {"object_value { class_name: 'before' properties { elements { long_key: 1 } } value { bool_value: true } }",
         "object_value { class_name: 'C' properties { elements { long_key: 2 value { } } } value { long_value: 5 } }",
         "object_value { class_name: 'C' properties { elements { long_key: 1 } elements { long_key: 2 value { } } } "
         "value { long_value: 5 } }"},
        {"object_value { class_name: 'before' properties { elements { long_key: 1 } } value { bool_value: true } }",
         "object_value { }", "object_value { properties { elements { long_key: 1 } } value { bool_value: true } }"},
        {"resource_value { type_name: 'before' value { bool_value: true } }",
         "resource_value { type_name: 'r' value { long_value: 5 } }",
         "resource_value { type_name: 'r' value { long_value: 5 } }"},
        {"resource_value { type_name: 'before' value { bool_value: true } }", "resource_value { }",
         "resource_value { value { bool_value: true } }"},
    };
    for (auto const &row : cases) {
        auto message = from_text<RpcMessage>(row.before);
        from_rpc(row.value)->to_protobuf(message);
        EXPECT_EQ(text_of(message), text_of(from_text<RpcMessage>(row.after)));
    }
}

TEST(ZValToProtobuf, reuses_a_present_sub_message)
{
    RpcMessage array;
    auto const *array_value = array.mutable_array_value();
    from_rpc("array_value { elements { } }")->to_protobuf(array);
    EXPECT_EQ(&array.array_value(), array_value);

    RpcMessage object;
    auto const *properties = object.mutable_object_value()->mutable_properties();
    auto const *object_value = object.mutable_object_value()->mutable_value();
    from_rpc("object_value { properties { elements { } } value { long_value: 5 } }")->to_protobuf(object);
    EXPECT_EQ(&object.object_value().properties(), properties);
    EXPECT_EQ(&object.object_value().value(), object_value);

    RpcMessage resource;
    auto const *resource_value = resource.mutable_resource_value()->mutable_value();
    from_rpc("resource_value { value { long_value: 5 } }")->to_protobuf(resource);
    EXPECT_EQ(&resource.resource_value().value(), resource_value);

    RpcMessage timestamp;
    auto const *timestamp_value = timestamp.mutable_timestamp_value();
    from_rpc("timestamp_value { seconds: 5 }")->to_protobuf(timestamp);
    EXPECT_EQ(&timestamp.timestamp_value(), timestamp_value);
}

TEST(ZValToProtobuf, sub_messages_live_on_the_arena_of_the_target)
{
    google::protobuf::Arena arena;
    auto &message = *google::protobuf::Arena::Create<RpcMessage>(&arena);
    from_rpc(NESTED)->to_protobuf(message);

    auto const &element = message.array_value().elements(0);
    auto const &object = element.value().object_value();
    auto const &property = object.properties().elements(0);
    EXPECT_EQ(message.array_value().GetArena(), &arena);
    EXPECT_EQ(element.GetArena(), &arena);
    EXPECT_EQ(element.value().GetArena(), &arena);
    EXPECT_EQ(object.GetArena(), &arena);
    EXPECT_EQ(object.properties().GetArena(), &arena);
    EXPECT_EQ(property.GetArena(), &arena);
    EXPECT_EQ(property.value().resource_value().GetArena(), &arena);
    EXPECT_EQ(property.value().resource_value().value().GetArena(), &arena);

    auto &timestamp = *google::protobuf::Arena::Create<RpcMessage>(&arena);
    from_rpc("timestamp_value { seconds: 5 }")->to_protobuf(timestamp);
    EXPECT_EQ(timestamp.timestamp_value().GetArena(), &arena);
}

TEST(ZValToProtobuf, does_not_change_the_value)
{
    auto const value = from_rpc(NESTED);
    auto const before = notation(*value);
    RpcMessage message;
    value->to_protobuf(message);
    EXPECT_EQ(notation(*value), before);
}

} // namespace
} // namespace tarnwick::data::php::zval_to_protobuf_test

#undef SAME
#undef NESTED
