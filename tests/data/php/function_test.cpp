#include <tarnwick/data/php/function.h>

#include <tarnwick/qstring_format.h>

#include "support/allocations.h"
#include "support/message_fields.h"
#include "support/table.h"
#include "support/textproto.h"

#include <pelorin/protobuf/Monitor/function_data.pb.h>
#include <pelorin/protobuf/PelorinPHP/stack_trace.pb.h>
#include <tarnwick/rpc/php/v1/function.pb.h>

#include <fmt/format.h>

#include <gmock/gmock.h>

#include <QtCore/QVariant>

#include <cstdint>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>

namespace tarnwick::data::php::function_test {
namespace {

using pelorin::protobuf::Monitor::FunctionData;
using RpcFunction = rpc::php::v1::Function;
using RpcFrame = rpc::php::v1::StackTraceFrame;
using ProtobufFrame = pelorin::protobuf::PelorinPHP::StackTraceFrame;
using test::allocations_of;
using test::field_names;
using test::from_text;
using testing::ElementsAre;
using namespace Qt::StringLiterals;

static_assert(std::is_copy_constructible_v<Function>);
static_assert(std::is_copy_assignable_v<Function>);
static_assert(std::is_nothrow_move_constructible_v<Function>);
static_assert(std::is_nothrow_move_assignable_v<Function>);
// There is none without arguments.
static_assert(!std::is_default_constructible_v<Function>);

template <class Message>
Function from(std::string const &textproto)
{
    return Function(from_text<Message>(textproto));
}

/// `key=value key=value`, as far as the arguments of these tests go.
std::string listed(PelorinArray const &array)
{
    std::string list;
    for (auto const &[key, value] : array->elements()) {
        auto const *name = std::get_if<std::string>(&key->value());
        list += name != nullptr ? *name : std::to_string(std::get<std::int64_t>(key->value()));
        list += '=' + std::get<std::string>(value->value()) + ' ';
    }
    return list;
}

/// All of a function but its arguments.
std::string printed(Function const &function)
{
    auto line = function.name().toStdString();
    if (auto const &value = function.call_value())
        line += fmt::format(", value of kind {}", static_cast<int>((*value)->kind()));
    if (auto const &location = function.location())
        line += fmt::format(", at '{}' {} {}", location->file(), location->line(), location->line_extra());
    return line + fmt::format(", frame {}", function.frame_number());
}

/// The parts of a call that all messages have.
void expect_call(Function const &function)
{
    EXPECT_EQ(function.name(), u"A\\B::c"_s);
    EXPECT_EQ(listed(function.args()), "0=x n=y ");
    ASSERT_TRUE(function.location());
    EXPECT_EQ(function.location()->file(), u"/srv/../a.php"_s);
    EXPECT_EQ(function.location()->line(), 4294967295U);
}

std::int64_t call_value(Function const &function)
{
    return std::get<std::int64_t>(function.call_value().value()->value());
}

TEST(Function, reads_every_field_of_function_data)
{
    auto const function = from<FunctionData>(R"pb(
        name: "A\\B::c"
        file: "/srv/../a.php"
        arguments {
            elements { long_key: 0 value { type: TYPE_STRING string_value: "x" } }
            elements { string_key: "n" value { type: TYPE_STRING string_value: "y" } }
        }
        line: 4294967295)pb");

    expect_call(function);
    EXPECT_FALSE(function.call_value());
    EXPECT_EQ(function.location()->line_extra(), 0U);
    EXPECT_EQ(function.frame_number(), 0U);
}

TEST(Function, reads_every_field_of_a_protobuf_frame)
{
    auto const function = from<ProtobufFrame>(R"pb(
        name: "A\\B::c"
        file: "/srv/../a.php"
        arguments {
            elements { long_key: 0 value { type: TYPE_STRING string_value: "x" } }
            elements { string_key: "n" value { type: TYPE_STRING string_value: "y" } }
        }
        frame_number: 4294967294
        line: 4294967295)pb");

    expect_call(function);
    EXPECT_FALSE(function.call_value());
    EXPECT_EQ(function.location()->line_extra(), 0U);
    EXPECT_EQ(function.frame_number(), 4294967294U);
}

TEST(Function, reads_every_field_of_an_rpc_function)
{
    auto const function = from<RpcFunction>(R"pb(
        name: "A\\B::c"
        location { file: "/srv/../a.php" line: 4294967295 line_extra: 3 }
        arguments {
            elements { long_key: 0 value { string_value: "x" } }
            elements { string_key: "n" value { string_value: "y" } }
        }
        call_value { long_value: 5 })pb");

    expect_call(function);
    EXPECT_EQ(call_value(function), 5);
    EXPECT_EQ(function.location()->line_extra(), 3U);
    EXPECT_EQ(function.frame_number(), 0U);
}

TEST(Function, reads_every_field_of_an_rpc_frame)
{
    auto const function = from<RpcFrame>(R"pb(
        function {
            name: "A\\B::c"
            location { file: "/srv/../a.php" line: 4294967295 line_extra: 3 }
            arguments {
                elements { long_key: 0 value { string_value: "x" } }
                elements { string_key: "n" value { string_value: "y" } }
            }
            call_value { long_value: 5 }
        }
        frame_number: 4294967294)pb");

    expect_call(function);
    EXPECT_EQ(call_value(function), 5);
    EXPECT_EQ(function.location()->line_extra(), 3U);
    EXPECT_EQ(function.frame_number(), 4294967294U);
}

struct Case {
    char const *name;
    Function (*read)(std::string const &textproto);
    char const *textproto;
    char const *printed;
};

Case const cases[] = {
    {"function_data_that_is_empty", from<FunctionData>, "", ", frame 0"},
    {"function_data_with_a_line_but_no_file", from<FunctionData>, "name: 'f' line: 12", "f, frame 0"},
    {"function_data_with_a_file_but_no_line", from<FunctionData>, "file: 'a'", ", at 'a' 0 0, frame 0"},
    {"function_data_with_a_blank_as_file", from<FunctionData>, "file: ' ' line: 12", ", at ' ' 12 0, frame 0"},
    {"protobuf_frame_that_is_empty", from<ProtobufFrame>, "", ", frame 0"},
    {"protobuf_frame_with_a_line_but_no_file", from<ProtobufFrame>, "name: 'f' line: 12", "f, frame 0"},
    {"protobuf_frame_with_a_file_but_no_line", from<ProtobufFrame>, "file: 'a'", ", at 'a' 0 0, frame 0"},
    {"protobuf_frame_with_a_number_alone", from<ProtobufFrame>, "frame_number: 7", ", frame 7"},
    {"rpc_function_that_is_empty", from<RpcFunction>, "", ", frame 0"},
    {"rpc_function_with_all_but_a_location", from<RpcFunction>, "name: 'f' arguments { } call_value { }",
     "f, value of kind 0, frame 0"},
    {"rpc_function_with_an_empty_location", from<RpcFunction>, "location { }", ", at '' 0 0, frame 0"},
    {"rpc_function_with_a_location_without_file", from<RpcFunction>, "location { line: 12 line_extra: 3 }",
     ", at '' 12 3, frame 0"},
    {"rpc_function_with_an_empty_call_value", from<RpcFunction>, "call_value { }", ", value of kind 0, frame 0"},
    {"rpc_function_with_null_as_call_value", from<RpcFunction>, "call_value { null_value: NULL_VALUE }",
     ", value of kind 1, frame 0"},
    {"rpc_function_with_an_array_as_call_value", from<RpcFunction>, "call_value { array_value { } }",
     ", value of kind 6, frame 0"},
    {"rpc_frame_that_is_empty", from<RpcFrame>, "", ", frame 0"},
    {"rpc_frame_without_a_function", from<RpcFrame>, "frame_number: 7", ", frame 7"},
    {"rpc_frame_with_an_empty_function", from<RpcFrame>, "function { } frame_number: 7", ", frame 7"},
    {"rpc_frame_without_a_number", from<RpcFrame>, "function { name: 'f' location { } call_value { } }",
     "f, value of kind 0, at '' 0 0, frame 0"},
};

class FunctionFromMessage : public test::TableTest<Case> {};

TEST_P(FunctionFromMessage, is_read)
{
    EXPECT_EQ(printed(GetParam().read(GetParam().textproto)), GetParam().printed);
}

INSTANTIATE_TEST_SUITE_P(Cases, FunctionFromMessage, test::rows(cases), test::by_name);

template <class Message>
class FunctionFrom : public testing::Test {};

using Sources = testing::Types<FunctionData, ProtobufFrame, RpcFunction, RpcFrame>;
TYPED_TEST_SUITE(FunctionFrom, Sources);

/// The message of any source with these fields of the call itself.
template <class Message>
Message with_call(std::string const &textproto)
{
    if constexpr (std::is_same_v<Message, RpcFrame>)
        return from_text<Message>("function { " + textproto + " }");
    else
        return from_text<Message>(textproto);
}

TYPED_TEST(FunctionFrom, absent_and_empty_arguments_are_an_array_without_elements)
{
    for (auto const *arguments : {"", "arguments { }"}) {
        SCOPED_TRACE(arguments);
        Function const function(with_call<TypeParam>(arguments));
        ASSERT_TRUE(function.args());
        EXPECT_TRUE(function.args()->elements().empty());
        EXPECT_EQ(function.args()->ref.loadRelaxed(), 1);
    }
}

TYPED_TEST(FunctionFrom, each_call_has_its_own_arguments)
{
    for (auto const *arguments : {"", "arguments { }", "arguments { elements { } }"}) {
        SCOPED_TRACE(arguments);
        auto const message = with_call<TypeParam>(arguments);
        EXPECT_NE(Function(message).args(), Function(message).args());
    }
}

TYPED_TEST(FunctionFrom, an_element_without_key_and_value_keeps_its_position)
{
    Function const function(with_call<TypeParam>("arguments { elements { } elements { string_key: 'k' } }"));
    auto const &elements = function.args()->elements();
    ASSERT_EQ(elements.size(), 2U);
    EXPECT_EQ(elements[0].first->kind(), detail::ZVal::Kind::undefined);
    EXPECT_EQ(elements[0].second->kind(), detail::ZVal::Kind::undefined);
    EXPECT_EQ(std::get<std::string>(elements[1].first->value()), "k");
}

TYPED_TEST(FunctionFrom, an_absent_name_is_empty_and_not_null)
{
    Function const function{TypeParam()};
    EXPECT_TRUE(function.name().isEmpty());
    EXPECT_FALSE(function.name().isNull());
}

TYPED_TEST(FunctionFrom, a_name_keeps_nul_bytes_case_and_spaces_and_replaces_invalid_utf8)
{
    EXPECT_EQ(Function(with_call<TypeParam>(R"(name: ' {Closure}\000\303\251\377 ')")).name(),
              u" {Closure}\0é\ufffd "_s);
}

TYPED_TEST(FunctionFrom, does_not_refer_to_the_message)
{
    auto message = with_call<TypeParam>("name: 'some_function'");
    Function const function(message);
    message.Clear();
    EXPECT_EQ(function.name(), u"some_function"_s);
}

TYPED_TEST(FunctionFrom, an_empty_message_allocates_one_block_for_the_arguments)
{
    TypeParam const message;
    EXPECT_EQ(allocations_of([&] { Function const function(message); }), 1U);
}

TYPED_TEST(FunctionFrom, without_arguments_allocates_one_block_for_them_and_one_for_the_name)
{
    auto const message = with_call<TypeParam>("name: 'some_function'");
    EXPECT_EQ(allocations_of([&] { Function const function(message); }), 2U);
}

TEST(Function, allocates_two_payloads_for_an_argument_and_one_block_for_all_elements)
{
    auto const message = from_text<FunctionData>(R"pb(
        name: "f"
        file: "a.php"
        arguments {
            elements { long_key: 0 value { type: TYPE_LONG long_value: 1 } }
            elements { long_key: 1 value { type: TYPE_LONG long_value: 2 } }
            elements { long_key: 2 value { type: TYPE_LONG long_value: 3 } }
        })pb");
    auto const name_and_file = 2U;
    auto const array_and_elements = 2U;
    EXPECT_EQ(allocations_of([&] { Function const function(message); }), name_and_file + array_and_elements + 3U * 2U);
}

TEST(Function, function_data_with_an_empty_file_and_a_line_has_no_location)
{
    EXPECT_FALSE(from<FunctionData>("line: 12").location());
}

TEST(Function, an_rpc_location_with_an_empty_file_is_a_location)
{
    auto const function = from<RpcFunction>("location { line: 12 }");
    ASSERT_TRUE(function.location());
    EXPECT_TRUE(function.location()->file().isEmpty());
    EXPECT_FALSE(function.location()->file().isNull());
}

TEST(Function, an_rpc_function_without_location_has_none)
{
    EXPECT_FALSE(from<RpcFunction>("name: 'f' call_value { string_value: 'a.php' }").location());
}

TEST(Function, only_frames_have_a_frame_number)
{
    EXPECT_EQ(from<FunctionData>("name: 'f' line: 12").frame_number(), 0U);
    EXPECT_EQ(from<RpcFunction>("name: 'f' location { line: 12 }").frame_number(), 0U);
    EXPECT_EQ(from<ProtobufFrame>("frame_number: 7 line: 12").frame_number(), 7U);
    EXPECT_EQ(from<RpcFrame>("frame_number: 7").frame_number(), 7U);
}

TEST(Function, the_protobuf_dialect_never_has_a_call_value)
{
    char const *const full = "name: 'f' file: 'a' arguments { elements { value { type: TYPE_BOOL } } } line: 1";
    EXPECT_FALSE(from<FunctionData>(full).call_value());
    EXPECT_FALSE(from<ProtobufFrame>(full).call_value());
}

TEST(Function, an_empty_call_value_of_rpc_is_present_and_undefined)
{
    auto const function = from<RpcFunction>("call_value { }");
    ASSERT_TRUE(function.call_value());
    ASSERT_TRUE(*function.call_value());
    EXPECT_EQ((*function.call_value())->kind(), detail::ZVal::Kind::undefined);
}

Function full_function()
{
    return from<RpcFrame>(R"pb(
        function {
            name: "f"
            location { file: "a.php" line: 12 line_extra: 3 }
            arguments { elements { long_key: 0 value { string_value: "x" } } }
            call_value { long_value: 5 }
        }
        frame_number: 7)pb");
}

int args_count(Function const &function)
{
    return function.args()->ref.loadRelaxed();
}

int call_value_count(Function const &function)
{
    return (*function.call_value())->ref.loadRelaxed();
}

void expect_shared(Function const &left, Function const &right)
{
    EXPECT_EQ(left.args().get(), right.args().get());
    EXPECT_EQ(left.call_value()->get(), right.call_value()->get());
    EXPECT_EQ(left.name().constData(), right.name().constData());
    EXPECT_EQ(left.location()->file().constData(), right.location()->file().constData());
    EXPECT_EQ(printed(left), printed(right));
}

TEST(Function, a_copy_shares_everything_and_raises_the_counts)
{
    auto const function = full_function();
    {
        // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): the copy is what is tested
        Function const copy = function;
        expect_shared(copy, function);
        EXPECT_EQ(args_count(function), 2);
        EXPECT_EQ(call_value_count(function), 2);
    }
    EXPECT_EQ(args_count(function), 1);
    EXPECT_EQ(call_value_count(function), 1);
}

TEST(Function, a_copy_allocates_nothing)
{
    auto const function = full_function();
    std::optional<Function> copy;
    EXPECT_EQ(allocations_of([&] { copy.emplace(function); }), 0U);
    expect_shared(*copy, function);
}

TEST(Function, copy_assignment_shares_and_releases_the_old_parts)
{
    auto const function = full_function();
    auto target = full_function();
    auto const replaced = target.args();

    target = function;
    expect_shared(target, function);
    EXPECT_EQ(args_count(function), 2);
    EXPECT_EQ(call_value_count(function), 2);
    EXPECT_EQ(replaced->ref.loadRelaxed(), 1);
}

TEST(Function, a_move_does_not_change_the_counts)
{
    auto function = full_function();
    auto const copy = function;

    Function const moved(std::move(function));
    expect_shared(moved, copy);
    EXPECT_EQ(args_count(moved), 2);
    EXPECT_EQ(call_value_count(moved), 2);
}

TEST(Function, move_assignment_releases_the_old_parts)
{
    auto function = full_function();
    auto const copy = function;
    auto target = full_function();
    auto const replaced = target.args();

    target = std::move(function);
    expect_shared(target, copy);
    EXPECT_EQ(args_count(target), 2);
    EXPECT_EQ(call_value_count(target), 2);
    EXPECT_EQ(replaced->ref.loadRelaxed(), 1);
}

TEST(Function, a_moved_from_function_can_be_assigned)
{
    auto function = full_function();
    Function const moved(std::move(function));

    function = moved;
    expect_shared(function, moved);
}

TEST(Function, round_trips_through_a_qvariant)
{
    auto const function = full_function();
    auto const variant = QVariant::fromValue(function);
    EXPECT_STREQ(variant.metaType().name(), "tarnwick::data::php::Function");
    auto const *const inside = get_if<Function>(&variant);
    ASSERT_NE(inside, nullptr);
    expect_shared(*inside, function);
}

TEST(Function, reads_every_message_field)
{
    EXPECT_THAT(field_names<FunctionData>(), ElementsAre("name", "file", "arguments", "line"));
    EXPECT_THAT(field_names<ProtobufFrame>(), ElementsAre("name", "file", "arguments", "frame_number", "line"));
    EXPECT_THAT(field_names<RpcFunction>(), ElementsAre("name", "location", "arguments", "call_value"));
    EXPECT_THAT(field_names<RpcFrame>(), ElementsAre("function", "frame_number"));
}

} // namespace
} // namespace tarnwick::data::php::function_test
