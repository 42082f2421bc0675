// Values that no well-behaved sender makes: they are read like any other, nothing crashes and nothing is repaired.

#include <tarnwick/data/php/zval.h>

#include "support/php_values.h"
#include "support/table.h"
#include "support/wire.h"

#include <pelorin/protobuf/PelorinPHP/zval.pb.h>
#include <tarnwick/rpc/php/v1/zval.pb.h>

#include <google/protobuf/io/coded_stream.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

namespace tarnwick::data::php::hostile_values_test {
namespace {

using namespace std::string_view_literals;
using test::from_wire;
using test::notation;
using test::null_handles;

using RpcValue = rpc::php::v1::ZVal;
using RpcArray = rpc::php::v1::PelorinArray;
using RpcElement = rpc::php::v1::PelorinArrayElement;
using RpcObject = rpc::php::v1::PelorinObject;
using RpcResource = rpc::php::v1::PelorinResource;
using ProtobufValue = pelorin::protobuf::PelorinPHP::ZVal;
using ProtobufArray = pelorin::protobuf::PelorinPHP::PelorinArray;

// Bytes.

constexpr std::string_view not_utf_8 = "\xff\xc3(\xed\xa0\x80\xf4\x90\x80\x80\xc0\x80\xe2\x82"sv;

TEST(HostileValues, names_that_are_not_utf8_get_replacement_characters)
{
    RpcObject object_message;
    object_message.set_class_name("a\xff z\xc3");
    RpcResource resource_message;
    resource_message.set_type_name("a\xff z\xc3");
    detail::PelorinObject const object(from_wire<RpcObject>(object_message.SerializeAsString()));
    detail::PelorinResource const resource(from_wire<RpcResource>(resource_message.SerializeAsString()));
    auto const replaced = QString::fromUtf16(u"a\uFFFD z\uFFFD");

    EXPECT_EQ(object.class_name(), replaced);
    EXPECT_EQ(resource.type_name(), replaced);

    RpcObject object_written;
    object.to_protobuf(object_written);
    EXPECT_EQ(object_written.class_name(), "a\xef\xbf\xbd z\xef\xbf\xbd");
    RpcResource resource_written;
    resource.to_protobuf(resource_written);
    EXPECT_EQ(resource_written.type_name(), "a\xef\xbf\xbd z\xef\xbf\xbd");
}

TEST(HostileValues, names_keep_nul_bytes_in_both_directions)
{
    RpcObject message;
    message.set_class_name("\0a\0\0b\0"sv);
    detail::PelorinObject const object(message);
    EXPECT_EQ(object.class_name(), QString::fromUtf16(u"\0a\0\0b\0", 6));

    RpcObject written;
    object.to_protobuf(written);
    EXPECT_EQ(written.class_name(), "\0a\0\0b\0"sv);
}

TEST(HostileValues, strings_keys_and_json_keep_every_byte_in_both_directions)
{
    std::string every_byte(not_utf_8);
    for (int byte = 0; byte < 256; ++byte)
        every_byte += static_cast<char>(byte);
    RpcArray message;
    message.add_elements()->set_string_key(every_byte);
    message.mutable_elements(0)->mutable_value()->set_string_value(every_byte);
    message.add_elements()->mutable_value()->set_json_value(every_byte);

    detail::PelorinArray const array(from_wire<RpcArray>(message.SerializeAsString()));
    EXPECT_EQ(std::get<std::string>(array.elements()[0].first->value()), every_byte);
    EXPECT_EQ(std::get<std::string>(array.elements()[0].second->value()), every_byte);
    EXPECT_EQ(std::get<QByteArray>(array.elements()[1].second->value()).toStdString(), every_byte);

    RpcArray written;
    array.to_protobuf(written);
    EXPECT_EQ(written.SerializeAsString(), message.SerializeAsString());
}

TEST(HostileValues, keys_that_are_not_utf8_are_compared_byte_by_byte)
{
    auto const own = php_elements({{php_string("\xff"), php_null()}});
    auto const other = php_elements({{php_string("\xfe"), php_null()}, {php_string("\xff"), php_null()}});
    EXPECT_EQ(notation(*own->diff_keys(*other)), "[string '\\xfe' => null]");
}

// Numbers that the messages do not know.

struct WireCase {
    char const *name;
    ZVal (*read)(std::string_view bytes);
    std::string_view bytes;
    char const *notation;
};

template <class Message>
ZVal read(std::string_view bytes)
{
    return ZVal(new detail::ZVal(from_wire<Message>(bytes)));
}

constexpr auto rpc = read<RpcValue>;
constexpr auto protobuf = read<ProtobufValue>;

WireCase const wire_cases[] = {
    {"rpc_an_unknown_member_11", rpc, "\x58\x01"sv, "undefined"},
    {"rpc_an_unknown_member_15_that_is_a_message", rpc, "\x7a\x02\x08\x01"sv, "undefined"},
    {"rpc_an_unknown_member_of_a_large_number", rpc, "\xf8\xff\xff\xff\x0f\x01"sv, "undefined"},
    {"rpc_a_known_member_before_an_unknown_one", rpc, "\x18\x05\x58\x01"sv, "long 5"},
    {"rpc_a_known_member_after_an_unknown_one", rpc, "\x58\x01\x18\x05"sv, "long 5"},
    {"rpc_two_members_of_which_the_last_is_read", rpc, "\x10\x01\x18\x05"sv, "long 5"},
    {"rpc_two_members_in_the_other_order", rpc, "\x18\x05\x10\x01"sv, "true"},
    {"rpc_an_array_in_two_pieces", rpc, "\x32\x04\x0a\x02\x08\x01\x32\x04\x0a\x02\x08\x02"sv,
     "[long 1 => undefined, long 2 => undefined]"},
    {"rpc_an_unknown_null_value", rpc, "\x08\x63"sv, "null"},
    {"rpc_a_long_encoded_as_bytes", rpc, "\x1a\x01\x05"sv, "undefined"},
    {"rpc_a_string_encoded_as_a_number", rpc, "\x28\x05"sv, "undefined"},
    {"rpc_a_bool_that_is_neither_0_nor_1", rpc, "\x10\x05"sv, "true"},
    {"rpc_an_unknown_member_in_an_object", rpc, "\x3a\x04\x0a\x00\x58\x01"sv, "object '' [] undefined"},
    {"rpc_an_unknown_member_in_a_resource", rpc, "\x42\x02\x58\x01"sv, "resource '' undefined"},
    {"rpc_an_unknown_member_in_an_element", rpc, "\x32\x04\x0a\x02\x58\x01"sv, "[undefined => undefined]"},
    {"rpc_an_unknown_member_in_an_array", rpc, "\x32\x02\x58\x01"sv, "[]"},
    {"rpc_two_keys_of_which_the_last_is_read", rpc, "\x32\x07\x0a\x05\x08\x05\x12\x01k"sv, "[string 'k' => undefined]"},
    {"protobuf_type_8", protobuf, "\x08\x08"sv, "undefined"},
    {"protobuf_type_8_beside_a_member", protobuf, "\x08\x08\x20\x05"sv, "undefined"},
    {"protobuf_type_minus_1_beside_a_member", protobuf, "\x08\xff\xff\xff\xff\xff\xff\xff\xff\xff\x01\x20\x05"sv,
     "undefined"},
    {"protobuf_type_4_plus_2_to_the_31", protobuf, "\x08\x84\x80\x80\x80\xf8\xff\xff\xff\xff\x01\x20\x05"sv,
     "undefined"},
    {"protobuf_type_9_of_an_array_in_the_other_dialect", protobuf, "\x08\x09\x32\x01j"sv, "undefined"},
    {"protobuf_repeated_type_of_which_the_last_is_read", protobuf, "\x08\x03\x08\x04\x20\x05"sv, "long 5"},
    {"protobuf_an_unknown_member", protobuf, "\x08\x04\x40\x05"sv, "long 0"},
    {"protobuf_a_known_member_before_an_unknown_one", protobuf, "\x08\x04\x20\x05\x40\x06"sv, "long 5"},
    {"protobuf_two_members_of_which_type_names_the_first", protobuf, "\x08\x04\x20\x05\x10\x01"sv, "long 0"},
    {"protobuf_two_members_of_which_type_names_the_last", protobuf, "\x08\x04\x10\x01\x20\x05"sv, "long 5"},
    {"protobuf_a_long_encoded_as_bytes", protobuf, "\x08\x04\x22\x01\x05"sv, "long 0"},
};

class HostileValue : public test::TableTest<WireCase> {};

TEST_P(HostileValue, is_read)
{
    auto const value = GetParam().read(GetParam().bytes);
    EXPECT_EQ(notation(*value), GetParam().notation);
    EXPECT_EQ(null_handles(*value), 0U);
}

INSTANTIATE_TEST_SUITE_P(Cases, HostileValue, test::rows(wire_cases), test::by_name);

// Depth. The program reads reports that nest messages this deep.
constexpr int max_depth = 1000;

std::string member(int number, std::string const &message)
{
    std::string bytes;
    google::protobuf::io::StringOutputStream stream(&bytes);
    google::protobuf::io::CodedOutputStream coded(&stream);
    coded.WriteTag(static_cast<std::uint32_t>(number << 3 | 2));
    coded.WriteVarint32(static_cast<std::uint32_t>(message.size()));
    coded.WriteString(message);
    coded.Trim();
    return bytes;
}

/// How a value is nested in a value: the messages between them.
struct Nesting {
    char const *name;
    int messages;
    std::string (*around)(std::string const &inner);
    detail::ZVal const *(*inside)(detail::ZVal const &outer);
};

Nesting const nestings[] = {
    {"arrays", 3,
     [](std::string const &inner) {
         return member(RpcValue::kArrayValueFieldNumber,
                       member(RpcArray::kElementsFieldNumber, member(RpcElement::kValueFieldNumber, inner)));
     },
     [](detail::ZVal const &outer) -> detail::ZVal const * {
         auto const *array = std::get_if<PelorinArray>(&outer.value());
         return array != nullptr ? (*array)->elements().at(0).second.get() : nullptr;
     }},
    {"objects", 2,
     [](std::string const &inner) {
         return member(RpcValue::kObjectValueFieldNumber, member(RpcObject::kValueFieldNumber, inner));
     },
     [](detail::ZVal const &outer) -> detail::ZVal const * {
         auto const *object = std::get_if<PelorinObject>(&outer.value());
         return object != nullptr ? (*object)->value().get() : nullptr;
     }},
    {"properties", 4,
     [](std::string const &inner) {
         return member(RpcValue::kObjectValueFieldNumber,
                       member(RpcObject::kPropertiesFieldNumber,
                              member(RpcArray::kElementsFieldNumber, member(RpcElement::kValueFieldNumber, inner))));
     },
     [](detail::ZVal const &outer) -> detail::ZVal const * {
         auto const *object = std::get_if<PelorinObject>(&outer.value());
         return object != nullptr ? (*object)->properties()->elements().at(0).second.get() : nullptr;
     }},
    {"resources", 2,
     [](std::string const &inner) {
         return member(RpcValue::kResourceValueFieldNumber, member(RpcResource::kValueFieldNumber, inner));
     },
     [](detail::ZVal const &outer) -> detail::ZVal const * {
         auto const *resource = std::get_if<PelorinResource>(&outer.value());
         return resource != nullptr ? (*resource)->value().get() : nullptr;
     }},
};

class HostileDepth : public test::TableTest<Nesting> {
protected:
    static int levels() { return max_depth / GetParam().messages; }

