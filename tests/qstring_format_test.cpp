#include <tarnwick/qstring_format.h>

#include "support/table.h"

#include <iterator>
#include <string>

#include <QString>
#include <QStringList>

#include <gtest/gtest.h>

namespace tarnwick::test::qstring_format_test {
namespace {

using tarnwick::test::by_name;
using tarnwick::test::TableTest;

// Formats {0}, with a width in {1} and a precision in {2} for the formats that use them.
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

TEST_P(QStringFormat, formats_the_text)
{
    Row const &row = GetParam();
    QString const text = QString::fromStdString(row.text);
    EXPECT_EQ(format_one(row.format, text, row.width, row.precision), row.expected);
}

TEST_P(QStringFormat, formats_like_a_std_string)
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
    testing::Values(Row{"no_specification", "{}", "text", "text"}, Row{"index", "{0} {0}", "text", "text text"},
                    Row{"empty_specification", "{:}", "text", "text"}, Row{"type_s", "{:s}", "text", "text"},
                    Row{"braces_around", "{{{}}}", "text", "{text}"},
                    Row{"braces_in_the_text", "'{}'", "{} {0}", "'{} {0}'"}, Row{"empty", "'{}'", "", "''"},
                    Row{"embedded_nul", "'{}'", nul_text, "'" + nul_text + "'"}, Row{"line_feed", "{}", "a\nb", "a\nb"},
                    Row{"multi_byte", "{}", "Größe " + euro + kanji + emoji, "Größe " + euro + kanji + emoji},
                    Row{"long", "{}", std::string(5'000, 'x'), std::string(5'000, 'x')}),
    by_name);

INSTANTIATE_TEST_SUITE_P(
    Width, QStringFormat,
    testing::Values(Row{"default_aligns_left", "{:6}|", "abc", "abc   |"}, Row{"left", "{:<6}|", "abc", "abc   |"},
                    Row{"right", "{:>6}|", "abc", "   abc|"}, Row{"centre", "{:^7}|", "abc", "  abc  |"},
                    Row{"centre_odd", "{:^6}|", "abc", " abc  |"}, Row{"fill_left", "{:*<6}", "abc", "abc***"},
                    Row{"fill_right", "{:*>6}", "abc", "***abc"}, Row{"fill_centre", "{:*^7}", "abc", "**abc**"},
                    Row{"fill_zero", "{:0>6}", "abc", "000abc"},
                    Row{"fill_with_an_alignment_sign", "{:<>6}", "abc", "<<<abc"},
                    Row{"fill_multi_byte", "{:\xE2\x82\xAC^5}", "abc", euro + "abc" + euro},
                    Row{"align_without_width", "{:>}", "abc", "abc"}, Row{"exactly_filled", "{:3}|", "abc", "abc|"},
                    Row{"not_cut_when_too_long", "{:2}|", "abc", "abc|"}, Row{"empty", "{:3}|", "", "   |"},
                    Row{"empty_filled", "{:*^3}|", "", "***|"}, Row{"with_type", "{:>6s}", "abc", "   abc"},
                    Row{"counts_columns_not_bytes", "{:>5}", "Größe", "Größe"},
                    Row{"multi_byte_is_one_column", "{:>3}|", euro, "  " + euro + "|"},
                    Row{"kanji_is_two_columns", "{:>4}|", kanji, "  " + kanji + "|"},
                    Row{"emoji_is_two_columns", "{:<4}|", emoji, emoji + "  |"},
                    Row{"embedded_nul_counts", "{:>5}", nul_text, "  " + nul_text},
                    Row{"dynamic", "{0:{1}}|", "abc", "abc   |", 6}, Row{"dynamic_zero", "{0:{1}}|", "abc", "abc|", 0},
                    Row{"dynamic_by_order", "{:{}}|", "abc", "abc  |", 5},
                    Row{"dynamic_filled_right", "{0:->{1}}", "abc", "---abc", 6}),
    by_name);

INSTANTIATE_TEST_SUITE_P(Precision, QStringFormat,
                         testing::Values(Row{"cuts", "{:.2}", "abc", "ab"},
                                         Row{"cuts_to_nothing", "{:.0}|", "abc", "|"},
                                         Row{"longer_than_the_text", "{:.9}|", "abc", "abc|"},
                                         Row{"with_type", "{:.2s}", "abc", "ab"},
                                         Row{"with_width", "{:5.2}|", "abc", "ab   |"},
                                         Row{"with_fill_and_alignment", "{:*>5.2}", "abc", "***ab"},
                                         Row{"cuts_between_characters_not_bytes", "{:.3}", "Größe", "Grö"},
                                         Row{"cuts_after_a_four_byte_character", "{:.1}", emoji + "x", emoji},
                                         Row{"embedded_nul_counts", "{:.2}", nul_text, std::string("a\0", 2)},
                                         Row{"dynamic", "{0:.{2}}", "abcdef", "abcd", 0, 4},
                                         Row{"dynamic_zero", "{0:.{2}}|", "abcdef", "|", 0, 0},
                                         Row{"dynamic_with_dynamic_width", "{0:.>{1}.{2}}", "abcdef", "..abcd", 6, 4},
                                         Row{"dynamic_by_order", "{:{}.{}}|", "abcdef", "abcd  |", 6, 4}),
                         by_name);

INSTANTIATE_TEST_SUITE_P(Debug, QStringFormat,
                         testing::Values(Row{"quotes", "{:?}", "text", "\"text\""}, Row{"empty", "{:?}", "", "\"\""},
                                         Row{"escapes", "{:?}", "a\n\t\r\"\\", R"("a\n\t\r\"\\")"},
                                         Row{"nul", "{:?}", nul_text, R"("a\x00b")"},
                                         Row{"keeps_printable_multi_byte", "{:?}", "ö" + euro, "\"ö" + euro + "\""},
                                         Row{"with_width", "{:*>8?}", "text", "**\"text\""}),
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

TEST(QStringFormatTest, formats_beside_other_arguments)
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
    testing::Values(WrongRow{"integer", "{:d}"}, WrongRow{"hexadecimal", "{:x}"}, WrongRow{"floating", "{:f}"},
                    WrongRow{"character", "{:c}"}, WrongRow{"unknown", "{:k}"}, WrongRow{"two_types", "{:ss}"},
                    WrongRow{"sign", "{:+}"}, WrongRow{"alternate", "{:#}"},
                    WrongRow{"no_digit_after_the_point", "{:.}"}, WrongRow{"fill_is_a_brace", "{:{<5}"},
                    WrongRow{"not_closed", "{:5"}, WrongRow{"width_too_large", "{:99999999999}"},
                    WrongRow{"negative_dynamic_width", "{0:{1}}", -1},
                    WrongRow{"negative_dynamic_precision", "{0:.{2}}", 0, -1}, WrongRow{"width_from_a_text", "{0:{0}}"},
                    WrongRow{"width_from_no_argument", "{0:{9}}"}, WrongRow{"no_such_argument", "{9}"}),
    by_name);

TEST(QStringFormatTest, throws_on_an_invalid_specification_at_run_time)
{
    EXPECT_THROW(static_cast<void>(fmt::format(fmt::runtime("{:d}"), QStringLiteral("abc"))), fmt::format_error);
}

} // namespace
} // namespace tarnwick::test::qstring_format_test
