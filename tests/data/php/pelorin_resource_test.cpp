#include <tarnwick/data/php/pelorin_resource.h>

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

using Message = rpc::php::v1::PelorinResource;
using test::field_names;
using test::from_text;
using test::notation;
using test::PhpKind;
using test::Target;
using test::text_of;
using testing::ElementsAre;

// A resource is never changed, and never copied: it is shared. It is always made from a message of the rpc dialect.
static_assert(!std::is_copy_constructible_v<detail::PelorinResource>);
static_assert(!std::is_move_constructible_v<detail::PelorinResource>);
static_assert(!std::is_copy_assignable_v<detail::PelorinResource>);
static_assert(!std::is_move_assignable_v<detail::PelorinResource>);
static_assert(!std::is_default_constructible_v<detail::PelorinResource>);
static_assert(!std::is_polymorphic_v<detail::PelorinResource>);
static_assert(sizeof(PelorinResource) == sizeof(void *));

PelorinResource from(std::string const &textproto)
{
    return PelorinResource(new detail::PelorinResource(from_text<Message>(textproto)));
}

TEST(PelorinResource, reads_every_field)
{
    auto const resource = from("type_name: 'curl \\303\\251' value { long_value: 7 }");

    EXPECT_EQ(resource->type_name(), QString::fromUtf8("curl \xc3\xa9"));
    EXPECT_EQ(notation(*resource->value()), "long 7");
}

struct ReadingCase {
    char const *name;
    char const *textproto;
    char const *value;
};

ReadingCase const reading_cases[] = {
    {"nothing", "", "undefined"},
    {"empty_value", "value { }", "undefined"},
    {"value_null", "value { null_value: NULL_VALUE }", "null"},
    {"value_array", "value { array_value { elements { } } }", "[undefined => undefined]"},
    {"value_resource", "value { resource_value { value { long_value: 5 } } }", "resource '' long 5"},
};

class PelorinResourceReading : public test::TableTest<ReadingCase> {};

TEST_P(PelorinResourceReading, gives_no_null_handle)
{
    auto const resource = from(GetParam().textproto);

    ASSERT_TRUE(resource->value());
    EXPECT_EQ(notation(*resource->value()), GetParam().value);
    EXPECT_EQ(test::null_handles(*resource->value()), 0U);
}

INSTANTIATE_TEST_SUITE_P(Cases, PelorinResourceReading, test::rows(reading_cases), test::by_name);

TEST(PelorinResource, without_a_value_holds_an_undefined_one)
{
    auto const resource = from("type_name: 'stream'");
    ASSERT_TRUE(resource->value());
    EXPECT_EQ(resource->value()->kind(), PhpKind::undefined);
}

TEST(PelorinResource, a_type_name_is_decoded_whole_and_never_null)
{
    Message message;
    EXPECT_TRUE(detail::PelorinResource(message).type_name().isEmpty());
    EXPECT_FALSE(detail::PelorinResource(message).type_name().isNull());

    message.set_type_name(std::string("a\0b", 3));
    EXPECT_EQ(detail::PelorinResource(message).type_name(), QString::fromUtf8(QByteArrayView("a\0b", 3)));
}

TEST(PelorinResource, takes_one_block_for_each_part)
{
    struct {
        char const *textproto;
        std::size_t blocks;
    } const cases[] = {
        {"", 1},
        {"type_name: 'r'", 2},
        {"value { long_value: 5 }", 1},
        {"type_name: 'r' value { array_value { elements { } } }", 6},
    };
    alignas(detail::PelorinResource) std::byte place[sizeof(detail::PelorinResource)];
    for (auto const &row : cases) {
        auto const message = from_text<Message>(row.textproto);
        EXPECT_EQ(test::allocations_of([&] { (new (place) detail::PelorinResource(message))->~PelorinResource(); }),
                  row.blocks)
            << row.textproto;
    }
}

TEST(PelorinResource, exists_in_rpc_alone)
{
    auto const &file = *pelorin::protobuf::PelorinPHP::ZVal::descriptor()->file();
    EXPECT_EQ(file.FindMessageTypeByName("PelorinResource"), nullptr);
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
    {"nothing", "", "", "resource '' undefined"},
    {"type_name", "type_name: 'a\\000\\303\\251'", "type_name: 'a\\000\\303\\251'",
     "resource 'a\\x00\\xc3\\xa9' undefined"},
    {"value_undefined", "type_name: 'r' value { }", "type_name: 'r'", "resource 'r' undefined"},
    {"value_null", "value { null_value: NULL_VALUE }", "value { }", "resource '' undefined"},
    {"value", "type_name: 'r' value { long_value: 0 }", "type_name: 'r' value { long_value: 0 }",
     "resource 'r' long 0"},
};

class PelorinResourceWriting : public test::TableTest<WritingCase> {};

TEST_P(PelorinResourceWriting, and_reading_back)
{
    for (bool const on_arena : {false, true}) {
        Target<Message> message(on_arena);
        from(GetParam().textproto)->to_protobuf(*message);
        EXPECT_EQ(text_of(*message), text_of(from_text<Message>(GetParam().written)));
        EXPECT_EQ(notation(*php_resource(PelorinResource(new detail::PelorinResource(*message)))),
                  GetParam().read_back);
    }
}

INSTANTIATE_TEST_SUITE_P(Cases, PelorinResourceWriting, test::rows(writing_cases), test::by_name);

TEST(PelorinResourceToProtobuf, an_empty_type_name_is_written)
{
    auto message = from_text<Message>("type_name: 'before'");
    from("")->to_protobuf(message);

    EXPECT_EQ(message.type_name(), "");
    EXPECT_FALSE(message.has_value());
}

TEST(PelorinResourceToProtobuf, what_is_there_is_merged_into_and_reused)
{
    auto message = from_text<Message>("type_name: 'before' value { bool_value: true }");
    auto const *value = &message.value();
    from("type_name: 'r'")->to_protobuf(message);
    EXPECT_EQ(text_of(message), text_of(from_text<Message>("type_name: 'r' value { bool_value: true }")));

    from("type_name: 'r' value { long_value: 5 }")->to_protobuf(message);
    EXPECT_EQ(text_of(message), text_of(from_text<Message>("type_name: 'r' value { long_value: 5 }")));
    EXPECT_EQ(&message.value(), value);
}

TEST(PelorinResourceToProtobuf, the_value_lives_on_the_arena_of_the_target)
{
    google::protobuf::Arena arena;
    auto &message = *google::protobuf::Arena::Create<Message>(&arena);
    from("value { long_value: 5 }")->to_protobuf(message);
    EXPECT_EQ(message.value().GetArena(), &arena);
}

TEST(PelorinResource, goes_through_a_variant)
{
    auto const resource = from("type_name: 'r'");
    auto const variant = QVariant::fromValue(resource);

    EXPECT_STREQ(variant.metaType().name(), "tarnwick::data::php::PelorinResource");
    EXPECT_EQ(variant.value<PelorinResource>().get(), resource.get());
}

TEST(PelorinResource, message_fields_are_all_read)
{
    EXPECT_THAT(field_names<Message>(), ElementsAre("type_name", "value"));
}

} // namespace
} // namespace tarnwick::data::php