    /// A value around values, the innermost of which is 7.
    static std::string bytes()
    {
        std::string bytes = "\x18\x07";
        for (int level = 0; level < levels(); ++level)
            bytes = GetParam().around(bytes);
        return bytes;
    }

    static void parse(RpcValue &message)
    {
        auto const wire = bytes();
        google::protobuf::io::CodedInputStream stream(reinterpret_cast<std::uint8_t const *>(wire.data()),
                                                      static_cast<int>(wire.size()));
        stream.SetRecursionLimit(max_depth);
        ASSERT_TRUE(message.ParseFromCodedStream(&stream) && stream.ConsumedEntireMessage());
    }

    static void expect_tree(detail::ZVal const &value)
    {
        int depth = 0;
        detail::ZVal const *innermost = &value;
        for (auto const *inside = &value; inside != nullptr; inside = GetParam().inside(*inside)) {
            innermost = inside;
            ++depth;
        }
        EXPECT_EQ(depth - 1, levels());
        EXPECT_EQ(notation(*innermost), "long 7");
        EXPECT_EQ(null_handles(value), 0U);
    }
};

TEST_P(HostileDepth, at_the_limit_of_parsing_is_built_walked_and_released)
{
    RpcValue message;
    parse(message);
    ZVal value(new detail::ZVal(message));
    message.Clear();
    expect_tree(*value);
    value.reset();
    EXPECT_FALSE(value);
}

TEST_P(HostileDepth, at_the_limit_of_parsing_is_written)
{
    RpcValue message;
    parse(message);
    detail::ZVal const value(message);

    google::protobuf::Arena arena;
    auto &written = *google::protobuf::Arena::Create<RpcValue>(&arena);
    value.to_protobuf(written);
    EXPECT_EQ(written.SerializeAsString(), bytes());
    expect_tree(detail::ZVal(written));
}

INSTANTIATE_TEST_SUITE_P(Of, HostileDepth, test::rows(nestings), test::by_name);

PelorinArray nested_arrays(int levels, ZVal const &innermost_key)
{
    auto array = php_elements({{innermost_key, php_null()}});
    for (int level = 1; level < levels; ++level)
        array = php_elements({{php_long(1), php_array(std::move(array))}});
    return array;
}

TEST(HostileDepth, difference_of_arrays_at_the_limit_of_parsing)
{
    constexpr int levels = max_depth / 3;
    auto const own = nested_arrays(levels, php_long(1));
    auto const other = nested_arrays(levels, php_long(2));

    EXPECT_EQ(notation(*own->diff_keys(*other)), notation(*other));
    EXPECT_EQ(notation(*own->diff_keys(*own)), "[]");
}

// Width.

#if defined(NDEBUG) && !defined(TARNWICK_SANITIZED)
constexpr int many = 2'000'000;
#else
constexpr int many = 1'000'000;
#endif

template <class Message>
class HostileWidth : public testing::Test {};
struct DialectName {
    template <class Message>
    static std::string GetName(int)
    {
        return std::is_same_v<Message, RpcArray> ? "rpc" : "protobuf";
    }
};
using Dialects = testing::Types<RpcArray, ProtobufArray>;
TYPED_TEST_SUITE(HostileWidth, Dialects, DialectName);

TYPED_TEST(HostileWidth, of_millions_of_elements_is_built_walked_and_released)
{
    PelorinArray array;
    {
        google::protobuf::Arena arena;
        auto &message = *google::protobuf::Arena::Create<TypeParam>(&arena);
        message.mutable_elements()->Reserve(many);
        for (int i = 0; i < many; ++i) {
            auto &element = *message.add_elements();
            element.set_long_key(i);
            if constexpr (std::is_same_v<TypeParam, ProtobufArray>)
                element.mutable_value()->set_type(ProtobufValue::TYPE_LONG);
            element.mutable_value()->set_long_value(-i);
        }
        array = PelorinArray(new detail::PelorinArray(message));
    }
    ASSERT_EQ(array->elements().size(), static_cast<std::size_t>(many));
    EXPECT_EQ(array->elements().capacity(), static_cast<std::size_t>(many));

    std::int64_t in_place = 0;
    for (std::int64_t i = 0; auto const &[key, value] : array->elements()) {
        in_place += std::get<std::int64_t>(key->value()) == i && std::get<std::int64_t>(value->value()) == -i;
        ++i;
    }
    EXPECT_EQ(in_place, many);
    array.reset();
    EXPECT_FALSE(array);
}

TEST(HostileArray, of_a_million_elements_of_two_bytes_each_is_read)
{
    constexpr int number = 1'000'000;
    std::string bytes;
    for (int i = 0; i < number; ++i)
        bytes += "\x0a\0"sv;
    google::protobuf::Arena arena;
    auto &message = *google::protobuf::Arena::Create<RpcArray>(&arena);
    ASSERT_TRUE(message.ParseFromString(bytes));

    detail::PelorinArray const array(message);
    EXPECT_EQ(array.elements().size(), static_cast<std::size_t>(number));
    EXPECT_EQ(null_handles(array), 0U);
}

} // namespace
} // namespace tarnwick::data::php::hostile_values_test
