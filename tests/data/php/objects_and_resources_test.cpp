// PHP objects and resources are records of their own that follow the same rules.

#include <tarnwick/data/php/pelorin_object.h>
#include <tarnwick/data/php/pelorin_resource.h>

#include "support/allocations.h"
#include "support/php_values.h"
#include "support/table.h"
#include "support/textproto.h"
#include "support/wire.h"

#include <pelorin/protobuf/PelorinPHP/zval.pb.h>
#include <tarnwick/rpc/php/v1/zval.pb.h>

#include <gtest/gtest.h>

#include <QtCore/QVariant>

#include <cstddef>
#include <string>
#include <type_traits>

namespace tarnwick::data::php::objects_and_resources_test {
namespace {

using test::from_text;
using test::notation;
using test::PhpKind;

struct AllocationCase {
    char const *textproto;
    std::size_t blocks;
};

struct Object {
    using Handle = PelorinObject;
    using Message = rpc::php::v1::PelorinObject;
    static constexpr auto type = "PelorinObject";
    static constexpr auto name_field = "class_name";
    static constexpr AllocationCase allocations[] = {
        {"", 2},
        {"class_name: 'C'", 3},
        {"properties { }", 2},
        {"value { long_value: 5 }", 2},
        {"value { string_value: 'a string with a block of its own' }", 3},
        {"properties { elements { long_key: 1 value { long_value: 5 } } }", 5},
        {"class_name: 'C' properties { elements { } elements { } } value { array_value { } }", 9},
    };
    static QString const &name(Handle const &object) { return object->class_name(); }
    static ZVal value(Handle const &object) { return php_object(object); }
};

struct Resource {
    using Handle = PelorinResource;
    using Message = rpc::php::v1::PelorinResource;
    static constexpr auto type = "PelorinResource";
    static constexpr auto name_field = "type_name";
    static constexpr AllocationCase allocations[] = {
        {"", 1},
        {"type_name: 'r'", 2},
        {"value { long_value: 5 }", 1},
        {"type_name: 'r' value { array_value { elements { } } }", 6},
    };
    static QString const &name(Handle const &resource) { return resource->type_name(); }
    static ZVal value(Handle const &resource) { return php_resource(resource); }
};

template <class Kind>
Kind::Handle from(std::string const &textproto)
{
    return test::record_from_text<typename Kind::Handle, typename Kind::Message>(textproto);
}

template <class Kind>
class ObjectsAndResources : public testing::Test {
    using Payload = Kind::Handle::Type;

