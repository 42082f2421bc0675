#include "requests/sql_text.h"

#include "support/table.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstddef>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::program::sql_text_test {
namespace {

struct ShapeRow {
    char const *name;
    std::string statement;
    std::string shape;
};

using StatementShape = test::TableTest<ShapeRow>;

TEST_P(StatementShape, is_as_listed)
{
    EXPECT_EQ(statement_shape(GetParam().statement), GetParam().shape);
}

TEST_P(StatementShape, is_its_own_shape)
{
    EXPECT_EQ(statement_shape(GetParam().shape), GetParam().shape);
}

ShapeRow const shapes[] = {
    {"empty", "", ""},
    {"blank", " \t\n", ""},
    {"string", "SELECT * FROM t WHERE a = 'x'", "SELECT * FROM t WHERE a = ?"},
    {"empty_string", "a = ''", "a = ?"},
    {"doubled_quote", "a = 'it''s' AND b", "a = ? AND b"},
    {"escaped_quote", R"(a = 'it\'s' AND b)", "a = ? AND b"},
    {"backslash_that_is_no_escape", R"(a = 'C:\' AND b = 'x')", "a = ? AND b = ?"},
    {"escape_character_of_like", R"(a LIKE '%\%' ESCAPE '\' AND b)", "a LIKE ? ESCAPE ? AND b"},
    {"escape_string", R"(a = E'it\'s' AND b = e'\\')", "a = ? AND b = ?"},
    {"prefixed_strings", "x'0f', X'0F', b'01', N'n', U&'d', _utf8'c'", "?, ?, ?, ?, ?, _utf8 ?"},
    {"dollar_quotes", "SELECT $$it's$$, $tag$ $$ $x$ $tag$, $1", "SELECT ?, ?, $1"},
    {"numbers", "1, 2.5, .5, 6., 1e5, 1.5E-3, 0xFF, 007", "?, ?, ?, ?, ?, ?, ?, ?"},
    {"signed_numbers", "a = -5 AND b BETWEEN - 1 AND +2 LIMIT -1", "a = ? AND b BETWEEN ? AND ? LIMIT ?"},
    {"differences", "a-5, a - 5, (a)-5, 3 -5, ?-5, `a`-5", "a - ?, a - ?, (a) - ?, ? - ?, ? - ?, `a` - ?"},
    {"sign_of_a_placeholder", "a = - ?", "a = - ?"},
    {"digits_in_names", "SELECT t1.c2, 2fa FROM tmp_123 t1", "SELECT t1.c2, 2fa FROM tmp_123 t1"},
    {"placeholders", "a = ? AND b = ?2 AND c = $1 AND d = :name AND e = @v AND @@session.x",
     "a = ? AND b = ?2 AND c = $1 AND d = :name AND e = @v AND @@session.x"},
    {"list", "a IN (1, 2, 3)", "a IN (?...)"},
    {"list_of_one", "a in('x')", "a in (?...)"},
    {"list_of_placeholders", "a IN (?, $2, :c, NULL)", "a IN (?...)"},
    {"list_of_an_expression", "a IN (1, b)", "a IN (?, b)"},
    {"list_of_a_query", "a IN (SELECT 1)", "a IN (SELECT ?)"},
    {"empty_list", "a IN ()", "a IN ()"},
    {"list_of_rows", "(a, b) IN ((1, 2), (3, 4))", "(a, b) IN ((?...))"},
    {"array", "a = ANY(ARRAY[1, 2]) AND b[1] = ANY ('{1,2}'::int[])", "a = ANY(ARRAY[?...]) AND b[?] = ANY(?::int[])"},
    {"one_row", "INSERT INTO t (a, b) VALUES (1, 'x')", "INSERT INTO t(a, b) VALUES (?...)"},
    {"rows", "INSERT INTO t VALUES (1,'x'),(2,'y') , (3, NULL)", "INSERT INTO t VALUES (?...)"},
    {"rows_of_expressions", "VALUES (1, NOW()), (2, NOW()), (3, UTC())", "VALUES (?, NOW()), (?, UTC())"},
    {"rows_and_more", "VALUES (?, 1), (?, 2) ON DUPLICATE KEY UPDATE a = VALUES(a), b = 3",
     "VALUES (?...) ON DUPLICATE KEY UPDATE a = VALUES (a), b = ?"},
    {"arguments_of_a_call", "CONCAT('a', 'b')", "CONCAT(?, ?)"},
    {"list_that_is_cut", "a IN (1, 2, 3", "a IN (?..."},
    {"string_that_is_cut", "a IN (1, 'x", "a IN (?..."},
    {"row_that_is_cut", "VALUES (1, 2), (3,", "VALUES (?...)"},
    {"row_that_is_cut_in_a_call", "VALUES (1, NOW()), (2, NOW(", "VALUES (?, NOW())"},
    {"first_row_that_is_cut", "VALUES (1, 2", "VALUES (?..."},
    {"row_of_a_list_that_is_cut", "a IN ((1, 2), (3", "a IN ((?...)"},
    {"comments", "/* a 'b' */ SELECT 1 -- it's\n, 2 # it's\n, 3 --", "SELECT ?, ?, ?"},
    {"nested_comment", "a /* b /* c */ d */ e", "a e"},
    {"comment_that_does_not_nest", "a /* b /* c */ d", "a d"},
    {"comment_that_begins_with_a_slash", "a /*/ b */ c", "a c"},
    {"comment_without_end", "a /* b", "a"},
    {"white_space", "SELECT\ta ,\r\n b\n  FROM t\fWHERE( a=1 )", "SELECT a, b FROM t WHERE (a = ?)"},
    {"calls", "SELECT COUNT (*), MAX(a), f ( )", "SELECT COUNT(*), MAX(a), f()"},
    {"operators", "a<=1 and b<>2 or c!=d || e->>'x' #> f::text := g&&h",
     "a <= ? and b <> ? or c != d || e ->> ? #> f::text := g && h"},
    {"dots", "t . a, t.*, s.t.a", "t.a, t.*, s.t.a"},
    {"end_of_the_statement", "SELECT 1; ", "SELECT ?"},
    {"two_statements", "BEGIN;SELECT 1", "BEGIN; SELECT ?"},
    {"case_of_words", "select A from T", "select A from T"},
    {"names_in_backquotes", "SELECT `a``'b`.`c` FROM `t 1`", "SELECT `a``'b`.`c` FROM `t 1`"},
    {"names_in_brackets", "SELECT [a b].[c] FROM [t 1] WHERE d[2] = 'x'", "SELECT [a b].[c] FROM [t 1] WHERE d[?] = ?"},
    {"names_in_double_quotes", R"(SELECT "a""b" FROM "t" WHERE "c" = 'x')", R"(SELECT "a""b" FROM "t" WHERE "c" = ?)"},
    {"names_with_a_table", R"(SELECT "t"."a", "b")", R"(SELECT "t"."a", "b")"},
    {"strings_in_double_quotes", R"(SELECT "it\"s" FROM t WHERE a = "x""y" OR `b` = "z")",
     "SELECT ? FROM t WHERE a = ? OR `b` = ?"},
    {"quote_without_end", "a = 'x AND b", "a = ?"},
    {"backquote_without_end", "a = `x AND b", "a = ?"},
    {"dollar_quote_without_end", "a = $x$ AND b", "a = ?"},
    {"bracket_without_end", "a = [x AND b", "a = [x AND b"},
    {"unmatched_parentheses", ") a ]) (", ") a]) ("},
    {"nul", std::string("a\0= 1", 6), "a = ?"},
    {"not_utf8", "\xff\xfe = '\xff'", "\xff\xfe = ?"},
    {"utf8", "größe = 'ü'", "größe = ?"},
};

