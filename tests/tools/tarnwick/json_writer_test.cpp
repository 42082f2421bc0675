#include "json_writer.h"

#include <gtest/gtest.h>

#include <QtCore/QByteArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QString>

#include <limits>
#include <string>
#include <string_view>

namespace tarnwick::program {
namespace {

using namespace std::string_literals;

/// What a value becomes, as the member of an object.
template <class Write>
std::string member(Write &&write)
{
    JsonWriter writer;
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

TEST(JsonWriter, WritesIntegersWithAllDigits)
{
    EXPECT_EQ(integer(std::int64_t{0}), "0");
    EXPECT_EQ(integer(std::numeric_limits<std::int64_t>::min()), "-9223372036854775808");
    EXPECT_EQ(integer(std::numeric_limits<std::int64_t>::max()), "9223372036854775807");
    EXPECT_EQ(integer(std::numeric_limits<std::uint64_t>::max()), "18446744073709551615");
    EXPECT_EQ(integer(std::uint64_t{9007199254740993}), "9007199254740993"); // no double is that number
}

TEST(JsonWriter, WritesWhatIsAbsentAsNull)
{
    EXPECT_EQ(member([](JsonWriter &writer) { writer.absent(); }), "null");
}

TEST(JsonWriter, TellsANullTextFromAnEmptyOne)
{
    EXPECT_EQ(text(QString()), "null");
    EXPECT_EQ(text(QStringLiteral("")), R"("")");
}

TEST(JsonWriter, WritesTextsWithoutLoss)
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

TEST(JsonWriter, WritesBytesAsAStringWhereTheyAreUtf8AndAsBase64ElseWhere)
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

TEST(JsonWriter, WritesTimesAsStored)
{
    EXPECT_EQ(time({}), R"({"seconds":0,"nanos":0})");
    EXPECT_EQ(time({-1, -5}), R"({"seconds":-1,"nanos":-5})");
    EXPECT_EQ(time({std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int32_t>::max()}),
              R"({"seconds":-9223372036854775808,"nanos":2147483647})");
}

TEST(JsonWriter, BeginsAnewWhenCleared)
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
} // namespace tarnwick::program
