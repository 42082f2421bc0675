#include <tarnwick/data/php/zval.h>

#include "support/allocations.h"
#include "support/message_fields.h"
#include "support/php_values.h"
#include "support/table.h"
#include "support/textproto.h"
#include "support/wire.h"

#include <pelorin/protobuf/PelorinPHP/zval.pb.h>
#include <tarnwick/rpc/php/v1/zval.pb.h>

#include <gmock/gmock.h>

#include <QtCore/QVariant>

#include <cstddef>
#include <limits>
#include <new>
#include <string>
#include <tuple>
#include <type_traits>

namespace tarnwick::data::php::zval_test {
namespace {

using ProtobufMessage = pelorin::protobuf::PelorinPHP::ZVal;
using RpcMessage = rpc::php::v1::ZVal;
using test::field_names;
using test::from_text;
using test::from_wire;
using test::notation;
using test::PhpKind;
using testing::ElementsAre;

using Value = detail::ZVal::Value;
static_assert(std::variant_size_v<Value> == 11);
static_assert(std::is_same_v<std::variant_alternative_t<0, Value>, detail::ZVal::undefined_t>);
static_assert(std::is_same_v<std::variant_alternative_t<1, Value>, detail::ZVal::null_t>);
static_assert(std::is_same_v<std::variant_alternative_t<2, Value>, bool>);
static_assert(std::is_same_v<std::variant_alternative_t<3, Value>, std::int64_t>);
static_assert(std::is_same_v<std::variant_alternative_t<4, Value>, double>);
static_assert(std::is_same_v<std::variant_alternative_t<5, Value>, std::string>);
static_assert(std::is_same_v<std::variant_alternative_t<6, Value>, PelorinArray>);
static_assert(std::is_same_v<std::variant_alternative_t<7, Value>, PelorinObject>);
static_assert(std::is_same_v<std::variant_alternative_t<8, Value>, PelorinResource>);
static_assert(std::is_same_v<std::variant_alternative_t<9, Value>, QByteArray>);
static_assert(std::is_same_v<std::variant_alternative_t<10, Value>, TimePair>);

// Values are shared and never change, so they are never copied.
static_assert(!std::is_copy_constructible_v<detail::ZVal> && !std::is_move_constructible_v<detail::ZVal>);
static_assert(!std::is_copy_assignable_v<detail::ZVal> && !std::is_move_assignable_v<detail::ZVal>);
static_assert(!std::is_polymorphic_v<detail::ZVal>);
static_assert(std::is_const_v<std::remove_reference_t<decltype(std::declval<detail::ZVal &>().value())>>);
static_assert(std::is_nothrow_default_constructible_v<detail::ZVal>);

// No constructor without arguments creates a null handle.
static_assert(std::is_constructible_v<detail::ZVal, std::in_place_type_t<PelorinArray>>);
static_assert(!std::is_constructible_v<detail::ZVal, std::in_place_type_t<PelorinObject>>);
static_assert(!std::is_constructible_v<detail::ZVal, std::in_place_type_t<PelorinResource>>);
static_assert(std::is_constructible_v<detail::ZVal, std::in_place_type_t<PelorinObject>, PelorinObject>);
static_assert(std::is_constructible_v<detail::ZVal, std::in_place_type_t<PelorinResource>, PelorinResource>);
static_assert(sizeof(ZVal) == sizeof(void *));

constexpr auto from_rpc = test::record_from_text<ZVal, RpcMessage>;

constexpr auto from_protobuf = test::record_from_text<ZVal, ProtobufMessage>;

TEST(ZVal, is_undefined_by_default)
{
    EXPECT_EQ(detail::ZVal().kind(), PhpKind::undefined);
    EXPECT_EQ(detail::ZVal().value().index(), 0U);
}

struct RpcCase {
    char const *name;
    char const *textproto;
    std::size_t index;
    char const *notation;
};

RpcCase const rpc_cases[] = {
    {"no_member", "", 0, "undefined"},
    {"null_value", "null_value: NULL_VALUE", 1, "null"},
    {"bool_value", "bool_value: true", 2, "true"},
    {"bool_value_false", "bool_value: false", 2, "false"},
    {"long_value", "long_value: -9223372036854775808", 3, "long -9223372036854775808"},
    {"long_value_0", "long_value: 0", 3, "long 0"},
    {"double_value", "double_value: -2.5", 4, "double -2.5"},
    {"double_value_0", "double_value: 0", 4, "double 0"},
    {"string_value", "string_value: 'bytes'", 5, "string 'bytes'"},
    {"string_value_empty", "string_value: ''", 5, "string ''"},
    {"array_value", "array_value { elements { string_key: 'k' value { bool_value: true } } }", 6,
     "[string 'k' => true]"},
    {"array_value_empty", "array_value { }", 6, "[]"},
    {"object_value", "object_value { class_name: 'C' properties { elements { } } value { long_value: 7 } }", 7,
     "object 'C' [undefined => undefined] long 7"},
    {"object_value_empty", "object_value { }", 7, "object '' [] undefined"},
    {"resource_value", "resource_value { type_name: 'stream' value { long_value: 7 } }", 8, "resource 'stream' long 7"},
    {"resource_value_empty", "resource_value { }", 8, "resource '' undefined"},
    {"json_value", "json_value: '[1]'", 9, "json '[1]'"},
    {"json_value_empty", "json_value: ''", 9, "json ''"},
    {"timestamp_value", "timestamp_value { seconds: 1700000000 nanos: 5 }", 10, "time 1700000000 s 5 ns"},
    {"timestamp_value_empty", "timestamp_value { }", 10, "time 0 s 0 ns"},
};

class ZValFromRpc : public test::TableTest<RpcCase> {};

TEST_P(ZValFromRpc, has_the_kind_of_the_member)
{
    auto const value = from_rpc(GetParam().textproto);

    EXPECT_EQ(value->value().index(), GetParam().index);
    EXPECT_EQ(static_cast<std::size_t>(value->kind()), GetParam().index);
    EXPECT_EQ(notation(*value), GetParam().notation);
    EXPECT_EQ(test::null_handles(*value), 0U);
}

INSTANTIATE_TEST_SUITE_P(Kinds, ZValFromRpc, test::rows(rpc_cases), test::by_name);

struct TypeCase {
    char const *name;
    int type;
    std::size_t index;
    char const *without_content;
};

TypeCase const type_cases[] = {
    {"type_0", 0, 0, "undefined"},
    {"type_1", 1, 1, "null"},
    {"type_2", 2, 2, "false"},
    {"type_3", 3, 5, "string ''"},
    {"type_4", 4, 3, "long 0"},
    {"type_5", 5, 4, "double 0"},
    {"type_6", 6, 9, "json ''"},
    {"type_7", 7, 10, "time 0 s 0 ns"},
    {"type_8", 8, 0, "undefined"},
    {"type_minus_1", -1, 0, "undefined"},
    {"type_of_the_largest_number", std::numeric_limits<int>::max(), 0, "undefined"},
    {"type_of_the_smallest_number", std::numeric_limits<int>::min(), 0, "undefined"},
};

struct MemberCase {
    char const *name;
    int number;
    char const *textproto;
    char const *notation;
};

MemberCase const member_cases[] = {
    {"no_member", -2, "", ""},
    {"bool_value", 2, "bool_value: true", "true"},
    {"string_value", 3, "string_value: 'bytes'", "string 'bytes'"},
    {"long_value", 4, "long_value: 9223372036854775807", "long 9223372036854775807"},
    {"double_value", 5, "double_value: -2.5", "double -2.5"},
    {"json_value", 6, "json_value: '[1]'", "json '[1]'"},
    {"timestamp_value", 7, "timestamp_value { seconds: 1700000000 nanos: 5 }", "time 1700000000 s 5 ns"},
};

class ZValFromProtobuf : public testing::TestWithParam<std::tuple<test::Named<TypeCase>, test::Named<MemberCase>>> {};

TEST_P(ZValFromProtobuf, has_the_kind_of_the_type_and_the_content_of_its_member)
{
    auto const &[type, member] = GetParam();
    auto const value = from_protobuf("type: " + std::to_string(type.type) + " " + member.textproto);

    EXPECT_EQ(value->value().index(), type.index);
    EXPECT_EQ(static_cast<std::size_t>(value->kind()), type.index);
    EXPECT_EQ(notation(*value), type.type == member.number ? member.notation : type.without_content);
}

INSTANTIATE_TEST_SUITE_P(Kinds, ZValFromProtobuf, testing::Combine(test::rows(type_cases), test::rows(member_cases)),
                         [](auto const &instance) {
                             return std::string(std::get<0>(instance.param).name) + "_beside_" +
                                    std::get<1>(instance.param).name;
                         });

TEST(ZVal, of_rpc_without_a_member_is_undefined_and_not_null)
{
    EXPECT_EQ(from_rpc("")->kind(), PhpKind::undefined);
    EXPECT_NE(from_rpc("")->kind(), PhpKind::null);
}

TEST(ZVal, of_rpc_is_null_for_any_number_of_null_value)
{
    EXPECT_EQ(detail::ZVal(from_wire<RpcMessage>("\x08\x07")).kind(), PhpKind::null);
    EXPECT_EQ(detail::ZVal(from_wire<RpcMessage>("\x08\xff\xff\xff\xff\xff\xff\xff\xff\xff\x01")).kind(),
              PhpKind::null);
}

TEST(ZVal, of_protobuf_type_4_beside_a_string_is_long_0)
{
    EXPECT_EQ(notation(*from_protobuf("type: TYPE_LONG string_value: '5'")), "long 0");
}

TEST(ZVal, of_protobuf_type_0_beside_a_bool_is_undefined)
{
    EXPECT_EQ(from_protobuf("type: TYPE_NONE bool_value: true")->kind(), PhpKind::undefined);
}

TEST(ZVal, of_protobuf_type_8_is_undefined)
{
    EXPECT_EQ(from_protobuf("type: 8")->kind(), PhpKind::undefined);
}

TEST(ZVal, keeps_every_byte_of_a_string)
{
    std::string const bytes("\0a\xff\xc3(\xed\xa0\x80\0", 9);
    RpcMessage rpc;
    rpc.set_string_value(bytes);
    ProtobufMessage protobuf;
    protobuf.set_type(ProtobufMessage::TYPE_STRING);
    protobuf.set_string_value(bytes);

    EXPECT_EQ(std::get<std::string>(detail::ZVal(rpc).value()), bytes);
    EXPECT_EQ(std::get<std::string>(detail::ZVal(protobuf).value()), bytes);
}

TEST(ZVal, keeps_every_byte_of_invalid_json)
{
    std::string const bytes("{\0\xff", 3);
    RpcMessage rpc;
    rpc.set_json_value(bytes);
    ProtobufMessage protobuf;
    protobuf.set_type(ProtobufMessage::TYPE_JSON);
    protobuf.set_json_value(bytes);

    EXPECT_EQ(std::get<QByteArray>(detail::ZVal(rpc).value()), QByteArray("{\0\xff", 3));
    EXPECT_EQ(std::get<QByteArray>(detail::ZVal(protobuf).value()), QByteArray("{\0\xff", 3));
}

TEST(ZVal, keeps_a_time_outside_its_range)
{
    EXPECT_EQ(notation(*from_rpc("timestamp_value { seconds: -9223372036854775808 nanos: -2147483648 }")),
              "time -9223372036854775808 s -2147483648 ns");
    EXPECT_EQ(notation(*from_protobuf("type: TYPE_TIMESTAMP timestamp_value { seconds: -1 nanos: 2147483647 }")),
              "time -1 s 2147483647 ns");
}

TEST(ZVal, of_rpc_builds_an_array_in_an_object_in_an_array)
{
    auto const value = from_rpc(R"pb(
        array_value {
            elements {
                long_key: 1
                value {
                    object_value {
                        class_name: 'C'
                        properties {
                            elements {
                                string_key: 'p'
                                value {
                                    array_value {
                                        elements {
                                            long_key: -1
                                            value { resource_value { type_name: 'r' } }
                                        }
                                    }
                                }
                            }
                        }
                        value { null_value: NULL_VALUE }
                    }
                }
            }
        })pb");

    EXPECT_EQ(notation(*value), "[long 1 => object 'C' [string 'p' => [long -1 => resource 'r' undefined]] null]");
    EXPECT_EQ(test::null_handles(*value), 0U);
}

// The differences between the dialects, in the bytes of the messages.

TEST(ZValDialects, the_member_decides_in_rpc_and_the_type_in_protobuf)
{
    EXPECT_EQ(notation(*from_rpc("long_value: 5")), "long 5");
    EXPECT_EQ(notation(*from_protobuf("long_value: 5")), "undefined");
    EXPECT_EQ(notation(*from_protobuf("type: TYPE_LONG")), "long 0");
    EXPECT_EQ(RpcMessage::descriptor()->FindFieldByName("type"), nullptr);
}

struct DialectCase {
    char const *name;
    std::string_view rpc;
    std::string_view protobuf;
    char const *notation;
};

using namespace std::string_view_literals;
DialectCase const dialect_cases[] = {
    {"null_has_one_number_in_both", "\x08\0"sv, "\x08\x01"sv, "null"},
    {"bool_has_one_number_in_both", "\x10\x01"sv, "\x08\x02\x10\x01"sv, "true"},
    {"long_is_3_in_rpc_and_4_in_protobuf", "\x18\x05"sv, "\x08\x04\x20\x05"sv, "long 5"},
    {"double_is_4_in_rpc_and_5_in_protobuf", "\x21\0\0\0\0\0\0\x04\x40"sv, "\x08\x05\x29\0\0\0\0\0\0\x04\x40"sv,
     "double 2.5"},
    {"string_is_5_in_rpc_and_3_in_protobuf", "\x2a\x01s"sv, "\x08\x03\x1a\x01s"sv, "string 's'"},
    {"json_is_9_in_rpc_and_6_in_protobuf", "\x4a\x01j"sv, "\x08\x06\x32\x01j"sv, "json 'j'"},
    {"timestamp_is_10_in_rpc_and_7_in_protobuf", "\x52\x02\x08\x05"sv, "\x08\x07\x3a\x02\x08\x05"sv, "time 5 s 0 ns"},
};

class ZValOnTheWire : public test::TableTest<DialectCase> {};

TEST_P(ZValOnTheWire, is_read_in_both_dialects)
{
    EXPECT_EQ(notation(detail::ZVal(from_wire<RpcMessage>(GetParam().rpc))), GetParam().notation);
    EXPECT_EQ(notation(detail::ZVal(from_wire<ProtobufMessage>(GetParam().protobuf))), GetParam().notation);
}

INSTANTIATE_TEST_SUITE_P(Kinds, ZValOnTheWire, test::rows(dialect_cases), test::by_name);

TEST(ZValDialects, only_rpc_nests_in_a_value)
{
    EXPECT_EQ(notation(detail::ZVal(from_wire<RpcMessage>(std::string_view("\x32\0", 2)))), "[]");
    EXPECT_EQ(notation(detail::ZVal(from_wire<RpcMessage>(std::string_view("\x3a\0", 2)))), "object '' [] undefined");
    EXPECT_EQ(notation(detail::ZVal(from_wire<RpcMessage>(std::string_view("\x42\0", 2)))), "resource '' undefined");
    for (char const *member : {"array_value", "object_value", "resource_value"})
        EXPECT_EQ(ProtobufMessage::descriptor()->FindFieldByName(member), nullptr) << member;
}

TEST(ZVal, allocates_only_for_stored_content)
{
    struct {
        char const *textproto;
        std::size_t blocks;
    } const cases[] = {
        {"", 0},
        {"null_value: NULL_VALUE", 0},
        {"bool_value: true", 0},
        {"long_value: 1", 0},
        {"double_value: 1", 0},
        {"string_value: 'fifteen bytes..'", 0},
        {"string_value: 'a string with a block of its own'", 1},
        {"array_value { }", 1},
        {"object_value { }", 3},
        {"resource_value { }", 2},
        {"json_value: '{}'", 1},
        {"timestamp_value { seconds: 1 }", 0},
    };
    for (auto const &row : cases) {
        auto const message = from_text<RpcMessage>(row.textproto);
        EXPECT_EQ(test::allocations_to_build<detail::ZVal>(message), row.blocks) << row.textproto;
    }
    auto const mismatch =
        from_text<ProtobufMessage>("type: TYPE_LONG string_value: 'a string with a block of its own'");
    EXPECT_EQ(test::allocations_to_build<detail::ZVal>(mismatch), 0U);
}

TEST(ZVal, round_trips_through_a_qvariant)
{
    auto const value = from_rpc("long_value: 5");
    auto const variant = QVariant::fromValue(value);

    EXPECT_STREQ(variant.metaType().name(), "tarnwick::data::php::ZVal");
    EXPECT_EQ(variant.value<ZVal>().get(), value.get());
}

TEST(ZVal, can_be_built_from_a_variant_or_in_place)
{
    detail::ZVal const from_variant{Value(std::in_place_type<std::string>, "bytes")};
    detail::ZVal const built_in_place(std::in_place_type<std::string>, 3U, 'x');

    EXPECT_EQ(notation(from_variant), "string 'bytes'");
    EXPECT_EQ(notation(built_in_place), "string 'xxx'");
}

TEST(ZVal, built_in_place_as_an_array_without_arguments_is_empty)
{
    detail::ZVal const value(std::in_place_type<PelorinArray>);
    EXPECT_EQ(notation(value), "[]");

    RpcMessage message;
    value.to_protobuf(message);
    EXPECT_EQ(message.value_case(), RpcMessage::kArrayValue);
}

TEST(ZVal, message_fields_are_all_read)
{
    EXPECT_THAT(field_names<RpcMessage>(),
                ElementsAre("null_value", "bool_value", "long_value", "double_value", "string_value", "array_value",
                            "object_value", "resource_value", "json_value", "timestamp_value"));
    EXPECT_THAT(field_names<ProtobufMessage>(), ElementsAre("type", "bool_value", "string_value", "long_value",
                                                            "double_value", "json_value", "timestamp_value"));
}

} // namespace
} // namespace tarnwick::data::php::zval_test
