#include <tarnwick/data/php/stack_trace.h>

#include "support/allocations.h"
#include "support/lists.h"
#include "support/message_fields.h"
#include "support/textproto.h"

#include <pelorin/protobuf/PelorinPHP/stack_trace.pb.h>
#include <tarnwick/rpc/php/v1/function.pb.h>

#include <gmock/gmock.h>

#include <QtCore/QVariant>

#include <string>
#include <type_traits>
#include <utility>

namespace tarnwick::data::php::stack_trace_test {
namespace {

using RpcStackTrace = rpc::php::v1::StackTrace;
using ProtobufStackTrace = pelorin::protobuf::PelorinPHP::StackTrace;
using ProtobufFrames = google::protobuf::RepeatedPtrField<pelorin::protobuf::PelorinPHP::StackTraceFrame>;
using test::allocations_of;
using test::field_names;
using test::from_text;
using testing::ElementsAre;
using namespace Qt::StringLiterals;

static_assert(std::is_nothrow_move_constructible_v<StackTrace>);
static_assert(std::is_nothrow_move_assignable_v<StackTrace>);

/// The three messages that a stack trace is built from.
struct Rpc {
    using Message = RpcStackTrace;
    static StackTrace trace(Message const &message) { return StackTrace(message); }
    static std::string frame(std::string const &name, int number)
    {
        return "frames { function { name: '" + name + "' } frame_number: " + std::to_string(number) + " } ";
    }
};

struct Protobuf {
    using Message = ProtobufStackTrace;
    static StackTrace trace(Message const &message) { return StackTrace(message); }
    static std::string frame(std::string const &name, int number)
    {
        return "frames { name: '" + name + "' frame_number: " + std::to_string(number) + " } ";
    }
};

struct FramesOfProtobuf : Protobuf {
    static StackTrace trace(Message const &message) { return StackTrace(message.frames()); }
};

template <class Source>
class StackTraceFrom : public testing::Test {
public:
    using Message = Source::Message;

