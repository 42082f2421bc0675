#include <tarnwick/data/print.h>

#include <tarnwick/data/php/rshutdown.h>
#include <tarnwick/data/php/source_location.h>

#include "support/php_values.h"
#include "support/rpc_values.h"
#include "support/textproto.h"

#include <pelorin/protobuf/PelorinPHP/rshutdown_data.pb.h>
#include <tarnwick/rpc/php/v1/function.pb.h>

#include <gtest/gtest.h>

#include <QtCore/QDebug>

#include <array>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_set>
#include <variant>

namespace tarnwick::data::print_test {
namespace {

php::RShutdown record()
{
    return php::RShutdown(new php::detail::RShutdown(
        test::from_text<pelorin::protobuf::PelorinPHP::RShutdownData>("duration { nanos: -1 } response_status: 200"),
        php::RequestId(7)));
}

constexpr char const *printed =
    "php.RShutdown{request_id: 7, timestamp: {0 s, 0 ns}, duration: {0 s, -1 ns}, response_status: 200, memory_0: 0, "
    "memory_1: 0, memory_2: 0}";

template <class T>
QString debug_text(T const &value)
{
    QString text;
    QDebug(&text).nospace() << value;
    return text;
}

template <class T>
std::string written(T const &value)
{
    TextWriter writer;
    walk(writer, value);
    return writer.line();
}

template <class T>
concept Walkable = requires(TextWriter writer, T const &value) { walk(writer, value); };
static_assert(Walkable<bool> && Walkable<php::RShutdown>);
static_assert(!Walkable<php::detail::RShutdown *> && !Walkable<char const *> && !Walkable<void *>);

TEST(Print, fmt_prints_a_record_like_its_handle)
{
    EXPECT_EQ(fmt::format("{}", *record()), printed);
    EXPECT_EQ(fmt::format("{}", record()), printed);
}

TEST(Print, qdebug_prints_a_record_like_its_handle)
{
    EXPECT_EQ(debug_text(*record()), QString::fromUtf8(printed));
    EXPECT_EQ(debug_text(record()), QString::fromUtf8(printed));
}

TEST(Print, a_null_handle_is_none)
{
    EXPECT_EQ(fmt::format("{}", php::RShutdown()), "none");
}

TEST(Print, pointers_in_lists_print_like_handles)
{
    php::RShutdown::Pointer const pointer = record();
    EXPECT_EQ(fmt::format("{}", pointer), printed);
    EXPECT_EQ(debug_text(pointer), QString::fromUtf8(printed));
    EXPECT_EQ(fmt::format("{}", php::RShutdown::Pointer()), "none");
}

TEST(Print, ids_and_times_print_by_themselves)
{
    EXPECT_EQ(fmt::format("{}", php::RequestId(18446744073709551615U)), "18446744073709551615");
    EXPECT_EQ(fmt::format("{}", TimePair{-1, 5}), "{-1 s, 5 ns}");
    EXPECT_EQ(debug_text(php::RequestId(7)), QStringLiteral("7"));
}

TEST(Print, accepts_the_format_of_a_string)
{
    EXPECT_EQ(fmt::format("{:>5}|{:.1}", php::RequestId(7), php::RequestId(42)), "    7|4");
}

TEST(TextWriter, distinguishes_null_empty_and_absent)
{
    EXPECT_EQ(written(QString()), "null");
    EXPECT_EQ(written(QStringLiteral("")), "\"\"");
    EXPECT_EQ(written(QStringLiteral("a\"\n")), R"("a\"\n")");
    EXPECT_EQ(written(std::optional<QString>()), "none");
    EXPECT_EQ(written(std::optional(php::SourceLocation(QStringLiteral("a"), 1, 2))),
              "php.SourceLocation{file: \"a\", line: 1, line_extra: 2}");
}

TEST(TextWriter, writes_a_block_of_bytes_in_hexadecimal_and_the_first_bytes_of_a_chunk)
{
    EXPECT_EQ(written(std::array{'C', '\0', '\xfe'}), "4300fe");
    EXPECT_EQ(written(std::optional<std::string_view>()), "none");
    EXPECT_EQ(written(std::string_view()), "\"\"");
    EXPECT_EQ(written(std::string_view(std::string(32, 'x'))), '"' + std::string(32, 'x') + '"');
    EXPECT_EQ(written(std::string_view(std::string(33, 'x'))), '"' + std::string(32, 'x') + "\"...");
}

TEST(Print, a_php_value_is_easy_to_read)
{
    auto const value = test::value_from_text(R"pb(
        array_value {
            elements { string_key: "a" value { string_value: "x\377" } }
            elements { long_key: -1 value { double_value: 2 } }
            elements { value { null_value: NULL_VALUE } }
            elements { string_key: "e" value { array_value { } } }
            elements { string_key: "b" value { bool_value: true } }
            elements { string_key: "j" value { json_value: "[1]" } }
            elements { string_key: "t" value { timestamp_value { seconds: 8 nanos: 9 } } }
            elements { string_key: "o" value { object_value { class_name: "C" value { long_value: 1 } } } }
            elements { string_key: "r" value { resource_value { type_name: "stream" } } }
        })pb");
    auto const *const text =
        R"(["a" => "x\xff", -1 => 2.0, undefined => null, "e" => [], "b" => true, "j" => json "[1]", )"
        R"("t" => {8 s, 9 ns}, "o" => php.PelorinObject{class_name: "C", properties: [], value: 1}, )"
        R"("r" => php.PelorinResource{type_name: "stream", value: undefined}])";

    EXPECT_EQ(fmt::format("{}", value), text);
    EXPECT_EQ(fmt::format("{}", *value), text);
    EXPECT_EQ(fmt::format("{}", std::get<php::PelorinArray>(value->value())), text);
    EXPECT_EQ(debug_text(value), QString::fromUtf8(text));
}

TEST(Print, calls_and_traces_print)
{
    php::StackTrace const trace(test::from_text<rpc::php::v1::StackTrace>("frames { function { name: 'f' } }"));
    EXPECT_EQ(fmt::format("{}", trace.frames().front()),
              "php.Function{name: \"f\", args: [], call_value: none, location: none, frame_number: 0}");
    EXPECT_EQ(fmt::format("{}", trace), '[' + fmt::format("{}", trace.frames().front()) + ']');
}

TEST(TextWriter, writes_the_current_alternative_of_a_variant)
{
    using Variant = std::variant<std::monostate, php::SourceLocation>;
    EXPECT_EQ(written(Variant()), "none");
    EXPECT_EQ(written(Variant(php::SourceLocation(QStringLiteral("a"), 1, 2))),
              "php.SourceLocation{file: \"a\", line: 1, line_extra: 2}");
}

TEST(TextWriter, separates_a_record_without_fields_from_what_follows)
{
    TextWriter writer;
    writer.begin_list();
    for (int record = 0; record < 2; ++record) {
        writer.item();
        writer.begin_record("Empty");
        writer.end_record();
    }
    writer.end_list();
    EXPECT_EQ(writer.line(), "[Empty{}, Empty{}]");
}

TEST(TextWriter, writes_a_variant_without_a_value_as_none)
{
    struct Failing {
        [[noreturn]] explicit Failing(int /*number*/) { throw std::domain_error("no value"); }
        std::string text; // a type whose copy cannot throw would keep the old value
    };
    std::variant<php::SourceLocation, Failing> variant(php::SourceLocation(QStringLiteral("a"), 1, 2));
    EXPECT_THROW(variant.emplace<Failing>(1), std::domain_error);
    ASSERT_TRUE(variant.valueless_by_exception());
    EXPECT_EQ(written(variant), "none");
    EXPECT_EQ(written(test::php_valueless()), "none");
}

TEST(TextWriter, writes_doubles_distinct_from_integers)
{
    EXPECT_EQ(written(1.5), "1.5");
    EXPECT_EQ(written(-2.0), "-2.0");
    EXPECT_EQ(written(1e30), "1e+30");
}

TEST(TextWriter, writes_a_set_in_ascending_order)
{
    EXPECT_EQ(written(std::unordered_set<int>()), "[]");
    EXPECT_EQ(written(std::unordered_set{3, -1, 20, 1}), "[-1, 1, 3, 20]");
    EXPECT_EQ(written(std::unordered_set{20, 1, 3, -1}), "[-1, 1, 3, 20]");
}

TEST(TextWriter, writes_enumerations_as_their_numbers)
{
    enum class Small : std::uint8_t { last = 255 };
    enum class Signed : std::int32_t { first = -1 };
    EXPECT_EQ(written(Small::last), "255");
    EXPECT_EQ(written(Signed::first), "-1");
}

} // namespace
} // namespace tarnwick::data::print_test
