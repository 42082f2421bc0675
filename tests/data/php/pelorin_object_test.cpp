// What objects and resources have in common is in objects_and_resources_test.cpp.

#include <tarnwick/data/php/pelorin_object.h>

#include "support/message_fields.h"
#include "support/php_values.h"
#include "support/textproto.h"
#include "support/wire.h"

#include <tarnwick/rpc/php/v1/zval.pb.h>

#include <gmock/gmock.h>

#include <string>

namespace tarnwick::data::php::pelorin_object_test {
namespace {

using Message = rpc::php::v1::PelorinObject;
using test::from_text;
using test::notation;
using test::text_of;

PelorinObject from(std::string const &textproto)
{
    return test::record_from_text<PelorinObject, Message>(textproto);
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

TEST(PelorinObject, without_properties_has_an_empty_array)
{
    auto const object = from("class_name: 'C' value { long_value: 5 }");
    ASSERT_TRUE(object->properties());
    EXPECT_TRUE(object->properties()->elements().empty());
    EXPECT_EQ(object->properties()->elements().capacity(), 0U);
}

TEST(PelorinObject, without_properties_and_value_writes_only_the_class_name_even_when_it_is_empty)
{
    auto message = from_text<Message>("class_name: 'before'");
    from("")->to_protobuf(message);

    EXPECT_EQ(message.class_name(), "");
    EXPECT_FALSE(message.has_properties());
    EXPECT_FALSE(message.has_value());
}

TEST(PelorinObject, merges_into_the_parts_of_a_message)
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

TEST(PelorinObject, with_empty_parts_keeps_those_of_a_message)
{
    auto message = from_text<Message>("properties { elements { long_key: 1 } } value { bool_value: true }");
    from("class_name: 'C'")->to_protobuf(message);

    EXPECT_EQ(text_of(message), text_of(from_text<Message>("class_name: 'C' properties { elements { long_key: 1 } } "
                                                           "value { bool_value: true }")));
}

TEST(PelorinObject, writes_its_parts_on_the_arena_of_the_message)
{
    google::protobuf::Arena arena;
    auto &message = *google::protobuf::Arena::Create<Message>(&arena);
    from("class_name: 'C' properties { elements { } } value { long_value: 5 }")->to_protobuf(message);

    EXPECT_EQ(message.properties().GetArena(), &arena);
    EXPECT_EQ(message.properties().elements(0).GetArena(), &arena);
    EXPECT_EQ(message.value().GetArena(), &arena);
}

TEST(PelorinObject, message_fields_are_all_read)
{
    EXPECT_THAT(test::field_names<Message>(), testing::ElementsAre("class_name", "properties", "value"));
}

} // namespace
} // namespace tarnwick::data::php::pelorin_object_test