    static Message message_of(int frames)
    {
        std::string textproto;
        for (int i = 0; i < frames; ++i)
            textproto += Source::frame("function_" + std::to_string(i), i);
        return from_text<Message>(textproto);
    }
};

using Sources = testing::Types<Rpc, Protobuf, FramesOfProtobuf>;
TYPED_TEST_SUITE(StackTraceFrom, Sources);

TYPED_TEST(StackTraceFrom, without_frames_is_an_empty_list_without_memory)
{
    typename TypeParam::Message const message;
    EXPECT_TRUE(TypeParam::trace(message).frames().isEmpty());
    EXPECT_EQ(allocations_of([&] { TypeParam::trace(message); }), 0U);
}

TYPED_TEST(StackTraceFrom, keeps_the_order_and_repetitions_of_frames)
{
    auto const trace = TypeParam::trace(
        from_text<typename TypeParam::Message>(TypeParam::frame("inner", 9) + TypeParam::frame("again", 2) +
                                               TypeParam::frame("again", 2) + TypeParam::frame("outer", 5)));

    ASSERT_EQ(trace.frames().size(), 4);
    EXPECT_EQ(trace.frames()[0].name(), u"inner"_s);
    EXPECT_EQ(trace.frames()[0].frame_number(), 9U);
    EXPECT_EQ(trace.frames()[1].name(), u"again"_s);
    EXPECT_EQ(trace.frames()[2].name(), u"again"_s);
    EXPECT_EQ(trace.frames()[2].frame_number(), 2U);
    EXPECT_EQ(trace.frames()[3].name(), u"outer"_s);
    EXPECT_EQ(trace.frames()[3].frame_number(), 5U);
}

TYPED_TEST(StackTraceFrom, an_empty_frame_is_a_call_without_a_name)
{
    auto const trace =
        TypeParam::trace(from_text<typename TypeParam::Message>("frames { } frames { frame_number: 7 }"));

    ASSERT_EQ(trace.frames().size(), 2);
    EXPECT_TRUE(trace.frames()[0].name().isEmpty());
    EXPECT_EQ(trace.frames()[0].frame_number(), 0U);
    EXPECT_TRUE(trace.frames()[1].name().isEmpty());
    EXPECT_EQ(trace.frames()[1].frame_number(), 7U);
    EXPECT_TRUE(trace.frames()[1].args()->elements().empty());
}

TYPED_TEST(StackTraceFrom, the_list_is_the_only_owner_of_its_frames)
{
    auto const trace = TypeParam::trace(this->message_of(100));

    ASSERT_EQ(trace.frames().size(), 100);
    for (qsizetype i = 0; i < trace.frames().size(); ++i) {
        auto const &frame = trace.frames()[i];
        EXPECT_EQ(frame.name(), u"function_"_s + QString::number(i));
        EXPECT_EQ(frame.args()->ref.loadRelaxed(), 1);
        EXPECT_TRUE(frame.name().isDetached());
    }
}

TYPED_TEST(StackTraceFrom, does_not_reserve_memory_for_its_list)
{
    auto const trace = TypeParam::trace(this->message_of(100));
    EXPECT_EQ(trace.frames().capacity(), test::appended_one_by_one(trace.frames()).capacity());
}

TYPED_TEST(StackTraceFrom, a_frame_without_arguments_allocates_their_payload_and_its_name)
{
    auto const message = this->message_of(100);
    auto const trace = TypeParam::trace(message);
    auto const growth = allocations_of([&] { test::appended_one_by_one(trace.frames()); });
    EXPECT_EQ(allocations_of([&] { TypeParam::trace(message); }), 100U * 2U + growth);
}

TYPED_TEST(StackTraceFrom, a_copy_shares_its_frames)
{
    auto const trace = TypeParam::trace(this->message_of(3));
    StackTrace copy;
    EXPECT_EQ(allocations_of([&] { copy = trace; }), 0U);
    EXPECT_EQ(copy.frames().constData(), trace.frames().constData());
    EXPECT_EQ(trace.frames()[0].args()->ref.loadRelaxed(), 1);
}

TYPED_TEST(StackTraceFrom, a_move_keeps_the_frames_in_place)
{
    auto trace = TypeParam::trace(this->message_of(3));
    auto const *const frames = trace.frames().constData();
    StackTrace const moved(std::move(trace));
    EXPECT_EQ(moved.frames().constData(), frames);
    EXPECT_EQ(moved.frames()[0].args()->ref.loadRelaxed(), 1);
}

TYPED_TEST(StackTraceFrom, a_copied_frame_shares_its_arguments_and_outlives_the_trace)
{
    auto trace = TypeParam::trace(this->message_of(2));
    auto const frame = trace.frames()[1];
    EXPECT_EQ(frame.args()->ref.loadRelaxed(), 2);
    trace = StackTrace();
    EXPECT_EQ(frame.args()->ref.loadRelaxed(), 1);
    EXPECT_EQ(frame.name(), u"function_1"_s);
}

TEST(StackTrace, is_empty_by_default)
{
    EXPECT_TRUE(StackTrace().frames().isEmpty());
}

TEST(StackTrace, reads_every_part_of_an_rpc_frame)
{
    StackTrace const trace(from_text<RpcStackTrace>(R"pb(
        frames {
            function {
                name: "f"
                location { line: 12 line_extra: 3 }
                arguments { elements { long_key: 0 value { string_value: "x" } } }
                call_value { long_value: 5 }
            }
            frame_number: 7
        })pb"));

    ASSERT_EQ(trace.frames().size(), 1);
    auto const &frame = trace.frames()[0];
    EXPECT_EQ(frame.name(), u"f"_s);
    EXPECT_EQ(frame.args()->elements().size(), 1U);
    EXPECT_TRUE(frame.call_value());
    ASSERT_TRUE(frame.location());
    EXPECT_EQ(frame.location()->line_extra(), 3U);
    EXPECT_EQ(frame.frame_number(), 7U);
}

TEST(StackTrace, reads_every_part_of_a_protobuf_frame_by_either_constructor)
{
    auto const message = from_text<ProtobufStackTrace>(R"pb(
        frames {
            name: "f"
            file: "a.php"
            arguments { elements { long_key: 0 value { type: TYPE_STRING string_value: "x" } } }
            frame_number: 7
            line: 12
        }
        frames { name: "g" line: 13 })pb");

    for (auto const &trace : {StackTrace(message), StackTrace(message.frames())}) {
        ASSERT_EQ(trace.frames().size(), 2);
        auto const &frame = trace.frames()[0];
        EXPECT_EQ(frame.name(), u"f"_s);
        EXPECT_EQ(frame.args()->elements().size(), 1U);
        EXPECT_FALSE(frame.call_value());
        ASSERT_TRUE(frame.location());
        EXPECT_EQ(frame.location()->file(), u"a.php"_s);
        EXPECT_EQ(frame.location()->line(), 12U);
        EXPECT_EQ(frame.frame_number(), 7U);
        EXPECT_FALSE(trace.frames()[1].location());
    }
}

TEST(StackTrace, can_be_built_from_frames_without_a_message)
{
    ProtobufFrames frames;
    frames.Add()->set_name("f");
    StackTrace const trace(frames);
    ASSERT_EQ(trace.frames().size(), 1);
    EXPECT_EQ(trace.frames()[0].name(), u"f"_s);
}

TEST(StackTrace, round_trips_through_a_qvariant)
{
    StackTrace const trace(from_text<RpcStackTrace>("frames { }"));
    auto const variant = QVariant::fromValue(trace);
    EXPECT_STREQ(variant.metaType().name(), "tarnwick::data::php::StackTrace");
    EXPECT_EQ(variant.value<StackTrace>().frames().constData(), trace.frames().constData());
}

TEST(StackTrace, reads_every_message_field)
{
    EXPECT_THAT(field_names<RpcStackTrace>(), ElementsAre("frames"));
    EXPECT_THAT(field_names<ProtobufStackTrace>(), ElementsAre("frames"));
}

} // namespace
} // namespace tarnwick::data::php::stack_trace_test