INSTANTIATE_TEST_SUITE_P(Statements, StatementShape, test::rows(shapes), test::by_name);

struct MaskRow {
    char const *name;
    std::string statement;
    std::string masked;
};

using MaskedStatement = test::TableTest<MaskRow>;

TEST_P(MaskedStatement, is_as_listed)
{
    EXPECT_EQ(masked_statement(GetParam().statement), GetParam().masked);
}

MaskRow const masked_statements[] = {
    {"layout", "SELECT  a\n FROM t WHERE b='secret'  -- c", "SELECT  a\n FROM t WHERE b='[masked]'  -- c"},
    {"numbers", "a = 4111111111111111 AND b = 0xDEADBEEF LIMIT 5", "a = 4111111111111111 AND b = [masked] LIMIT 5"},
    {"empty_string", "a = ''", "a = ''"},
    {"prefixes", "x'AB', E'a\\'b', $t$secret$t$, N'n'", "x'[masked]', E'[masked]', $t$[masked]$t$, N'[masked]'"},
    {"list", "a IN ('b', 'c')", "a IN ('[masked]', '[masked]')"},
    {"double_quotes", R"(a = "secret" AND `b` = 1)", R"(a = "[masked]" AND `b` = 1)"},
    {"names", R"(SELECT "a" FROM "t" WHERE [b] = `c`)", R"(SELECT "a" FROM "t" WHERE [b] = `c`)"},
    {"comments_with_quotes", "/* Foo::bar */ a /* 'secret' */ -- it's\nb",
     "/* Foo::bar */ a /*[masked]*/ --[masked]\nb"},
    {"comment_or_operator", "a # 'secret'", "a #[masked]"},
    {"quote_without_end", "a = 'secret", "a = '[masked]"},
    {"backquote_without_end", "a = `secret", "a = `[masked]"},
    {"escape", R"(a = 'it\'s secret' AND b)", R"(a = '[masked]' AND b)"},
    {"backslash_that_is_no_escape", R"(a = 'x\' AND b = 'secret')", R"(a = '[masked]' AND b = '[masked]')"},
    // What is in a string in one of two possible readings.
    {"escape_or_backslash", R"(a = 'x\' , ' + 1)", R"(a = '[masked]'[masked])"},
    {"escape_that_is_cut", R"(a = 'O\'Secret)", R"(a = '[masked])"},
};

