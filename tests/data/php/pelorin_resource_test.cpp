// What objects and resources have in common is in objects_and_resources_test.cpp.

#include <tarnwick/data/php/pelorin_resource.h>

#include "support/message_fields.h"
#include "support/php_values.h"
#include "support/textproto.h"
#include "support/wire.h"

#include <tarnwick/rpc/php/v1/zval.pb.h>

#include <gmock/gmock.h>

#include <string>

namespace tarnwick::data::php::pelorin_resource_test {
namespace {

using Message = rpc::php::v1::PelorinResource;
using test::from_text;
using test::text_of;

PelorinResource from(std::string const &textproto)
{
    return test::record_from_text<PelorinResource, Message>(textproto);
}

TEST(PelorinResource, reads_every_field)
{
    auto const resource = from("type_name: 'curl \\303\\251' value { long_value: 7 }");

    EXPECT_EQ(resource->type_name(), QString::fromUtf8("curl \xc3\xa9"));
    EXPECT_EQ(test::notation(*resource->value()), "long 7");
}

TEST(PelorinResource, writes_an_empty_type_name)
{
    auto message = from_text<Message>("type_name: 'before'");
    from("")->to_protobuf(message);

    EXPECT_EQ(message.type_name(), "");
    EXPECT_FALSE(message.has_value());
}

TEST(PelorinResource, merges_into_the_value_of_a_message)
{
    auto message = from_text<Message>("type_name: 'before' value { bool_value: true }");
    auto const *value = &message.value();
    from("type_name: 'r'")->to_protobuf(message);
    EXPECT_EQ(text_of(message), text_of(from_text<Message>("type_name: 'r' value { bool_value: true }")));

    from("type_name: 'r' value { long_value: 5 }")->to_protobuf(message);
    EXPECT_EQ(text_of(message), text_of(from_text<Message>("type_name: 'r' value { long_value: 5 }")));
    EXPECT_EQ(&message.value(), value);
}

TEST(PelorinResource, writes_its_value_on_the_arena_of_the_message)
{
    google::protobuf::Arena arena;
    auto &message = *google::protobuf::Arena::Create<Message>(&arena);
    from("value { long_value: 5 }")->to_protobuf(message);
    EXPECT_EQ(message.value().GetArena(), &arena);
}

TEST(PelorinResource, message_fields_are_all_read)
{
    EXPECT_THAT(test::field_names<Message>(), testing::ElementsAre("type_name", "value"));
}

} // namespace
} // namespace tarnwick::data::php::pelorin_resource_test
