// ConfigFile: references and quotes in values.

#include "support/config_files.h"
#include "support/table.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace tarnwick::test::config_references_test {
namespace {

// Set only by a test, never by the machine.
constexpr char const *variable = "TARNWICK_TEST_E";

struct ValueCase {
    char const *name;
    std::string value;
    std::optional<std::string> stored; ///< absent: the directive is dropped
};

class Value : public TableTest<ValueCase> {};

TEST_P(Value, is_stored)
{
    Texts expected{"Y=1"};
    if (GetParam().stored)
        expected.push_back("a=" + *GetParam().stored);
    EXPECT_EQ(read("Y = 1\na = " + GetParam().value + "\n"), expected);
}

INSTANTIATE_TEST_SUITE_P(
    Quotes, Value,
    testing::Values(ValueCase{"plain", "plain text", "plain text"}, ValueCase{"blanks_in_quotes", "\"  x  \"", "  x  "},
                    ValueCase{"only_blanks_in_quotes", "\"   \"", "   "},
                    ValueCase{"other_quote_inside", "'x\"y'", "x\"y"}, ValueCase{"same_quote_inside", "'it's'", "it's"},
                    ValueCase{"one_pair_goes", "\"\"x\"\"", "\"x\""}, ValueCase{"quote_inside", "it's", "it's"},
                    ValueCase{"quote_at_the_end", "x\"", "x\""}, ValueCase{"empty_in_quotes", "\"\"", ""},
                    ValueCase{"empty_in_single_quotes", "''", ""}, ValueCase{"no_escapes", R"("a\"b\")", R"(a\"b\)"},
                    ValueCase{"protect_text_after_a_hash", "\"1 # b\"", "1 # b"}),
    by_name);

INSTANTIATE_TEST_SUITE_P(
    References, Value,
    testing::Values(ValueCase{"to_a_key", "${Y}", "1"}, ValueCase{"in_quotes", "\"${Y}\"", "${Y}"},
                    ValueCase{"in_single_quotes", "'${Y}'", "${Y}"}, ValueCase{"after_text", "x${Y}", "x${Y}"},
                    ValueCase{"before_text", "${Y}x", "${Y}x"}, ValueCase{"two", "${Y}${Y}", "${Y}${Y}"},
                    ValueCase{"to_nothing", "${TARNWICK_TEST_X}", std::nullopt},
                    ValueCase{"empty_default", "${TARNWICK_TEST_X:-}", std::nullopt},
                    ValueCase{"default", "${TARNWICK_TEST_X:-d e}", "d e"},
                    ValueCase{"default_with_blanks", "${TARNWICK_TEST_X:- d }", " d "},
                    ValueCase{"default_in_quotes", "${TARNWICK_TEST_X:-\"d e\"}", "d e"},
                    ValueCase{"empty_default_in_quotes", "${TARNWICK_TEST_X:-\"\"}", ""},
                    ValueCase{"default_that_looks_like_one", "${TARNWICK_TEST_X:-${Y}}", "${Y}"},
                    ValueCase{"default_with_a_brace", "${TARNWICK_TEST_X:-b}c}", "b}c"},
                    ValueCase{"default_unused", "${Y:-d}", "1"}, ValueCase{"empty_default_unused", "${Y:-}", "1"},
                    ValueCase{"name_with_digit_first", "${1Y}", "${1Y}"},
                    ValueCase{"name_with_point_first", "${.Y}", "${.Y}"},
                    ValueCase{"name_with_dash", "${Y-Y}", "${Y-Y}"}, ValueCase{"name_with_blank", "${ Y}", "${ Y}"},
                    ValueCase{"name_that_is_empty", "${}", "${}"},
                    ValueCase{"name_outside_ascii", "${\xC3\xA9}", "${\xC3\xA9}"},
                    ValueCase{"colon_alone", "${Y:x}", "${Y:x}"}, ValueCase{"dash_alone", "${Y-x}", "${Y-x}"},
                    ValueCase{"without_brace", "${Y", "${Y"}, ValueCase{"without_braces", "$Y", "$Y"},
                    ValueCase{"dollar_twice", "$${Y}", "$${Y}"},
                    ValueCase{"name_with_everything", "${_TARNWICK_TEST_aZ9_.}", std::nullopt}),
    by_name);

TEST(Quotes, that_do_not_end_are_a_fault)
{
    ConfigFolder const folder;
    for (auto const *value : {"\"x", "\"", "'", "\"x'", "'x\"", "${TARNWICK_TEST_X:-\"}", "${TARNWICK_TEST_X:-'d}"}) {
        auto const file = folder.write("f.conf", fmt::format("# c\na = {}\n", value));
        EXPECT_EQ(failure(file), fmt::format("Failed to load '{0}':\n\tunterminated string literal at {0}:2", file))
            << value;
    }
}

TEST(Quotes, that_do_not_end_are_a_fault_outside_the_prefix_too)
{
    ConfigFolder const folder;
    auto const file = folder.write("f.conf", "other = 'x\n");
    EXPECT_EQ(failure(file, "app"), "Failed to load '" + file + "':\n\tunterminated string literal at " + file + ":1");
}

TEST(Unescaped, removes_one_pair)
{
    ConfigFile const config(QString(u"f.conf"), QString());
    auto const unescaped = [&](char16_t const *value) { return config.unescaped(QString(value)); };
    EXPECT_EQ(unescaped(u""), QString());
    EXPECT_EQ(config.unescaped(QString()), QString());
    EXPECT_EQ(unescaped(u" 'x' "), QString(u" 'x' "));
    EXPECT_EQ(unescaped(u"'x'"), QString(u"x"));
    EXPECT_EQ(failure_of([&] { (void)unescaped(u"'"); }), "unterminated string literal at f.conf:0");
}

TEST(IsVar, returns_the_parts)
{
    ConfigFile const config(QString(u"f.conf"), QString());
    struct Case {
        char const *value;
        bool is_var;
        char const *name;
        std::optional<std::string> default_value;
    };
    Case const cases[] = {
        {"${A}", true, "A", {}},
        {"${A:-}", true, "A", {}},
        {"${A:-d}", true, "A", "d"},
        {"${a.b}", true, "a.b", {}},
        {"${A:-b}c}", true, "A", "b}c"},
        {"${A:-:-}", true, "A", ":-"},
        {"x", false, "", {}},
        {"", false, "", {}},
        {" ${A}", false, "", {}},
        {"${A} ", false, "", {}},
        {"${A:-\n}", false, "", {}},
        {"${A}}", false, "", {}},
    };
    for (auto const &row : cases) {
        QString name;
        std::optional<QString> default_value;
        EXPECT_EQ(config.is_var(q(row.value), name, default_value), row.is_var) << row.value;
        EXPECT_EQ(name.toStdString(), row.name) << row.value;
        EXPECT_EQ(default_value ? std::optional(default_value->toStdString()) : std::nullopt, row.default_value)
            << row.value;
    }
}

TEST(IsVar, leaves_the_output_when_it_returns_false)
{
    ConfigFile const config(QString(u"f.conf"), QString());
    QString name(u"before");
    std::optional<QString> default_value(u"before");
    EXPECT_FALSE(config.is_var(QString(u"x"), name, default_value));
    EXPECT_EQ(name, QString(u"before"));
    EXPECT_TRUE(config.is_var(QString(u"${A:-}"), name, default_value));
    EXPECT_EQ(name, QString(u"A"));
    EXPECT_EQ(default_value, QString(u"before"));
}

TEST(GetVar, looks_in_file_parent_environment_and_default_in_order)
{
    ConfigFile root(QString(u"root.conf"), QString());
    ConfigFile parent(root, QString(u"parent.conf"));
    ConfigFile file(parent, QString(u"file.conf"));
    QString const name(QLatin1StringView{variable});
    auto const get = [&] { return file.get_var(name, QString(u"default")); };

    EXPECT_EQ(file.get_var(name, std::nullopt), std::nullopt);
    EXPECT_EQ(get(), QString(u"default"));
    root.add_value(name, QString(u"root"));
    EXPECT_EQ(get(), QString(u"default")) << "a grandparent is out of reach";
    Variable const environment(variable, "environment");
    EXPECT_EQ(get(), QString(u"environment"));
    parent.add_value(name, QString(u"parent 1"));
    parent.add_value(name, QString(u"parent 2"));
    EXPECT_EQ(get(), QString(u"parent 2"));
    file.add_value(QString(u"other"), QString(u"x"));
    EXPECT_EQ(get(), QString(u"parent 2"));
    file.add_value(name, QString());
    EXPECT_EQ(get(), QString(u"")) << "an empty value counts";
    file.add_value(name, QString(u"file"));
    EXPECT_EQ(get(), QString(u"file"));
}

TEST(GetVar, does_not_look_in_tables_for_a_name_outside_the_prefix)
{
    QString const name(QLatin1StringView{variable});
    ConfigFile root(QString(u"root.conf"), QString(u"app"));
    ConfigFile const parent(root, QString(u"parent.conf"));
    ConfigFile file(parent, QString(u"file.conf"));
    file.add_value(name, QString(u"table"));
    EXPECT_EQ(file.get_var(name, std::nullopt), std::nullopt);
    EXPECT_EQ(file.get_var(QString(u"app.") + name, std::nullopt), QString(u"table")) << "the root's prefix counts";
    Variable const environment(variable, "environment");
    EXPECT_EQ(file.get_var(name, std::nullopt), QString(u"environment"));
}

TEST(GetVar, does_not_expand_references_in_the_result)
{
    ConfigFile file(QString(u"file.conf"), QString());
    file.add_value(QString(u"A"), QString(u"${B}"));
    file.add_value(QString(u"B"), QString(u"1"));
    EXPECT_EQ(file.get_var(QString(u"A"), std::nullopt), QString(u"${B}"));
    EXPECT_EQ(file.get_var(QString(u"TARNWICK_TEST_C"), QString(u"${B}")), QString(u"${B}"));
}

TEST(References, use_the_last_value_above_them)
{
    EXPECT_EQ(read("a = 1\na = 2\nb = ${a}\na = 3\n"), (Texts{"a=3", "a=2", "a=1", "b=2"}));
    EXPECT_EQ(read("b = ${TARNWICK_TEST_A:-none}\nTARNWICK_TEST_A = 1\n"), (Texts{"TARNWICK_TEST_A=1", "b=none"}));
    EXPECT_EQ(read("a = 1\na = ${a}\n"), (Texts{"a=1", "a=1"}));
}

TEST(References, are_case_sensitive)
{
    EXPECT_EQ(read("TARNWICK_TEST_Y = 1\na = ${tarnwick_test_y}\n"), Texts{"TARNWICK_TEST_Y=1"});
}

TEST(References, accept_names_with_dots)
{
    EXPECT_EQ(read("db.path = /x\nb = ${db.path}\n"), (Texts{"b=/x", "db.path=/x"}));
}

TEST(References, include_the_prefix)
{
    Variable const environment("TARNWICK_TEST_E", "environment");
    EXPECT_EQ(read("app.port = 1\napp.b = ${app.port}\n", "app"), (Texts{"b=1", "port=1"}));
    EXPECT_EQ(read("app.TARNWICK_TEST_X = 1\napp.b = ${TARNWICK_TEST_X:-none}\n", "app"),
              (Texts{"TARNWICK_TEST_X=1", "b=none"}));
    EXPECT_EQ(read("app.TARNWICK_TEST_E = 1\napp.b = ${TARNWICK_TEST_E}\n", "app"),
              (Texts{"TARNWICK_TEST_E=1", "b=environment"}));
    // The whole name is looked up in the environment.
    Variable const with_prefix("app.TARNWICK_TEST_E", "with prefix");
    EXPECT_EQ(read("app.b = ${app.TARNWICK_TEST_E}\n", "app"), Texts{"b=with prefix"});
    EXPECT_EQ(read("app. = 1\napp.b = ${app.}\n", "app"), (Texts{"=1", "b=1"})) << "the empty key can be referred to";
}

TEST(References, fall_back_to_the_environment)
{
    std::string const line = "a = ${TARNWICK_TEST_E:-d}\n";
    EXPECT_EQ(read(line), Texts{"a=d"});
    {
        Variable const environment(variable, "Gr\xC3\xB6\xC3\x9F"
                                             "e");
        EXPECT_EQ(read(line), Texts{"a=Gr\xC3\xB6\xC3\x9F"
                                    "e"});
    }
    {
        Variable const environment(variable, "");
        EXPECT_EQ(read(line), Texts{"a=d"}) << "set but empty counts as unset";
    }
    {
        Variable const environment(variable, "\xFF");
        EXPECT_EQ(read(line), Texts{"a=\xEF\xBF\xBD"});
    }
    {
        Variable const environment(variable, "environment");
        EXPECT_EQ(read("TARNWICK_TEST_E =\n" + line), (Texts{"TARNWICK_TEST_E=", "a="}));
        EXPECT_EQ(read("TARNWICK_TEST_E = \"\"\n" + line), (Texts{"TARNWICK_TEST_E=", "a="}));
    }
}

TEST(References, return_values_unquoted_but_not_trimmed)
{
    ConfigFolder const folder;
    auto const file = folder.write("f.conf", "a = ${TARNWICK_TEST_E}\n");
    {
        Variable const environment(variable, "\"x\"");
        EXPECT_EQ(loaded(file), Texts{"a=x"});
    }
    {
        Variable const environment(variable, " \"x\" ");
        EXPECT_EQ(loaded(file), Texts{"a= \"x\" "});
    }
    {
        Variable const environment(variable, "'x");
        EXPECT_EQ(failure(file), "Failed to load '" + file + "':\n\tunterminated string literal at " + file + ":1");
    }
    EXPECT_EQ(read("a = ''x''\nb = ${a}\n"), (Texts{"a='x'", "b=x"}));
    EXPECT_EQ(read("a = \"${B}\"\nB = 1\nb = ${a}\n"), (Texts{"B=1", "a=${B}", "b=${B}"}));
}

} // namespace
} // namespace tarnwick::test::config_references_test