INSTANTIATE_TEST_SUITE_P(Statements, MaskedStatement, test::rows(masked_statements), test::by_name);

struct FirstWordRow {
    char const *name;
    std::string statement;
    std::string word;
};

using FirstWord = test::TableTest<FirstWordRow>;

TEST_P(FirstWord, is_as_listed)
{
    EXPECT_EQ(first_word(GetParam().statement), GetParam().word);
}

FirstWordRow const first_words[] = {
    {"upper_case", "SELECT 1", "SELECT"},
    {"lower_case", " insert into t", "INSERT"},
    {"comments", "-- a\n/* b */ # c\nUPDATE t", "UPDATE"},
    {"parentheses", "( (SELECT 1) UNION (SELECT 2))", "SELECT"},
    {"no_space", "DELETE/* */FROM", "DELETE"},
    {"only_a_word", "COMMIT", "COMMIT"},
    {"empty", "", ""},
    {"only_a_comment", "/* SELECT", ""},
    {"a_number", "1 SELECT", ""},
    {"a_name", "`SELECT`", ""},
};

INSTANTIATE_TEST_SUITE_P(Statements, FirstWord, test::rows(first_words), test::by_name);

TEST(SqlText, shape_depends_on_no_literal)
{
    EXPECT_EQ(statement_shape("SELECT a FROM t WHERE b = 'x' AND c IN (1, 2) /* r1 */"),
              statement_shape("SELECT a  FROM t WHERE b='y''z' AND c IN (-3)"));
}

