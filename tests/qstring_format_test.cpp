#include <tarnwick/qstring_format.h>

#include "support/table.h"

#include <iterator>
#include <string>

#include <QString>
#include <QStringList>

#include <gtest/gtest.h>

namespace {

using tarnwick::test::by_name;
using tarnwick::test::TableTest;

// Formats {0}, with a width in {1} and a precision in {2} for the formats that ask for them.
template <typename Text>
std::string format_one(char const *format, Text const &text, int width, int precision)
{
    return fmt::vformat(format, fmt::make_format_args(text, width, precision));
}

struct Row {
    char const *name;
    char const *format;
    std::string text;
    std::string expected;
    int width = 0;
    int precision = 0;
};

class QStringFormat : public TableTest<Row> {};

TEST_P(QStringFormat, gives_the_text)
{
    Row const &row = GetParam();
    QString const text = QString::fromStdString(row.text);
    EXPECT_EQ(format_one(row.format, text, row.width, row.precision), row.expected);
}

TEST_P(QStringFormat, gives_what_a_std_string_gives)
{
    Row const &row = GetParam();
    QString const text = QString::fromStdString(row.text);
    EXPECT_EQ(format_one(row.format, text, row.width, row.precision),
              format_one(row.format, row.text, row.width, row.precision));
}

std::string const nul_text("a\0b", 3);
std::string const euro = "\xE2\x82\xAC";      // 3 bytes, 1 column
std::string const kanji = "\xE6\xBC\xA2";     // 3 bytes, 2 columns
std::string const emoji = "\xF0\x9F\x98\x80"; // 4 bytes, 2 columns

INSTANTIATE_TEST_SUITE_P(
    Plain, QStringFormat,
    testing::Values(Row{"NoSpecification", "{}", "text", "text"}, Row{"Index", "{0} {0}", "text", "text text"},
                    Row{"EmptySpecification", "{:}", "text", "text"}, Row{"TypeS", "{:s}", "text", "text"},
                    Row{"BracesAround", "{{{}}}", "text", "{text}"},
                    Row{"BracesInTheText", "'{}'", "{} {0}", "'{} {0}'"}, Row{"Empty", "'{}'", "", "''"},
                    Row{"EmbeddedNul", "'{}'", nul_text, "'" + nul_text + "'"}, Row{"LineFeed", "{}", "a\nb", "a\nb"},
                    Row{"MultiByte", "{}", "Größe " + euro + kanji + emoji, "Größe " + euro + kanji + emoji},
                    Row{"Long", "{}", std::string(5'000, 'x'), std::string(5'000, 'x')}),
    by_name);

INSTANTIATE_TEST_SUITE_P(
    Width, QStringFormat,
    testing::Values(Row{"DefaultAlignsLeft", "{:6}|", "abc", "abc   |"}, Row{"Left", "{:<6}|", "abc", "abc   |"},
                    Row{"Right", "{:>6}|", "abc", "   abc|"}, Row{"Centre", "{:^7}|", "abc", "  abc  |"},
                    Row{"CentreOdd", "{:^6}|", "abc", " abc  |"}, Row{"FillLeft", "{:*<6}", "abc", "abc***"},
                    Row{"FillRight", "{:*>6}", "abc", "***abc"}, Row{"FillCentre", "{:*^7}", "abc", "**abc**"},
                    Row{"FillZero", "{:0>6}", "abc", "000abc"},
                    Row{"FillWithAnAlignmentSign", "{:<>6}", "abc", "<<<abc"},
                    Row{"FillMultiByte", "{:\xE2\x82\xAC^5}", "abc", euro + "abc" + euro},
                    Row{"AlignWithoutWidth", "{:>}", "abc", "abc"}, Row{"ExactlyFilled", "{:3}|", "abc", "abc|"},
                    Row{"NotCutWhenTooLong", "{:2}|", "abc", "abc|"}, Row{"Empty", "{:3}|", "", "   |"},
                    Row{"EmptyFilled", "{:*^3}|", "", "***|"}, Row{"WithType", "{:>6s}", "abc", "   abc"},
                    Row{"CountsColumnsNotBytes", "{:>5}", "Größe", "Größe"},
                    Row{"MultiByteIsOneColumn", "{:>3}|", euro, "  " + euro + "|"},
                    Row{"KanjiIsTwoColumns", "{:>4}|", kanji, "  " + kanji + "|"},
                    Row{"EmojiIsTwoColumns", "{:<4}|", emoji, emoji + "  |"},
                    Row{"EmbeddedNulCounts", "{:>5}", nul_text, "  " + nul_text},
                    Row{"Dynamic", "{0:{1}}|", "abc", "abc   |", 6}, Row{"DynamicZero", "{0:{1}}|", "abc", "abc|", 0},
                    Row{"DynamicByOrder", "{:{}}|", "abc", "abc  |", 5},
                    Row{"DynamicFilledRight", "{0:->{1}}", "abc", "---abc", 6}),
    by_name);

INSTANTIATE_TEST_SUITE_P(Precision, QStringFormat,
                         testing::Values(Row{"Cuts", "{:.2}", "abc", "ab"}, Row{"CutsToNothing", "{:.0}|", "abc", "|"},
                                         Row{"LongerThanTheText", "{:.9}|", "abc", "abc|"},
                                         Row{"WithType", "{:.2s}", "abc", "ab"},
                                         Row{"WithWidth", "{:5.2}|", "abc", "ab   |"},
                                         Row{"WithFillAndAlignment", "{:*>5.2}", "abc", "***ab"},
                                         Row{"CutsBetweenCharactersNotBytes", "{:.3}", "Größe", "Grö"},
                                         Row{"CutsBehindAFourByteCharacter", "{:.1}", emoji + "x", emoji},
                                         Row{"EmbeddedNulCounts", "{:.2}", nul_text, std::string("a\0", 2)},
                                         Row{"Dynamic", "{0:.{2}}", "abcdef", "abcd", 0, 4},
                                         Row{"DynamicZero", "{0:.{2}}|", "abcdef", "|", 0, 0},
                                         Row{"DynamicWithDynamicWidth", "{0:.>{1}.{2}}", "abcdef", "..abcd", 6, 4},
                                         Row{"DynamicByOrder", "{:{}.{}}|", "abcdef", "abcd  |", 6, 4}),
                         by_name);

INSTANTIATE_TEST_SUITE_P(Debug, QStringFormat,
                         testing::Values(Row{"Quotes", "{:?}", "text", "\"text\""}, Row{"Empty", "{:?}", "", "\"\""},
                                         Row{"Escapes", "{:?}", "a\n\t\r\"\\", R"("a\n\t\r\"\\")"},
                                         Row{"Nul", "{:?}", nul_text, R"("a\x00b")"},
                                         Row{"KeepsPrintableMultiByte", "{:?}", "ö" + euro, "\"ö" + euro + "\""},
                                         Row{"WithWidth", "{:*>8?}", "text", "**\"text\""}),
                         by_name);

TEST(QStringFormatTest, null_is_an_empty_text)
{
    EXPECT_EQ(fmt::format("'{}'", QString()), "''");
    EXPECT_EQ(fmt::format("{:*^4}", QString()), "****");
    EXPECT_EQ(fmt::format("{:?}", QString()), "\"\"");
}

TEST(QStringFormatTest, half_a_surrogate_pair_is_a_question_mark)
{
    EXPECT_EQ(fmt::format("{}", QString(QChar(0xD83D))), "?");
}

TEST(QStringFormatTest, specifications_are_checked_by_the_compiler)
{
    EXPECT_EQ(fmt::format("{:_>{}.{}s}", QStringLiteral("abcdef"), 5, 3), "__abc");
}

TEST(QStringFormatTest, stands_beside_other_arguments)
{
    QString const key = QStringLiteral("key");
    QString const value = QString::fromUtf8("wärts");
    EXPECT_EQ(fmt::format("{} = '{}' in line {:03}", key, value, 7), "key = 'wärts' in line 007");
}

TEST(QStringFormatTest, writes_to_an_iterator)
{
    std::string out = "> ";
    fmt::format_to(std::back_inserter(out), "{:>4}", QStringLiteral("ab"));
    EXPECT_EQ(out, ">   ab");
}

struct WrongRow {
    char const *name;
    char const *format;
    int width = 0;
    int precision = 0;
};

class QStringFormatWrong : public TableTest<WrongRow> {};

TEST_P(QStringFormatWrong, throws_as_for_a_std_string)
{
    WrongRow const &row = GetParam();
    EXPECT_THROW(format_one(row.format, QStringLiteral("abc"), row.width, row.precision), fmt::format_error);
    EXPECT_THROW(format_one(row.format, std::string("abc"), row.width, row.precision), fmt::format_error);
}

INSTANTIATE_TEST_SUITE_P(
    Specifications, QStringFormatWrong,
    testing::Values(WrongRow{"Integer", "{:d}"}, WrongRow{"Hexadecimal", "{:x}"}, WrongRow{"Floating", "{:f}"},
                    WrongRow{"Character", "{:c}"}, WrongRow{"Unknown", "{:k}"}, WrongRow{"TwoTypes", "{:ss}"},
                    WrongRow{"Sign", "{:+}"}, WrongRow{"Alternate", "{:#}"}, WrongRow{"NoDigitBehindThePoint", "{:.}"},
                    WrongRow{"FillIsABrace", "{:{<5}"}, WrongRow{"NotClosed", "{:5"},
                    WrongRow{"WidthTooLarge", "{:99999999999}"}, WrongRow{"NegativeDynamicWidth", "{0:{1}}", -1},
                    WrongRow{"NegativeDynamicPrecision", "{0:.{2}}", 0, -1}, WrongRow{"WidthFromAText", "{0:{0}}"},
                    WrongRow{"WidthFromNoArgument", "{0:{9}}"}, WrongRow{"NoSuchArgument", "{9}"}),
    by_name);

TEST(QStringFormatTest, a_wrong_specification_throws_at_run_time)
{
    EXPECT_THROW(static_cast<void>(fmt::format(fmt::runtime("{:d}"), QStringLiteral("abc"))), fmt::format_error);
}

} // namespace
