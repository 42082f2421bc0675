#include "print/json_writer.h"
#include "print/output.h"

#include <tarnwick/data/php/stack_trace.h>
#include <tarnwick/data/walk.h>

#include "support/rpc_values.h"
#include "support/textproto.h"
#include "tools/tarnwick/support/files.h"

#include <tarnwick/rpc/php/v1/function.pb.h>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <QtCore/QByteArray>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QString>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <variant>

namespace tarnwick::program::json_writer_test {
namespace {

using namespace std::string_literals;

/// Returns the JSON of a value that is a member of an object.
template <class Write>
std::string member(Write &&write, JsonStyle style = {})
{
    JsonWriter writer(style);
    writer.begin_record("ignored");
    writer.field("x");
    write(writer);
    writer.end_record();
    auto const line = writer.line();
    auto const document = QJsonDocument::fromJson(QByteArray(line.data(), static_cast<qsizetype>(line.size())));
    EXPECT_TRUE(document.isObject() && document.object().contains(QLatin1StringView("x"))) << line;
    EXPECT_TRUE(line.starts_with(R"({"x":)") && line.ends_with("}")) << line;
    return std::string(line.substr(5, line.size() - 6));
}

/// Parses a JSON string.
QString parsed(std::string const &json)
{
    return QJsonDocument::fromJson(QByteArray::fromStdString('[' + json + ']')).array().first().toString();
}

template <class Integer>
std::string integer(Integer value)
{
    return member([=](JsonWriter &writer) { writer.integer(value); });
}

std::string text(QString const &value)
{
    return member([&](JsonWriter &writer) { writer.text(value); });
}

std::string bytes(std::string_view value)
{
    return member([&](JsonWriter &writer) { writer.bytes(value); });
}

std::string time(data::TimePair value)
{
    return member([&](JsonWriter &writer) { writer.time(value); });
}

TEST(JsonWriter, writes_integers_with_all_digits)
{
    EXPECT_EQ(integer(std::int64_t{0}), "0");
    EXPECT_EQ(integer(std::numeric_limits<std::int64_t>::min()), "-9223372036854775808");
    EXPECT_EQ(integer(std::numeric_limits<std::int64_t>::max()), "9223372036854775807");
    EXPECT_EQ(integer(std::numeric_limits<std::uint64_t>::max()), "18446744073709551615");
    EXPECT_EQ(integer(std::uint64_t{9007199254740993}), "9007199254740993"); // not representable as a double
}

TEST(JsonWriter, writes_strings_with_nul_as_base64_on_request)
{
    auto const with_nul = std::string_view("a\0b", 3);
    for (auto const &[text, escaped, base64] :
         {std::tuple(with_nul, R"("a\u0000b")", R"({"base64":"YQBi"})"),
          std::tuple(std::string_view("ab"), R"("ab")", R"("ab")"),
          std::tuple(std::string_view("\xff"), R"({"base64":"/w=="})", R"({"base64":"/w=="})")}) {
        auto const bytes = [&](JsonWriter &writer) { writer.bytes(text); };
        EXPECT_EQ(member(bytes), escaped);
        EXPECT_EQ(member(bytes, {.base64_nul = true}), base64);
    }
    auto const text = [&](JsonWriter &writer) { writer.text(QString::fromUtf8(QByteArrayView(with_nul))); };
    EXPECT_EQ(member(text), R"("a\u0000b")");
    EXPECT_EQ(member(text, {.base64_nul = true}), R"({"base64":"YQBi"})");
}

TEST(JsonWriter, writes_ids_and_inexact_integers_as_strings_on_request)
{
    using data::Sense;
    auto const written = [](Sense sense, auto value) {
        return member(
            [=](JsonWriter &writer) {
                writer.begin_record("ignored");
                writer.field("n", sense);
                writer.integer(value);
                writer.field("next");
                writer.integer(std::int64_t{0});
                writer.end_record();
            },
            {.string_ids = true});
    };
    struct Case {
        std::int64_t value;
        char const *plain;
        char const *id;
    };
    Case const cases[] = {
        {0, "0", R"("0")"},
        {-1, "-1", R"("-1")"},
        {9007199254740991, "9007199254740991", R"("9007199254740991")"},
        {-9007199254740991, "-9007199254740991", R"("-9007199254740991")"},
        {9007199254740992, R"("9007199254740992")", R"("9007199254740992")"},
        {-9007199254740992, R"("-9007199254740992")", R"("-9007199254740992")"},
    };
    auto const fields = [](std::string const &json) { return R"({"n":)" + json + R"(,"next":0})"; };
    for (auto const &[value, plain, id] : cases) {
        EXPECT_EQ(written(Sense::plain, value), fields(plain));
        EXPECT_EQ(written(Sense::id, value), fields(id));
        if (value >= 0) {
            EXPECT_EQ(written(Sense::plain, static_cast<std::uint64_t>(value)), fields(plain));
            EXPECT_EQ(written(Sense::id, static_cast<std::uint64_t>(value)), fields(id));
        }
    }
    constexpr auto largest = std::numeric_limits<std::uint64_t>::max();
    EXPECT_EQ(written(Sense::plain, largest), fields(R"("18446744073709551615")"));
}

TEST(JsonWriter, writes_absent_values_as_null)
{
    EXPECT_EQ(member([](JsonWriter &writer) { writer.absent(); }), "null");
}

TEST(JsonWriter, distinguishes_null_and_empty_texts)
{
    EXPECT_EQ(text(QString()), "null");
    EXPECT_EQ(text(QStringLiteral("")), R"("")");
}

TEST(JsonWriter, writes_texts_without_loss)
{
    struct Case {
        std::string utf8;
        std::string json;
    };
    Case const cases[] = {
        {"plain", R"("plain")"},
        {"quote \" backslash \\ slash /", R"("quote \" backslash \\ slash /")"},
        {"line\nfeed\ttab\rreturn", R"("line\nfeed\ttab\rreturn")"},
        {"\0\x01\x1b\x1f\x7f"s, "\"\\u0000\\u0001\\u001B\\u001F\x7f\""},
        {"a\0b"s, R"("a\u0000b")"},
        {"Grüße", R"("Grüße")"},
        {"\xf0\x9f\x90\x98", "\"\xf0\x9f\x90\x98\""}, // beyond the basic plane: two code units in a QString
        {"\xef\xbf\xbd", "\"\xef\xbf\xbd\""},         // the replacement character
        {"\xe2\x80\xa8", "\"\xe2\x80\xa8\""},         // the line separator, which is no line feed
    };
    for (auto const &[utf8, json] : cases)
        EXPECT_EQ(text(QString::fromUtf8(utf8)), json);
}

// The writer reads bytes in words and texts in pieces. Escapes and halves of characters can be anywhere in them.
TEST(JsonWriter, escapes_at_any_position)
{
    for (std::size_t size = 1; size < 20; ++size) {
        for (std::size_t place = 0; place < size; ++place) {
            for (int code = 0; code < 0x80; ++code) {
                std::string string(size, '~');
                string[place] = static_cast<char>(code);
                auto const json = bytes(string);
                EXPECT_EQ(text(QString::fromLatin1(string)), json);
                bool const plain = code >= 0x20 && code != '"' && code != '\\';
                EXPECT_EQ(json == '"' + string + '"', plain) << json;
                EXPECT_EQ(parsed(json), QString::fromLatin1(string)) << json;
            }
        }
    }
}

// The low byte of some of these code units is an ASCII character.
TEST(JsonWriter, writes_other_characters_at_any_position)
{
    for (char16_t const unit : {u'\u0080', u'\u00e9', u'\u0141', u'\u2222', u'\u225c', u'\uff0a', u'\ufffd'}) {
        for (qsizetype size = 1; size < 20; ++size) {
            for (qsizetype place = 0; place < size; ++place) {
                QString string(size, u'~');
                string[place] = unit;
                EXPECT_EQ(text(string), '"' + string.toStdString() + '"');
            }
        }
    }
}

TEST(JsonWriter, writes_long_strings_whole)
{
    for (std::size_t const size : {1'023U, 1'024U, 1'025U, 100'000U}) {
        SCOPED_TRACE(size);
        std::string const before(size, 'x');
        // Two code units in a QString.
        auto const string = fmt::format("{}\xf0\x9f\x90\x98\n{}", before, before);
        auto const json = fmt::format("\"{}\xf0\x9f\x90\x98\\n{}\"", before, before);
        EXPECT_EQ(bytes(string), json);
        EXPECT_EQ(text(QString::fromUtf8(string)), json);
        auto const binary = string + '\xff';
        auto const base64 = QByteArray::fromStdString(binary).toBase64().toStdString();
        EXPECT_EQ(bytes(binary), R"({"base64":")" + base64 + "\"}");
    }
}

TEST(JsonWriter, writes_a_long_line_to_its_output_in_pieces)
{
    constexpr std::size_t most_kept = 100'000;
    std::string const quotes(1'000'000, '"');
    std::string const binary(1'000'000, '\xff');
    test::MemoryFile const file;
    Output output(file.descriptor());
    JsonWriter pieces(output);
    JsonWriter whole;
    std::size_t longest = 0;
    auto const write = [&](auto &&action) {
        action(pieces);
        action(whole);
        longest = std::max(longest, output.buffer().size());
    };
    write([](JsonWriter &writer) { writer.begin_list(); });
    write([&](JsonWriter &writer) { writer.bytes(quotes); });
    write([&](JsonWriter &writer) { writer.bytes(binary); });
    write([&](JsonWriter &writer) { writer.text(QString::fromLatin1(quotes)); });
    for (std::int64_t number = 0; number < 100'000; ++number)
        write([=](JsonWriter &writer) { writer.integer(number); });
    write([](JsonWriter &writer) { writer.end_list(); });
    EXPECT_LT(longest, most_kept);
    output.flush();
    EXPECT_EQ(file.content(), whole.line());
}

TEST(JsonWriter, writes_utf8_as_a_string_and_other_bytes_as_base64)
{
    EXPECT_EQ(bytes(""), R"("")");
    EXPECT_EQ(bytes("a\0b"s), R"("a\u0000b")");
    EXPECT_EQ(bytes("Grüße"), R"("Grüße")");
    EXPECT_EQ(bytes("\xff"), R"({"base64":"/w=="})");
    EXPECT_EQ(bytes("Gr\xfc\xdf"
                    "e"),
              R"({"base64":"R3L832U="})");
    EXPECT_EQ(bytes("\xed\xa0\x80"), R"({"base64":"7aCA"})"); // half of a pair of code units
}

TEST(JsonWriter, writes_blocks_as_digits_and_chunks_as_bytes)
{
    auto const walked = [](auto const &value) {
        return member([&](JsonWriter &writer) { data::walk(writer, value); });
    };
    EXPECT_EQ(walked(std::array{'C', '\0', '\xfe'}), R"("4300fe")");
    EXPECT_EQ(walked(std::optional<std::string_view>()), "null");
    EXPECT_EQ(walked(std::string_view()), R"("")");
    EXPECT_EQ(walked(std::string_view("Grüße")), R"("Grüße")");
    EXPECT_EQ(walked(std::string_view("\xff")), R"({"base64":"/w=="})");
    std::string const large(1'000'000, 'x');
    EXPECT_EQ(walked(std::string_view(large)), '"' + large + '"');
}

TEST(JsonWriter, writes_times_as_stored)
{
    EXPECT_EQ(time({}), R"({"seconds":0,"nanos":0})");
    EXPECT_EQ(time({-1, -5}), R"({"seconds":-1,"nanos":-5})");
    EXPECT_EQ(time({std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int32_t>::max()}),
              R"({"seconds":-9223372036854775808,"nanos":2147483647})");
}

TEST(JsonWriter, writes_doubles_as_the_shortest_text_that_reads_back)
{
    auto const real = [](double value) { return member([=](JsonWriter &writer) { writer.real(value); }); };
    EXPECT_EQ(real(0.1), "0.1");
    EXPECT_EQ(real(1.0), "1");
    EXPECT_EQ(real(-0.0), "-0");
    EXPECT_EQ(real(5e-324), "5e-324");
    EXPECT_EQ(real(std::numeric_limits<double>::max()), "1.7976931348623157e+308");
    EXPECT_EQ(real(std::numeric_limits<double>::quiet_NaN()), R"("NaN")");
    EXPECT_EQ(real(std::numeric_limits<double>::infinity()), R"("Infinity")");
    EXPECT_EQ(real(-std::numeric_limits<double>::infinity()), R"("-Infinity")");
}

TEST(JsonWriter, writes_every_kind_of_php_value)
{
    struct Case {
        char const *textproto;
        char const *json;
    };
    Case const cases[] = {
        {"", R"({"kind":"undefined"})"},
        {"null_value: NULL_VALUE", R"({"kind":"null"})"},
        {"bool_value: false", R"({"kind":"bool","value":false})"},
        {"long_value: 5", R"({"kind":"long","value":5})"},
        {"double_value: 0.5", R"({"kind":"double","value":0.5})"},
        {"string_value: 'a'", R"({"kind":"string","value":"a"})"},
        {"string_value: '\\377'", R"({"kind":"string","value":{"base64":"/w=="}})"},
        {"array_value { elements { long_key: 1 value { } } elements { value { bool_value: true } } }",
         R"({"kind":"array","value":[[{"kind":"long","value":1},{"kind":"undefined"}],)"
         R"([{"kind":"undefined"},{"kind":"bool","value":true}]]})"},
        {"object_value { class_name: 'C' properties { elements { string_key: 'p' value { } } } }",
         R"({"kind":"object","value":{"class_name":"C","properties":[[{"kind":"string","value":"p"},)"
         R"({"kind":"undefined"}]],"value":{"kind":"undefined"}}})"},
        {"resource_value { type_name: 'stream' value { long_value: 2 } }",
         R"({"kind":"resource","value":{"type_name":"stream","value":{"kind":"long","value":2}}})"},
        {"json_value: '[1]'", R"({"kind":"json","value":"[1]"})"},
        {"timestamp_value { seconds: 8 nanos: -9 }", R"({"kind":"timestamp","value":{"seconds":8,"nanos":-9}})"},
    };
    for (auto const &[textproto, json] : cases)
        EXPECT_EQ(member([&](JsonWriter &writer) { data::walk(writer, test::value_from_text(textproto)); }), json);
}

TEST(JsonWriter, writes_a_stack_trace_as_a_list_of_its_calls)
{
    data::php::StackTrace const trace(test::from_text<rpc::php::v1::StackTrace>(R"pb(
        frames {
            function {
                name: "f"
                location { file: "a.php" line: 17 line_extra: 3 }
                call_value { long_value: 1 }
            }
            frame_number: 4
        }
        frames { })pb"));
    EXPECT_EQ(member([&](JsonWriter &writer) { data::walk(writer, trace); }),
              R"([{"name":"f","args":[],"call_value":{"kind":"long","value":1},)"
              R"("location":{"file":"a.php","line":17,"line_extra":3},"frame_number":4},)"
              R"({"name":"","args":[],"call_value":null,"location":null,"frame_number":0}])");
}

TEST(JsonWriter, writes_an_alternative_under_the_name_of_its_class)
{
    using Variant = std::variant<std::monostate, data::php::SourceLocation>;
    auto const written = [](Variant const &value) {
        return member([&](JsonWriter &writer) { data::walk(writer, value); });
    };
    EXPECT_EQ(written({}), "null");
    EXPECT_EQ(written(data::php::SourceLocation(QStringLiteral("a"), 1, 2)),
              R"({"SourceLocation":{"file":"a","line":1,"line_extra":2}})");
}

TEST(JsonWriter, clear_starts_a_new_line)
{
    JsonWriter writer;
    for (int i = 0; i < 2; ++i) {
        writer.begin_record("ignored");
        writer.field("x");
        writer.integer(std::int64_t{i});
        writer.end_record();
        EXPECT_EQ(writer.line(), "{\"x\":" + std::to_string(i) + "}");
        writer.clear();
        EXPECT_EQ(writer.line(), "");
    }
}

} // namespace
} // namespace tarnwick::program::json_writer_test
