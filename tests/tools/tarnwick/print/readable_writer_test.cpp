#include "print/readable_writer.h"

#include <tarnwick/data/php/source_location.h>
#include <tarnwick/data/walk.h>

#include "support/rpc_values.h"

#include <gtest/gtest.h>

#include <QtCore/QString>

#include <array>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace tarnwick::program::readable_writer_test {
namespace {

using data::Sense;
using namespace std::string_literals;

/// Returns a field that `write` writes, without indent and name.
template <class Write>
std::string value(Sense sense, Write &&write)
{
    ReadableWriter writer(false);
    writer.field("x", sense);
    write(writer);
    std::string const before = "\n  x                ";
    auto const &text = writer.text();
    EXPECT_TRUE(text.starts_with(before)) << text;
    return text.substr(before.size());
}

std::string time(Sense sense, data::TimePair pair)
{
    return value(sense, [&](ReadableWriter &writer) { writer.time(pair); });
}

std::string text(QString const &string)
{
    return value(Sense::plain, [&](ReadableWriter &writer) { writer.text(string); });
}

TEST(ReadableWriter, writes_points_in_time_as_dates)
{
    struct Case {
        data::TimePair time;
        std::string text;
    };
    Case const cases[] = {
        {{0, 0}, "-"}, // the report has no time
        {{0, 1}, "1970-01-01 00:00:00.000000001 UTC"},
        {{1, 0}, "1970-01-01 00:00:01.000000000 UTC"},
        {{1'700'000'000, 5'000'000}, "2023-11-14 22:13:20.005000000 UTC"},
        {{951'782'400, 999'999'999}, "2000-02-29 00:00:00.999999999 UTC"},
        {{253'402'300'799, 999'999'999}, "9999-12-31 23:59:59.999999999 UTC"},
        {{253'402'300'800, 0}, "253402300800 s, 0 ns"},
        {{-1, 0}, "-1 s, 0 ns"},
        {{1, -1}, "1 s, -1 ns"},
        {{1, 1'000'000'000}, "1 s, 1000000000 ns"},
        {{std::numeric_limits<std::int64_t>::max(), std::numeric_limits<std::int32_t>::min()},
         "9223372036854775807 s, -2147483648 ns"},
    };
    for (auto const &[pair, expected] : cases)
        EXPECT_EQ(time(Sense::instant, pair), expected);
}

TEST(ReadableWriter, writes_lengths_of_time_with_unit_and_all_digits)
{
    struct Case {
        data::TimePair time;
        std::string text;
    };
    Case const cases[] = {
        {{0, 0}, "0.000 µs"},
        {{0, 1}, "0.001 µs"},
        {{0, 999'999}, "999.999 µs"},
        {{0, 1'000'000}, "1.000000 ms"},
        {{0, 999'999'999}, "999.999999 ms"},
        {{1, 0}, "1.000000000 s"},
        {{90'061, 7}, "90061.000000007 s"},
        {{-1, 0}, "-1 s, 0 ns"},
        {{0, -500'000'000}, "0 s, -500000000 ns"},
        {{0, 1'000'000'000}, "0 s, 1000000000 ns"},
    };
    for (auto const &[pair, expected] : cases)
        EXPECT_EQ(time(Sense::span, pair), expected);
}

TEST(ReadableWriter, writes_other_times_as_stored)
{
    EXPECT_EQ(time(Sense::plain, {1, 5}), "1 s, 5 ns");
}

TEST(ReadableWriter, writes_texts_in_quotes_with_escapes)
{
    EXPECT_EQ(text(QString()), "-");
    EXPECT_EQ(text(QStringLiteral("")), R"("")");
    EXPECT_EQ(text(QStringLiteral("-")), R"("-")");
    EXPECT_EQ(text(QStringLiteral("Grüße \"x\"\n")), R"("Grüße \"x\"\n")");
    EXPECT_EQ(text(QStringLiteral("\x1b[31m")), R"("\x1b[31m")"); // reports cannot control the terminal
    EXPECT_EQ(text(QString::fromUtf8("a\0b"s)), R"("a\x00b")");
}

TEST(ReadableWriter, writes_integers_with_all_digits)
{
    auto const integer = [](auto number) {
        return value(Sense::plain, [=](ReadableWriter &writer) { writer.integer(number); });
    };
    EXPECT_EQ(integer(std::numeric_limits<std::int64_t>::min()), "-9223372036854775808");
    EXPECT_EQ(integer(std::numeric_limits<std::uint64_t>::max()), "18446744073709551615");
}

TEST(ReadableWriter, writes_blocks_as_digits_and_cuts_chunks)
{
    auto const walked = [](auto const &block) {
        return value(Sense::plain, [&](ReadableWriter &writer) { data::walk(writer, block); });
    };
    EXPECT_EQ(walked(std::array{'C', '\0', '\xfe'}), "4300fe");
    EXPECT_EQ(walked(std::optional<std::string_view>()), "-");
    EXPECT_EQ(walked(std::string_view()), R"("")");
    EXPECT_EQ(walked(std::string_view("a\"\xff")), R"("a\"\xff")");
    EXPECT_EQ(walked(std::string_view(std::string(1000, 'x'))), '"' + std::string(240, 'x') + "\" and 760 bytes more");
}

TEST(ReadableWriter, indents_fields_of_nested_records)
{
    ReadableWriter writer(false);
    writer.field("location", Sense::plain);
    data::walk(writer, data::php::SourceLocation(QStringLiteral("a.php"), 17, 0));
    writer.field("no_location", Sense::plain);
    writer.absent();
    EXPECT_EQ(writer.text(), R"(
  location
    file             "a.php"
    line             17
    line_extra       0
  no_location      -)");
}

TEST(ReadableWriter, writes_the_name_of_an_alternative)
{
    using Variant = std::variant<std::monostate, data::php::SourceLocation>;
    ReadableWriter writer(false);
    writer.field("one", Sense::plain);
    data::walk(writer, Variant(data::php::SourceLocation(QStringLiteral("a.php"), 17, 0)));
    writer.field("none", Sense::plain);
    data::walk(writer, Variant());
    EXPECT_EQ(writer.text(), R"(
  one              SourceLocation
    file             "a.php"
    line             17
    line_extra       0
  none             -)");
}

TEST(ReadableWriter, writes_the_meaning_after_a_classification)
{
    ReadableWriter writer(false);
    writer.field("kind", Sense::plain);
    writer.integer(std::uint64_t{4});
    writer.label("PHP error");
    EXPECT_EQ(writer.text(), "\n  kind             4 (PHP error)");
}

TEST(ReadableWriter, separates_a_long_name_from_its_value)
{
    ReadableWriter writer(false);
    writer.field("a_name_of_twenty_five_sig", Sense::plain);
    writer.absent();
    EXPECT_EQ(writer.text(), "\n  a_name_of_twenty_five_sig -");
}

TEST(ReadableWriter, colours_the_headline_only_with_the_option)
{
    ReadableWriter plain(false);
    plain.headline("php.RShutdown", "frame 1");
    EXPECT_EQ(plain.text(), "php.RShutdown  frame 1");
    ReadableWriter coloured(true);
    coloured.headline("php.RShutdown", "frame 1");
    EXPECT_EQ(coloured.text(), "\x1b[1;36mphp.RShutdown\x1b[0m  \x1b[2mframe 1\x1b[0m");
}

TEST(ReadableWriter, writes_php_values_as_text)
{
    ReadableWriter writer(false);
    writer.field("args", Sense::plain);
    data::walk(writer, test::array_from_text(R"pb(
        elements { long_key: 0 value { string_value: "a\"b" } }
        elements { string_key: "list" value { array_value { elements { value { double_value: 2 } } } } }
        elements { string_key: "none" value { array_value { } } }
        elements { string_key: "null" value { null_value: NULL_VALUE } }
        elements { string_key: "on" value { bool_value: true } }
        elements { string_key: "json" value { json_value: "[1]" } }
        elements {
            string_key: "user"
            value {
                object_value {
                    class_name: "User"
                    properties { elements { string_key: "id" value { long_value: 3 } } }
                }
            }
        })pb"));
    EXPECT_EQ(writer.text(), R"(
  args
    - 0 => "a\"b"
    - "list" =>
      - undefined => 2.0
    - "none" => []
    - "null" => null
    - "on" => true
    - "json" => json "[1]"
    - "user" =>
      class_name       "User"
      properties
        - "id" => 3
      value            undefined)");
}

TEST(ReadableWriter, cuts_long_texts_between_characters_with_a_count)
{
    EXPECT_EQ(text(QString(240, u'x')), '"' + std::string(240, 'x') + '"');
    EXPECT_EQ(text(QString(241, u'x')), '"' + std::string(240, 'x') + "\" and 1 bytes more");
    EXPECT_EQ(text(QString(239, u'x') + u'é' + u'y'), '"' + std::string(239, 'x') + "\" and 3 bytes more");
    // Longer than the part that is converted to UTF-8, with characters of two, three and four bytes at its end.
    auto const rest = QString(1000, u'é') + QString(1000, u'€') + QStringLiteral("\U0001F418").repeated(1000);
    EXPECT_EQ(text(QString(241, u'x') + QStringLiteral("\U0001F418") + rest),
              '"' + std::string(240, 'x') + "\" and 9005 bytes more");
    EXPECT_EQ(text(rest), '"' + QString(120, u'é').toStdString() + "\" and 8760 bytes more");
}

} // namespace
} // namespace tarnwick::program::readable_writer_test
