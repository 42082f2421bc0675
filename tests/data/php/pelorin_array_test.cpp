#include <tarnwick/data/php/pelorin_array.h>

#include "support/allocations.h"
#include "support/message_fields.h"
#include "support/php_values.h"
#include "support/table.h"
#include "support/textproto.h"
#include "support/wire.h"

#include <pelorin/protobuf/PelorinPHP/zval.pb.h>
#include <tarnwick/rpc/php/v1/zval.pb.h>

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <QtCore/QVariant>

#include <cstddef>
#include <new>
#include <string>
#include <type_traits>

namespace tarnwick::data::php::pelorin_array_test {
namespace {

using ProtobufMessage = pelorin::protobuf::PelorinPHP::PelorinArray;
using RpcMessage = rpc::php::v1::PelorinArray;
using test::field_names;
using test::from_text;
using test::from_wire;
using test::notation;
using test::PhpKind;
using test::Target;
using test::text_of;
using testing::ElementsAre;

// Arrays are shared and never change, so they are never copied.
static_assert(!std::is_copy_constructible_v<detail::PelorinArray>);
static_assert(!std::is_move_constructible_v<detail::PelorinArray>);
static_assert(!std::is_copy_assignable_v<detail::PelorinArray>);
static_assert(!std::is_move_assignable_v<detail::PelorinArray>);
static_assert(!std::is_polymorphic_v<detail::PelorinArray>);
static_assert(std::is_const_v<std::remove_reference_t<decltype(std::declval<detail::PelorinArray &>().elements())>>);
static_assert(std::is_nothrow_default_constructible_v<detail::PelorinArray>);
static_assert(sizeof(PelorinArray) == sizeof(void *));

template <class Message>
constexpr auto from = test::record_from_text<PelorinArray, Message>;

struct Rpc {
    using Message = RpcMessage;
    static std::string number(int n) { return fmt::format("value {{ long_value: {} }}", n); }
    static std::string string(char const *s) { return fmt::format("value {{ string_value: '{}' }}", s); }
};

struct Protobuf {
    using Message = ProtobufMessage;
    static std::string number(int n) { return fmt::format("value {{ type: TYPE_LONG long_value: {} }}", n); }
    static std::string string(char const *s)
    {
        return fmt::format("value {{ type: TYPE_STRING string_value: '{}' }}", s);
    }
};

template <class Dialect>
class PelorinArrayOf : public testing::Test {
protected:
    static PelorinArray read(std::string const &textproto) { return from<typename Dialect::Message>(textproto); }
};
struct DialectName {
    template <class Dialect>
    static std::string GetName(int)
    {
        return std::is_same_v<Dialect, Rpc> ? "rpc" : "protobuf";
    }
};
using Dialects = testing::Types<Rpc, Protobuf>;
TYPED_TEST_SUITE(PelorinArrayOf, Dialects, DialectName);

TYPED_TEST(PelorinArrayOf, elements_keep_the_order_of_the_message)
{
    auto const array =
        this->read("elements { long_key: 9 " + TypeParam::number(1) + " } elements { string_key: 'b' " +
                   TypeParam::string("s") + " } elements { long_key: -9223372036854775808 " + TypeParam::number(2) +
                   " } elements { string_key: 'a' " + TypeParam::number(3) + " }");

    EXPECT_EQ(notation(*array), "[long 9 => long 1, string 'b' => string 's', long -9223372036854775808 => long 2, "
                                "string 'a' => long 3]");
}

TYPED_TEST(PelorinArrayOf, a_string_key_of_digits_is_a_string)
{
    auto const array = this->read("elements { string_key: '5' " + TypeParam::number(1) + " }");
    EXPECT_EQ(array->elements().front().first->kind(), PhpKind::string);
    EXPECT_EQ(notation(*array), "[string '5' => long 1]");
}

TYPED_TEST(PelorinArrayOf, a_key_of_0_or_an_empty_string_is_a_key)
{
    EXPECT_EQ(notation(*this->read("elements { long_key: 0 } elements { string_key: '' }")),
              "[long 0 => undefined, string '' => undefined]");
}

TYPED_TEST(PelorinArrayOf, an_element_without_a_key_keeps_its_position_and_its_value)
{
    auto const array = this->read("elements { long_key: 1 " + TypeParam::number(1) + " } elements { " +
                                  TypeParam::number(2) + " } elements { long_key: 3 " + TypeParam::number(3) + " }");

    EXPECT_EQ(notation(*array), "[long 1 => long 1, undefined => long 2, long 3 => long 3]");
    EXPECT_EQ(test::null_handles(*array), 0U);
}

TYPED_TEST(PelorinArrayOf, an_element_without_a_value_has_an_undefined_one_and_no_null_handle)
{
    auto const array = this->read("elements { long_key: 1 } elements { }");

    EXPECT_EQ(notation(*array), "[long 1 => undefined, undefined => undefined]");
    EXPECT_EQ(test::null_handles(*array), 0U);
}

TYPED_TEST(PelorinArrayOf, two_elements_with_one_key_are_both_kept_in_order)
{
    auto const array =
        this->read("elements { string_key: 'k' " + TypeParam::number(2) + " } elements { string_key: 'k' " +
                   TypeParam::number(1) + " } elements { string_key: 'k' " + TypeParam::number(2) + " }");

    EXPECT_EQ(notation(*array), "[string 'k' => long 2, string 'k' => long 1, string 'k' => long 2]");
}

TYPED_TEST(PelorinArrayOf, without_elements_is_empty_and_allocates_nothing)
{
    auto const message = from_text<typename TypeParam::Message>("");
    EXPECT_EQ(test::allocations_to_build<detail::PelorinArray>(message), 0U);

    auto const array = this->read("");
    EXPECT_TRUE(array->elements().empty());
    EXPECT_EQ(array->elements().capacity(), 0U);
}

TYPED_TEST(PelorinArrayOf, allocates_one_block_for_all_elements_and_one_for_each_key_and_value)
{
    for (std::size_t const n : {1U, 2U, 3U, 100U, 1000U}) {
        typename TypeParam::Message message;
        for (std::size_t i = 0; i < n; ++i)
            test::read_text("long_key: 7 " + TypeParam::number(5), *message.add_elements());

        PelorinArray array;
        EXPECT_EQ(test::allocations_of([&] { array = PelorinArray(new detail::PelorinArray(message)); }),
                  1 + 1 + 2 * n);
        EXPECT_EQ(array->elements().size(), n);
        EXPECT_EQ(array->elements().capacity(), n);
    }
}

TYPED_TEST(PelorinArrayOf, allocates_no_temporary_keys_or_values)
{
    struct {
        std::string element;
        std::size_t blocks;
    } const cases[] = {
        {"", 2},
        {"long_key: 1", 2},
        {"string_key: 'short'", 2},
        {"string_key: 'a key with a block of its own'", 3},
        {TypeParam::number(5), 2},
        {"long_key: 1 " + TypeParam::string("a string with a block of its own"), 3},
        {"string_key: 'a key with a block of its own' " + TypeParam::string("a string with a block of its own"), 4},
    };
    for (auto const &row : cases) {
        auto const message = from_text<typename TypeParam::Message>("elements { " + row.element + " }");
        EXPECT_EQ(test::allocations_to_build<detail::PelorinArray>(message), 1 + row.blocks) << row.element;
    }
}

TYPED_TEST(PelorinArrayOf, a_key_keeps_every_byte)
{
    std::string const bytes("\0a\xff\xc3(\0", 6);
    typename TypeParam::Message message;
    message.add_elements()->set_string_key(bytes);

    detail::PelorinArray const array(message);
    EXPECT_EQ(std::get<std::string>(array.elements().front().first->value()), bytes);
}

TYPED_TEST(PelorinArrayOf, keys_and_values_are_shared_by_one_handle_each)
{
    auto const array = this->read("elements { long_key: 1 " + TypeParam::number(1) + " }");
    auto const &[key, value] = array->elements().front();

    EXPECT_EQ(array->ref.loadRelaxed(), 1);
    EXPECT_EQ(key->ref.loadRelaxed(), 1);
    EXPECT_EQ(value->ref.loadRelaxed(), 1);
}

TYPED_TEST(PelorinArrayOf, message_fields_are_all_read)
{
    using Element = std::remove_cvref_t<decltype(typename TypeParam::Message().elements(0))>;
    EXPECT_THAT(field_names<typename TypeParam::Message>(), ElementsAre("elements"));
    EXPECT_THAT(field_names<Element>(), testing::UnorderedElementsAre("long_key", "string_key", "value"));
}

TEST(PelorinArray, has_no_elements_by_default)
{
    detail::PelorinArray const array;
    EXPECT_TRUE(array.elements().empty());
    EXPECT_EQ(array.elements().capacity(), 0U);
}

// Member 1 is the integer key of one dialect and the string key of the other. The bytes are an array of one element
// (0a, its length) whose member 1 is a number (08 05) or bytes (0a 01 'k'), or member 2 (10 05, 12 01 'k').

TEST(PelorinArrayDialects, member_1_is_the_integer_key_in_rpc_and_the_string_key_in_protobuf)
{
    EXPECT_EQ(notation(detail::PelorinArray(from_wire<RpcMessage>("\x0a\x02\x08\x05"))), "[long 5 => undefined]");
    EXPECT_EQ(notation(detail::PelorinArray(from_wire<ProtobufMessage>("\x0a\x03\x0a\x01k"))),
              "[string 'k' => undefined]");
}

TEST(PelorinArrayDialects, member_2_is_the_string_key_in_rpc_and_the_integer_key_in_protobuf)
{
    EXPECT_EQ(notation(detail::PelorinArray(from_wire<RpcMessage>("\x0a\x03\x12\x01k"))), "[string 'k' => undefined]");
    EXPECT_EQ(notation(detail::PelorinArray(from_wire<ProtobufMessage>("\x0a\x02\x10\x05"))), "[long 5 => undefined]");
}

TEST(PelorinArrayDialects, ignore_the_key_of_the_other_dialect)
{
    EXPECT_EQ(notation(detail::PelorinArray(from_wire<ProtobufMessage>("\x0a\x02\x08\x05"))),
              "[undefined => undefined]");
    EXPECT_EQ(notation(detail::PelorinArray(from_wire<RpcMessage>("\x0a\x02\x10\x05"))), "[undefined => undefined]");
}

TEST(PelorinArrayDialects, agree_on_keys_and_flat_values)
{
    auto const rpc = from<RpcMessage>(R"pb(
        elements { string_key: 'n' value { null_value: NULL_VALUE } }
        elements { string_key: 'b' value { bool_value: true } }
        elements { long_key: 3 value { long_value: -5 } }
        elements { long_key: 4 value { double_value: 2.5 } }
        elements { string_key: 's' value { string_value: '\377' } }
        elements { string_key: 'j' value { json_value: '[1]' } }
        elements { string_key: 't' value { timestamp_value { seconds: 5 nanos: 6 } } }
        elements { })pb");
    auto const protobuf = from<ProtobufMessage>(R"pb(
        elements { string_key: 'n' value { type: TYPE_NULL } }
        elements { string_key: 'b' value { type: TYPE_BOOL bool_value: true } }
        elements { long_key: 3 value { type: TYPE_LONG long_value: -5 } }
        elements { long_key: 4 value { type: TYPE_DOUBLE double_value: 2.5 } }
        elements { string_key: 's' value { type: TYPE_STRING string_value: '\377' } }
        elements { string_key: 'j' value { type: TYPE_JSON json_value: '[1]' } }
        elements { string_key: 't' value { type: TYPE_TIMESTAMP timestamp_value { seconds: 5 nanos: 6 } } }
        elements { })pb");

    EXPECT_EQ(notation(*rpc), notation(*protobuf));
}

// Writing to messages.

struct WritingCase {
    char const *name;
    PelorinArray (*array)();
    char const *written;
    char const *read_back;
};

PelorinArray keyed(ZVal const &key)
{
    return php_elements({{key, php_long(1)}});
}

PelorinArray valued(ZVal const &value)
{
    return php_elements({{php_long(1), value}});
}

#define KEYLESS "elements { value { long_value: 1 } }", "[undefined => long 1]"

WritingCase const writing_cases[] = {
    {"no_elements", [] { return php_elements({}); }, "", "[]"},
    {"key_undefined", [] { return keyed(php_undefined()); }, KEYLESS},
    {"key_null", [] { return keyed(php_null()); }, KEYLESS},
    {"key_bool", [] { return keyed(php_bool(true)); }, KEYLESS},
    {"key_long", [] { return keyed(php_long(-5)); }, "elements { long_key: -5 value { long_value: 1 } }",
     "[long -5 => long 1]"},
    {"key_long_0", [] { return keyed(php_long(0)); }, "elements { long_key: 0 value { long_value: 1 } }",
     "[long 0 => long 1]"},
    {"key_double", [] { return keyed(php_double(2.5)); }, KEYLESS},
    {"key_string", [] { return keyed(php_string({"5\0\xff", 3})); },
     "elements { string_key: '5\\000\\377' value { long_value: 1 } }", "[string '5\\x00\\xff' => long 1]"},
    {"key_string_empty", [] { return keyed(php_string("")); }, "elements { string_key: '' value { long_value: 1 } }",
     "[string '' => long 1]"},
    {"key_array", [] { return keyed(php_array({{php_long(1), php_long(2)}})); }, KEYLESS},
    {"key_object",
     [] { return keyed(ZVal(new detail::ZVal(from_text<rpc::php::v1::ZVal>("object_value { class_name: 'C' }")))); },
     KEYLESS},
    {"key_resource",
     [] { return keyed(ZVal(new detail::ZVal(from_text<rpc::php::v1::ZVal>("resource_value { type_name: 'r' }")))); },
     KEYLESS},
    {"key_json", [] { return keyed(php_json("5")); }, KEYLESS},
    {"key_timestamp", [] { return keyed(php_timestamp({5, 6})); }, KEYLESS},
    {"key_valueless", [] { return keyed(test::php_valueless()); }, KEYLESS},
    {"value_undefined", [] { return valued(php_undefined()); }, "elements { long_key: 1 value { } }",
     "[long 1 => undefined]"},
    {"value_null", [] { return valued(php_null()); }, "elements { long_key: 1 value { } }", "[long 1 => undefined]"},
    {"value_valueless", [] { return valued(test::php_valueless()); }, "elements { long_key: 1 value { } }",
     "[long 1 => undefined]"},
    {"value_array", [] { return valued(php_array({{php_string("k"), php_null()}})); },
     "elements { long_key: 1 value { array_value { elements { string_key: 'k' value { } } } } }",
     "[long 1 => [string 'k' => undefined]]"},
    {"value_array_empty", [] { return valued(php_array({})); }, "elements { long_key: 1 value { array_value { } } }",
     "[long 1 => []]"},
    {"duplicate_keys_go_out_in_order",
     [] {
         return php_elements({{php_string("k"), php_long(2)},
                              {php_string("k"), php_long(1)},
                              {php_string("a"), php_long(3)},
                              {php_string("k"), php_long(2)}});
     },
     "elements { string_key: 'k' value { long_value: 2 } } elements { string_key: 'k' value { long_value: 1 } } "
     "elements { string_key: 'a' value { long_value: 3 } } elements { string_key: 'k' value { long_value: 2 } }",
     "[string 'k' => long 2, string 'k' => long 1, string 'a' => long 3, string 'k' => long 2]"},
};

class PelorinArrayWriting : public test::TableTest<WritingCase> {};

TEST_P(PelorinArrayWriting, and_reading_back_returns_what_the_message_can_carry)
{
    for (bool const on_arena : {false, true}) {
        Target<RpcMessage> message(on_arena);
        GetParam().array()->to_protobuf(*message);
        EXPECT_EQ(text_of(*message), text_of(from_text<RpcMessage>(GetParam().written)));
        EXPECT_EQ(notation(detail::PelorinArray(*message)), GetParam().read_back);
    }
}

INSTANTIATE_TEST_SUITE_P(Cases, PelorinArrayWriting, test::rows(writing_cases), test::by_name);

TEST(PelorinArrayToProtobuf, writes_null_as_a_present_and_empty_value)
{
    RpcMessage message;
    php_elements({{php_long(1), php_null()}})->to_protobuf(message);

    ASSERT_EQ(message.elements_size(), 1);
    EXPECT_TRUE(message.elements(0).has_value());
    EXPECT_EQ(message.elements(0).value().value_case(), rpc::php::v1::ZVal::VALUE_NOT_SET);
}

TEST(PelorinArrayToProtobuf, writing_twice_appends_the_elements_twice)
{
    auto const array = from<RpcMessage>("elements { long_key: 1 value { } } elements { string_key: 'k' value { } }");
    RpcMessage message;
    array->to_protobuf(message);
    array->to_protobuf(message);

    EXPECT_EQ(notation(detail::PelorinArray(message)), "[long 1 => undefined, string 'k' => undefined, "
                                                       "long 1 => undefined, string 'k' => undefined]");
}

TEST(PelorinArrayToProtobuf, appends_elements_to_those_of_the_message)
{
    auto message = from_text<RpcMessage>("elements { long_key: 1 value { bool_value: true } }");
    auto const *there = &message.elements(0);
    from<RpcMessage>("elements { long_key: 1 value { long_value: 5 } }")->to_protobuf(message);

    EXPECT_EQ(text_of(message), text_of(from_text<RpcMessage>("elements { long_key: 1 value { bool_value: true } } "
                                                              "elements { long_key: 1 value { long_value: 5 } }")));
    EXPECT_EQ(&message.elements(0), there);
}

TEST(PelorinArrayToProtobuf, without_elements_leaves_the_message_unchanged)
{
    auto message = from_text<RpcMessage>("elements { long_key: 1 }");
    php_elements({})->to_protobuf(message);
    EXPECT_EQ(text_of(message), text_of(from_text<RpcMessage>("elements { long_key: 1 }")));
}

TEST(PelorinArrayToProtobuf, elements_live_on_the_arena_of_the_target)
{
    auto const array = from<RpcMessage>("elements { long_key: 1 value { array_value { elements { } } } }");
    google::protobuf::Arena arena;
    auto &on_arena = *google::protobuf::Arena::Create<RpcMessage>(&arena);
    RpcMessage on_heap;
    array->to_protobuf(on_arena);
    array->to_protobuf(on_heap);

    EXPECT_EQ(on_arena.elements(0).GetArena(), &arena);
    EXPECT_EQ(on_arena.elements(0).value().GetArena(), &arena);
    EXPECT_EQ(on_arena.elements(0).value().array_value().elements(0).GetArena(), &arena);
    EXPECT_EQ(on_heap.elements(0).value().array_value().elements(0).GetArena(), nullptr);
    EXPECT_EQ(text_of(on_heap), text_of(on_arena));
}

TEST(PelorinArray, round_trips_through_a_qvariant)
{
    auto const array = from<RpcMessage>("elements { long_key: 1 }");
    auto const variant = QVariant::fromValue(array);

    EXPECT_STREQ(variant.metaType().name(), "tarnwick::data::php::PelorinArray");
    EXPECT_EQ(variant.value<PelorinArray>().get(), array.get());
}

} // namespace
} // namespace tarnwick::data::php::pelorin_array_test

#undef KEYLESS