/// Returns random text of pieces that mean something in SQL.
std::string random_statement(std::mt19937 &random, std::size_t pieces)
{
    static std::vector<std::string> const words{"SELECT", "select", "FROM", "IN",       "VALUES", "VALUE",
                                                "ARRAY",  "NULL",   "a",    "t1",       "2fa",    "e",
                                                "E",      "x",      "U&",   "'",        "''",     "\"",
                                                "\"\"",   "\"a\"",  "`",    "`a`",      "[",      "]",
                                                "[a b]",  "(",      ")",    ",",        ";",      ".",
                                                "..",     "...",    "?",    "??",       "?...",   "?1",
                                                "$",      "$$",     "$1",   "$a$",      ":",      "::",
                                                ":=",     ":a",     "@",    "@@",       "@a",     "\\",
                                                "\\'",    "-",      "--",   "+",        "*",      "/",
                                                "/*",     "*/",     "#",    "#>",       "->",     "=",
                                                "<",      ">",      "!",    "|",        "&",      "%",
                                                "1",      "0x1F",   "1.",   ".5",       "1e",     "1e+5",
                                                " ",      "\n",     "\t",   "\xc3\xa4", "\xff",   std::string(1, '\0')};
    std::uniform_int_distribution<std::size_t> pick(0, words.size() - 1);
    std::uniform_int_distribution<int> byte(0, 255);
    std::string text;
    for (std::size_t i = 0; i < pieces; ++i) {
        if (byte(random) < 8)
            text += static_cast<char>(byte(random));
        else
            text += words[pick(random)];
        if (byte(random) < 64)
            text += ' ';
    }
    return text;
}

TEST(SqlText, shape_of_any_shape_is_the_shape)
{
    std::mt19937 random(20261122); // NOLINT(bugprone-random-generator-seed): the same each time
    for (int i = 0; i < 30'000; ++i) {
        auto const statement = random_statement(random, 1 + static_cast<std::size_t>(i) % 24);
        auto const shape = statement_shape(statement);
        ASSERT_EQ(statement_shape(shape), shape) << testing::PrintToString(statement);
    }
}

TEST(SqlText, masked_statement_keeps_all_else)
{
    std::mt19937 random(20261123); // NOLINT(bugprone-random-generator-seed): the same each time
    for (int i = 0; i < 10'000; ++i) {
        auto const statement = random_statement(random, 1 + static_cast<std::size_t>(i) % 24);
        std::vector<bool> is_literal(statement.size());
        for (auto const &[begin, end] : literal_ranges(statement)) {
            ASSERT_LE(begin, end) << testing::PrintToString(statement);
            ASSERT_LE(end, statement.size()) << testing::PrintToString(statement);
            std::fill(is_literal.begin() + static_cast<std::ptrdiff_t>(begin),
                      is_literal.begin() + static_cast<std::ptrdiff_t>(end), true);
        }
        std::string expected;
        for (std::size_t at = 0; at < statement.size(); ++at) {
            if (!is_literal[at])
                expected += statement[at];
            else if (at == 0 || !is_literal[at - 1])
                expected += mask_text;
        }
        ASSERT_EQ(masked_statement(statement), expected) << testing::PrintToString(statement);
    }
}

// Quadratic time would be minutes.
TEST(SqlText, reads_long_repeated_text)
{
    for (std::string const unit :
         {"'",  "\"", "`",    "[", "]",  "(",  ")",  "(1,", "((1),", "\\",     "\\'",         "'\\", "$",
          "$a", "$$", "$a$b", "-", "--", "#",  "/*", "*/",  "/*/*",  "/**/",   "/* /* */",    ".",   "?",
          ":",  "@",  "@a",   "1", "1.", "1e", "0x", "[a ", "a ",    "IN(1),", "VALUES(1),(", "x'",  "E'"}) {
        std::string text;
        while (text.size() < std::size_t{128} * 1024)
            text += unit;
        SCOPED_TRACE(unit);
        EXPECT_LE(statement_shape(text).size(), 2 * text.size());
        EXPECT_LE(masked_statement(text).size(), 10 * text.size());
        EXPECT_LE(first_word(text).size(), text.size());
    }
}

} // namespace
} // namespace tarnwick::program::sql_text_test
