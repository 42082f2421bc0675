#include <tarnwick/data/php/pelorin_object.h>

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
#include <new>
#include <string>
#include <type_traits>

namespace tarnwick::data::php {
namespace {

using Message = rpc::php::v1::PelorinObject;
using test::field_names;
using test::from_text;
using test::notation;
using test::PhpKind;
using test::Target;
using test::text_of;
using testing::ElementsAre;

// An object is never changed, and never copied: it is shared. It is always made from a message of the rpc dialect.
static_assert(!std::is_copy_constructible_v<detail::PelorinObject>);
static_assert(!std::is_move_constructible_v<detail::PelorinObject>);
static_assert(!std::is_copy_assignable_v<detail::PelorinObject>);
static_assert(!std::is_move_assignable_v<detail::PelorinObject>);
static_assert(!std::is_default_constructible_v<detail::PelorinObject>);
static_assert(!std::is_polymorphic_v<detail::PelorinObject>);
static_assert(sizeof(PelorinObject) == sizeof(void *));

PelorinObject from(std::string const &textproto)
{
    return PelorinObject(new detail::PelorinObject(from_text<Message>(textproto)));
}

TEST(PelorinObject, reads_every_field)
{
    auto const object = from(R"pb(
        class_name: 'App\\Entity\\Caf\303\251'
        properties {
            elements { string_key: 'p' value { long_value: 1 } }
            elements { long_key: 0 value { bool_value: false } }
        }
        value { string_value: 'v' })pb");

    EXPECT_EQ(object->class_name(), QString::fromUtf8("App\\Entity\\Caf\xc3\xa9"));
    EXPECT_EQ(notation(*object->properties()), "[string 'p' => long 1, long 0 => false]");
    EXPECT_EQ(notation(*object->value()), "string 'v'");
}

struct ReadingCase {
    char const *name;
    char const *textproto;
    char const *properties;
    char const *value;
};

ReadingCase const reading_cases[] = {
    {"nothing", "", "[]", "undefined"},
    {"empty_properties", "properties { }", "[]", "undefined"},
    {"empty_value", "value { }", "[]", "undefined"},
    {"properties_alone", "properties { elements { } }", "[undefined => undefined]", "undefined"},
    {"value_alone", "value { long_value: 5 }", "[]", "long 5"},
    {"value_null", "value { null_value: NULL_VALUE }", "[]", "null"},
    {"value_array", "value { array_value { elements { long_key: 1 } } }", "[]", "[long 1 => undefined]"},
    {"value_object", "value { object_value { properties { elements { long_key: 1 } } } }", "[]",
     "object '' [long 1 => undefined] undefined"},
};

class PelorinObjectReading : public test::TableTest<ReadingCase> {};

TEST_P(PelorinObjectReading, gives_no_null_handle)
{
    auto const object = from(GetParam().textproto);

    ASSERT_TRUE(object->properties());
    ASSERT_TRUE(object->value());
    EXPECT_EQ(notation(*object->properties()), GetParam().properties);
    EXPECT_EQ(notation(*object->value()), GetParam().value);
    EXPECT_EQ(test::null_handles(*object->properties()) + test::null_handles(*object->value()), 0U);
}

INSTANTIATE_TEST_SUITE_P(Cases, PelorinObjectReading, test::rows(reading_cases), test::by_name);

TEST(PelorinObject, without_properties_holds_an_empty_array)
{
    auto const object = from("class_name: 'C' value { long_value: 5 }");
    ASSERT_TRUE(object->properties());
    EXPECT_TRUE(object->properties()->elements().empty());
    EXPECT_EQ(object->properties()->elements().capacity(), 0U);
}

TEST(PelorinObject, without_a_value_holds_an_undefined_one)
{
    auto const object = from("class_name: 'C' properties { elements { } }");
    ASSERT_TRUE(object->value());
    EXPECT_EQ(object->value()->kind(), PhpKind::undefined);
}

TEST(PelorinObject, a_class_name_is_decoded_whole_and_never_null)
{
    Message message;
    EXPECT_TRUE(detail::PelorinObject(message).class_name().isEmpty());
    EXPECT_FALSE(detail::PelorinObject(message).class_name().isNull());

    message.set_class_name(std::string("class@anonymous\0/a.php:3", 24));
    EXPECT_EQ(detail::PelorinObject(message).class_name().size(), 24);
    EXPECT_EQ(detail::PelorinObject(message).class_name().at(15), QChar(u'\0'));
}

TEST(PelorinObject, takes_one_block_for_each_part)
{
    struct {
        char const *textproto;
        std::size_t blocks;
    } const cases[] = {
        {"", 2},
        {"class_name: 'C'", 3},
        {"properties { }", 2},
        {"value { long_value: 5 }", 2},
        {"value { string_value: 'a string with a block of its own' }", 3},
        {"properties { elements { long_key: 1 value { long_value: 5 } } }", 5},
        {"class_name: 'C' properties { elements { } elements { } } value { array_value { } }", 9},
    };
    alignas(detail::PelorinObject) std::byte place[sizeof(detail::PelorinObject)];
    for (auto const &row : cases) {
        auto const message = from_text<Message>(row.textproto);
        EXPECT_EQ(test::allocations_of([&] { (new (place) detail::PelorinObject(message))->~PelorinObject(); }),
                  row.blocks)
            << row.textproto;
    }
}

TEST(PelorinObject, exists_in_rpc_alone)
{
    auto const &file = *pelorin::protobuf::PelorinPHP::ZVal::descriptor()->file();
    EXPECT_EQ(file.FindMessageTypeByName("PelorinObject"), nullptr);
    EXPECT_NE(file.FindMessageTypeByName("PelorinArray"), nullptr);
}

// The way back.

struct WritingCase {
    char const *name;
    char const *textproto;
    char const *written;
    char const *read_back;
};

WritingCase const writing_cases[] = {
    {"nothing", "", "", "object '' [] undefined"},
    {"class_name", "class_name: 'Caf\\303\\251'", "class_name: 'Caf\\303\\251'", "object 'Caf\\xc3\\xa9' [] undefined"},
    {"class_name_with_nul", "class_name: 'a\\000b'", "class_name: 'a\\000b'", "object 'a\\x00b' [] undefined"},
    {"properties_without_elements", "class_name: 'C' properties { }", "class_name: 'C'", "object 'C' [] undefined"},
    {"properties", "properties { elements { long_key: 1 value { long_value: 5 } } }",
     "properties { elements { long_key: 1 value { long_value: 5 } } }", "object '' [long 1 => long 5] undefined"},
    {"value_undefined", "class_name: 'C' value { }", "class_name: 'C'", "object 'C' [] undefined"},
    {"value_null", "value { null_value: NULL_VALUE }", "value { }", "object '' [] undefined"},
    {"value", "value { bool_value: false }", "value { bool_value: false }", "object '' [] false"},
    {"value_array_empty", "value { array_value { } }", "value { array_value { } }", "object '' [] []"},
    {"everything", "class_name: 'C' properties { elements { value { } } } value { string_value: 'v' }",
     "class_name: 'C' properties { elements { value { } } } value { string_value: 'v' }",
     "object 'C' [undefined => undefined] string 'v'"},
};

class PelorinObjectWriting : public test::TableTest<WritingCase> {};

TEST_P(PelorinObjectWriting, and_reading_back)
{
    for (bool const on_arena : {false, true}) {
        Target<Message> message(on_arena);
        from(GetParam().textproto)->to_protobuf(*message);
        EXPECT_EQ(text_of(*message), text_of(from_text<Message>(GetParam().written)));
        EXPECT_EQ(notation(*php_object(PelorinObject(new detail::PelorinObject(*message)))), GetParam().read_back);
    }
}

INSTANTIATE_TEST_SUITE_P(Cases, PelorinObjectWriting, test::rows(writing_cases), test::by_name);

TEST(PelorinObjectToProtobuf, without_properties_and_value_writes_only_the_class_name_even_an_empty_one)
{
    auto message = from_text<Message>("class_name: 'before'");
    from("")->to_protobuf(message);

    EXPECT_EQ(message.class_name(), "");
    EXPECT_FALSE(message.has_properties());
    EXPECT_FALSE(message.has_value());
}

TEST(PelorinObjectToProtobuf, what_is_there_is_merged_into_and_reused)
{
    auto message =
        from_text<Message>("class_name: 'before' properties { elements { long_key: 1 } } value { bool_value: true }");
    auto const *properties = &message.properties();
    auto const *value = &message.value();
    from("class_name: 'C' properties { elements { long_key: 2 } } value { long_value: 5 }")->to_protobuf(message);

    EXPECT_EQ(text_of(message),
              text_of(from_text<Message>("class_name: 'C' properties { elements { long_key: 1 } elements { long_key: 2 "
                                         "value { } } } value { long_value: 5 }")));
    EXPECT_EQ(&message.properties(), properties);
    EXPECT_EQ(&message.value(), value);
}

TEST(PelorinObjectToProtobuf, empty_parts_leave_what_is_there)
{
    auto message = from_text<Message>("properties { elements { long_key: 1 } } value { bool_value: true }");
    from("class_name: 'C'")->to_protobuf(message);

    EXPECT_EQ(text_of(message), text_of(from_text<Message>("class_name: 'C' properties { elements { long_key: 1 } } "
                                                           "value { bool_value: true }")));
}

TEST(PelorinObjectToProtobuf, parts_live_on_the_arena_of_the_target)
{
    google::protobuf::Arena arena;
    auto &message = *google::protobuf::Arena::Create<Message>(&arena);
    from("class_name: 'C' properties { elements { } } value { long_value: 5 }")->to_protobuf(message);

    EXPECT_EQ(message.properties().GetArena(), &arena);
    EXPECT_EQ(message.properties().elements(0).GetArena(), &arena);
    EXPECT_EQ(message.value().GetArena(), &arena);
}

TEST(PelorinObject, goes_through_a_variant)
{
    auto const object = from("class_name: 'C'");
    auto const variant = QVariant::fromValue(object);

    EXPECT_STREQ(variant.metaType().name(), "tarnwick::data::php::PelorinObject");
    EXPECT_EQ(variant.value<PelorinObject>().get(), object.get());
}

TEST(PelorinObject, message_fields_are_all_read)
{
    EXPECT_THAT(field_names<Message>(), ElementsAre("class_name", "properties", "value"));
}

} // namespace
} // namespace tarnwick::data::php