    // Payloads are shared and never change, so they are never copied. Each is built from a message of the rpc dialect.
    static_assert(!std::is_copy_constructible_v<Payload>);
    static_assert(!std::is_move_constructible_v<Payload>);
    static_assert(!std::is_copy_assignable_v<Payload>);
    static_assert(!std::is_move_assignable_v<Payload>);
    static_assert(!std::is_default_constructible_v<Payload>);
    static_assert(!std::is_polymorphic_v<Payload>);
    static_assert(sizeof(typename Kind::Handle) == sizeof(void *));
};

using Kinds = testing::Types<Object, Resource>;
TYPED_TEST_SUITE(ObjectsAndResources, Kinds, );

TYPED_TEST(ObjectsAndResources, without_a_value_have_an_undefined_one)
{
    auto const record = from<TypeParam>(std::string(TypeParam::name_field) + ": 'stream'");
    ASSERT_TRUE(record->value());
    EXPECT_EQ(record->value()->kind(), PhpKind::undefined);
}

TYPED_TEST(ObjectsAndResources, have_a_name_that_is_never_null)
{
    EXPECT_TRUE(TypeParam::name(from<TypeParam>("")).isEmpty());
    EXPECT_FALSE(TypeParam::name(from<TypeParam>("")).isNull());
}

TYPED_TEST(ObjectsAndResources, keep_nul_bytes_in_a_name)
{
    auto const record = from<TypeParam>(std::string(TypeParam::name_field) + R"(: 'class@anonymous\000/a.php:3')");
    EXPECT_EQ(TypeParam::name(record), QString::fromUtf8(QByteArrayView("class@anonymous\0/a.php:3", 24)));
}

TYPED_TEST(ObjectsAndResources, allocate_one_block_for_each_part)
{
    for (auto const &[textproto, blocks] : TypeParam::allocations) {
        auto const message = from_text<typename TypeParam::Message>(textproto);
        EXPECT_EQ(test::allocations_to_build<typename TypeParam::Handle::Type>(message), blocks) << textproto;
    }
}

TYPED_TEST(ObjectsAndResources, exist_only_in_the_rpc_dialect)
{
    auto const &file = *pelorin::protobuf::PelorinPHP::ZVal::descriptor()->file();
    EXPECT_EQ(file.FindMessageTypeByName(TypeParam::type), nullptr);
    EXPECT_NE(file.FindMessageTypeByName("PelorinArray"), nullptr);
}

TYPED_TEST(ObjectsAndResources, round_trip_through_a_qvariant)
{
    auto const record = from<TypeParam>("value { long_value: 5 }");
    auto const variant = QVariant::fromValue(record);

    EXPECT_EQ(variant.metaType().name(), std::string("tarnwick::data::php::") + TypeParam::type);
    EXPECT_EQ(variant.template value<typename TypeParam::Handle>().get(), record.get());
}

struct ReadingCase {
    char const *name;
    ZVal (*read)(std::string const &textproto);
    char const *textproto;
    char const *notation;
};

template <class Kind>
ZVal read(std::string const &textproto)
{
    return Kind::value(from<Kind>(textproto));
}

ReadingCase const reading_cases[] = {
    {"object_nothing", read<Object>, "", "object '' [] undefined"},
    {"object_empty_properties", read<Object>, "properties { }", "object '' [] undefined"},
    {"object_empty_value", read<Object>, "value { }", "object '' [] undefined"},
    {"object_properties_alone", read<Object>, "properties { elements { } }",
     "object '' [undefined => undefined] undefined"},
    {"object_value_alone", read<Object>, "value { long_value: 5 }", "object '' [] long 5"},
    {"object_value_null", read<Object>, "value { null_value: NULL_VALUE }", "object '' [] null"},
    {"object_value_array", read<Object>, "value { array_value { elements { long_key: 1 } } }",
     "object '' [] [long 1 => undefined]"},
    {"object_value_object", read<Object>, "value { object_value { properties { elements { long_key: 1 } } } }",
     "object '' [] object '' [long 1 => undefined] undefined"},
    {"resource_nothing", read<Resource>, "", "resource '' undefined"},
    {"resource_empty_value", read<Resource>, "value { }", "resource '' undefined"},
    {"resource_value_null", read<Resource>, "value { null_value: NULL_VALUE }", "resource '' null"},
    {"resource_value_array", read<Resource>, "value { array_value { elements { } } }",
     "resource '' [undefined => undefined]"},
    {"resource_value_resource", read<Resource>, "value { resource_value { value { long_value: 5 } } }",
     "resource '' resource '' long 5"},
};

class ObjectOrResourceReading : public test::TableTest<ReadingCase> {};

TEST_P(ObjectOrResourceReading, returns_no_null_handle)
{
    auto const value = GetParam().read(GetParam().textproto);

    EXPECT_EQ(notation(*value), GetParam().notation);
    EXPECT_EQ(test::null_handles(*value), 0U);
}

INSTANTIATE_TEST_SUITE_P(Cases, ObjectOrResourceReading, test::rows(reading_cases), test::by_name);

struct WritingCase {
    char const *name;
    void (*expect)(WritingCase const &row, bool on_arena);
    char const *textproto;
    char const *written;
    char const *read_back;
};

template <class Kind>
void expect_written(WritingCase const &row, bool on_arena)
{
    test::Target<typename Kind::Message> message(on_arena);
    from<Kind>(row.textproto)->to_protobuf(*message);
    EXPECT_EQ(test::text_of(*message), test::text_of(from_text<typename Kind::Message>(row.written)));
    typename Kind::Handle const read_back(new Kind::Handle::Type(*message));
    EXPECT_EQ(notation(*Kind::value(read_back)), row.read_back);
}

constexpr auto object = expect_written<Object>;
constexpr auto resource = expect_written<Resource>;

WritingCase const writing_cases[] = {
    {"object_nothing", object, "", "", "object '' [] undefined"},
    {"object_class_name", object, R"(class_name: 'Caf\303\251')", R"(class_name: 'Caf\303\251')",
     R"(object 'Caf\xc3\xa9' [] undefined)"},
    {"object_class_name_with_nul", object, R"(class_name: 'a\000b')", R"(class_name: 'a\000b')",
     R"(object 'a\x00b' [] undefined)"},
    {"object_properties_without_elements", object, "class_name: 'C' properties { }", "class_name: 'C'",
     "object 'C' [] undefined"},
    {"object_properties", object, "properties { elements { long_key: 1 value { long_value: 5 } } }",
     "properties { elements { long_key: 1 value { long_value: 5 } } }", "object '' [long 1 => long 5] undefined"},
    {"object_value_undefined", object, "class_name: 'C' value { }", "class_name: 'C'", "object 'C' [] undefined"},
    {"object_value_null", object, "value { null_value: NULL_VALUE }", "value { }", "object '' [] undefined"},
    {"object_value", object, "value { bool_value: false }", "value { bool_value: false }", "object '' [] false"},
    {"object_value_array_empty", object, "value { array_value { } }", "value { array_value { } }", "object '' [] []"},
    {"object_everything", object, "class_name: 'C' properties { elements { value { } } } value { string_value: 'v' }",
     "class_name: 'C' properties { elements { value { } } } value { string_value: 'v' }",
     "object 'C' [undefined => undefined] string 'v'"},
    {"resource_nothing", resource, "", "", "resource '' undefined"},
    {"resource_type_name", resource, R"(type_name: 'a\000\303\251')", R"(type_name: 'a\000\303\251')",
     R"(resource 'a\x00\xc3\xa9' undefined)"},
    {"resource_value_undefined", resource, "type_name: 'r' value { }", "type_name: 'r'", "resource 'r' undefined"},
    {"resource_value_null", resource, "value { null_value: NULL_VALUE }", "value { }", "resource '' undefined"},
    {"resource_value", resource, "type_name: 'r' value { long_value: 0 }", "type_name: 'r' value { long_value: 0 }",
     "resource 'r' long 0"},
};

class ObjectOrResourceWriting : public test::TableTest<WritingCase> {};

TEST_P(ObjectOrResourceWriting, and_reading_back_returns_what_the_message_can_carry)
{
    for (bool const on_arena : {false, true})
        GetParam().expect(GetParam(), on_arena);
}

INSTANTIATE_TEST_SUITE_P(Cases, ObjectOrResourceWriting, test::rows(writing_cases), test::by_name);

} // namespace
} // namespace tarnwick::data::php::objects_and_resources_test
