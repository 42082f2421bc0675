// Warnings of `tarnwick config check`.

#include "support/table.h"
#include "tools/tarnwick/support/config_program.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace tarnwick::test::config_warnings_test {
namespace {

using namespace std::string_literals;
using testing::HasSubstr;

std::string const mark = "\xEF\xBB\xBF";

/// Files of a check of main.conf, and the expected warnings.
struct WarningCase {
    char const *name;
    std::map<std::string, std::string> files;
    std::string warnings;
    // NOLINTNEXTLINE(readability-redundant-member-init): rows leave it out
    std::string program = {}; ///< name for the prefix
};

class Warning : public ConfigProgram, public testing::WithParamInterface<Named<WarningCase>> {
protected:
    Warning()
    {
        for (auto const &[name, content] : GetParam().files)
            folder.write(name, content);
    }
    [[nodiscard]] Outcome check(std::vector<std::string> arguments = {}) const
    {
        arguments.insert(arguments.begin(), {"check", "--name=" + GetParam().program, "main.conf"});
        return config(arguments);
    }
};

TEST_P(Warning, is_printed_with_its_place_and_fails_if_strict)
{
    auto const lenient = check();
    EXPECT_EQ(lenient.status, 0);
    std::string text;
    for (std::string_view rest = lenient.out; !rest.empty(); rest.remove_prefix(rest.find('\n') + 1)) {
        if (auto const line = rest.substr(0, rest.find('\n') + 1); !line.starts_with("read "))
            text += line;
    }
    EXPECT_EQ(text, GetParam().warnings);

    auto const strict = check({"--strict"});
    auto const status = GetParam().warnings.empty() ? 0 : 1;
    EXPECT_EQ(strict.status, status);
    EXPECT_EQ(strict.out, lenient.out);
    EXPECT_EQ(check({"--strict", "--format=json"}).status, status);
}

std::string const comment = "'#' does not begin a comment after a value: it is part of the value\n";
std::string const utf8 = "bytes that are not UTF-8 are replaced by U+FFFD\n";
std::string const carriage_return = "carriage returns inside the line are dropped: only a line feed ends a line\n";
std::string const hidden_text = "a carriage return does not end a line: the text after it is part of the comment\n";
std::string const marked_comment = "the byte-order mark before the comment makes it a directive\n";
std::string const ordinary = " is an ordinary key: only 'include' reads a file\n";

INSTANTIATE_TEST_SUITE_P(
    Of, Warning,
    testing::Values(
        WarningCase{"hash_after_a_value", {{"main.conf", "a = 1 # b\n"}}, "main.conf:1: warning: " + comment},
        WarningCase{"hash_after_a_blank", {{"main.conf", "a = 1\t#b\n"}}, "main.conf:1: warning: " + comment},
        WarningCase{"hash_instead_of_a_value", {{"main.conf", "a = # b\n"}}, "main.conf:1: warning: " + comment},
        WarningCase{"semicolon_after_a_value",
                    {{"main.conf", "a = 1 ; b\n"}},
                    "main.conf:1: warning: ';' does not begin a comment after a value: it is part of the value\n"},
        WarningCase{"hash_after_a_pattern",
                    {{"main.conf", "include = p* # b\n"}, {"part", ""}},
                    "main.conf:1: warning: " + comment},
        WarningCase{"no_semicolon_between_patterns", {{"main.conf", "include = p* ; q*\n"}, {"part", ""}}, ""},
        WarningCase{"no_hash_that_is_a_value",
                    {{"main.conf", "a = #fff\nb = x#y\nc = \"1 # b\"\nd = x;y; z;\ne = '# 1'\n# f\n"}},
                    ""},
        WarningCase{"no_hash_of_a_reference", {{"main.conf", "a = '1 # b'\nb = ${a}\n"}}, ""},
        WarningCase{"reference_in_a_value",
                    {{"main.conf", "a = http://${b.c}/\nb = ${A}${B}\nc = x${A:-1}\n"}},
                    "main.conf:1: warning: '${b.c}' is not replaced: a reference must be the entire value\n"
                    "main.conf:2: warning: '${A}' is not replaced: a reference must be the entire value\n"
                    "main.conf:3: warning: '${A:-1}' is not replaced: a reference must be the entire value\n"},
        WarningCase{"reference_in_a_pattern",
                    {{"main.conf", "include = ${A}*\n"}},
                    "main.conf:1: warning: '${A}' is not replaced: a reference must be the entire value\n"
                    "main.conf:1: warning: no file matches '${A}*'\n"},
        WarningCase{"no_reference_in_quotes", {{"main.conf", "a = \"x ${A}\"\nb = '${A}'\nc = $A ${} ${1}\n"}}, ""},
        WarningCase{"include_in_other_case",
                    {{"main.conf", "Include = part\nINCLUDE = part\n"}},
                    "main.conf:1: warning: 'Include'" + ordinary + "main.conf:2: warning: 'INCLUDE'" + ordinary},
        WarningCase{"include_with_a_prefix",
                    {{"main.conf", "app.include = part\n"}},
                    "main.conf:1: warning: 'app.include'" + ordinary,
                    "app"},
        WarningCase{"include_with_a_prefix_that_is_read",
                    {{"main.conf", "app.include = part\n"}},
                    "main.conf:1: warning: 'app.include'" + ordinary},
        WarningCase{"include_outside_the_prefix",
                    {{"main.conf", "app.a = 1\nInclude = part\n"}},
                    "main.conf:2: warning: 'Include' is dropped: it is outside the prefix 'app.'; only 'include' reads "
                    "a file\n",
                    "app"},
        WarningCase{"no_key_that_is_longer", {{"main.conf", "includes = 1\nincluded.a = 1\nxinclude = 1\n"}}, ""},
        WarningCase{"bytes_that_are_not_utf8",
                    {{"main.conf", "# \xE9\na = caf\xE9\nb\xFF = 1\nc = caf\xC3\xA9\n"}},
                    "main.conf:2: warning: " + utf8 + "main.conf:3: warning: " + utf8},
        WarningCase{"carriage_returns_that_end_lines",
                    {{"main.conf", "a = 1\rb = 2\rc = 3\r"}},
                    "main.conf:1: warning: " + carriage_return},
        WarningCase{
            "carriage_returns_in_quotes", {{"main.conf", "a = ' \r'\n"}}, "main.conf:1: warning: " + carriage_return},
        // The reader keeps the first and drops the second.
        WarningCase{"carriage_returns_at_the_end_of_the_buffer",
                    {{"main.conf", "#" + std::string(16'384 - 8, 'x') + "\na\rb = 1\rc\n"}},
                    "main.conf:2: warning: " + carriage_return},
        WarningCase{"no_carriage_returns_that_stay", {{"main.conf", "a = 1\nb = 2\r3\nc = '\r'\n"}}, ""},
        WarningCase{"no_carriage_returns_before_line_feeds", {{"main.conf", "# c\r\na = 1\r\n\r\nb = 2\r\n"}}, ""},
        WarningCase{"carriage_returns_in_a_comment",
                    {{"main.conf", "# c\ra = 1\rb = 2\r"}, {"other.conf", ""}},
                    "main.conf:1: warning: " + hidden_text},
        WarningCase{"no_carriage_returns_among_comments", {{"main.conf", "# c\r# d\r\r; e\r\na = 1\n#\r\r\n"}}, ""},
        WarningCase{"mark_before_a_comment",
                    {{"main.conf", mark + "# a = 1\nb = 1\n" + mark + " ; c = 1\n"}},
                    "main.conf:1: warning: " + marked_comment + "main.conf:3: warning: " + marked_comment},
        WarningCase{"no_mark_before_a_key",
                    {{"main.conf", mark + "a = 1\n" + mark + "b = # c\n"}},
                    "main.conf:2: warning: " + comment},
        WarningCase{
            "include_that_turns_values_around",
            {{"main.conf", "b = 0\ninclude = part\n"}, {"part", "c = 1\na = 1\na = 2\n"}},
            "main.conf:2: warning: after this include, the most recent value of 'a' is '1', but in './part' it is "
            "'2'\n"},
        WarningCase{
            "include_that_turns_values_of_a_program_around",
            {{"main.conf", "app.b = 0\ninclude = p*\n"}, {"part", "app.a = 1\napp.a = \n"}},
            "main.conf:2: warning: after this include, the most recent value of 'app.a' is '1', but in './part' it "
            "is ''\n",
            "app"},
        WarningCase{
            "nested_include_that_turns_values_around",
            {{"main.conf", "include = part\n"}, {"part", "b = 0\ninclude = deep\n"}, {"deep", "a = 1\na = 2\n"}},
            "./part:2: warning: after this include, the most recent value of 'a' is '1', but in './deep' it is '2'\n"
            "\tincluded at main.conf:1\n"},
        WarningCase{"no_include_into_an_empty_table",
                    {{"main.conf", "include = part\nb = 1\n"}, {"part", "a = 1\na = 2\n"}},
                    ""},
        WarningCase{
            "no_include_with_equal_or_single_values",
            {{"main.conf", "a = 0\nb = 0\ninclude = part\n"}, {"part", "a = 1\nb = 2\nb = 2\nc = 1\nc = 2\nc = 1\n"}},
            ""},
        WarningCase{"prefix_that_no_key_has",
                    {{"main.conf", "app.a = 1\nother.b = 2\napp.c = 3\nd = 4\n"}},
                    "main.conf:1: warning: no key starts with the prefix 'nosuch.'; prefixes in use: 'app.', "
                    "'other.'\n"
                    "main.conf:1: warning: 'app.a' is dropped: it is outside the prefix 'nosuch.'\n"
                    "main.conf:2: warning: 'other.b' is dropped: it is outside the prefix 'nosuch.'\n"
                    "main.conf:3: warning: 'app.c' is dropped: it is outside the prefix 'nosuch.'\n"
                    "main.conf:4: warning: 'd' is dropped: it is outside the prefix 'nosuch.'\n",
                    "nosuch"},
        WarningCase{"prefix_where_there_are_none",
                    {{"main.conf", "d = 4\n"}},
                    "main.conf:1: warning: no key starts with the prefix 'nosuch.'; prefixes in use: none\n"
                    "main.conf:1: warning: 'd' is dropped: it is outside the prefix 'nosuch.'\n",
                    "nosuch"},
        WarningCase{"no_prefix_of_an_empty_file", {{"main.conf", "# a\n"}}, "", "nosuch"},
        WarningCase{
            "prefix_of_a_key_that_is_dropped",
            {{"main.conf", "app.a = ${app.b}\nc = 1\n"}},
            "main.conf:1: warning: 'app.a' is dropped: it refers to 'app.b', which is set in no file, and unset "
            "or empty in the environment\n"
            "main.conf:2: warning: 'c' is dropped: it is outside the prefix 'app.'\n",
            "app"},
        WarningCase{
            "reference_to_itself",
            {{"main.conf", "UNSET_NAME = ${UNSET_NAME}\n"}},
            "main.conf:1: warning: 'UNSET_NAME' is dropped: it refers to 'UNSET_NAME', which is set in no file, "
            "and unset or empty in the environment\n"},
        WarningCase{"reference_to_a_later_line",
                    {{"main.conf", "a = ${b}\ninclude = part\nb = 2\n"}, {"part", "b = 1\n"}},
                    "main.conf:1: warning: 'a' is dropped: it refers to 'b', which is set only later, at ./part:1\n"},
        WarningCase{"reference_to_two_files_up",
                    {{"main.conf", "b = 1\ninclude = part\n"}, {"part", "include = deep\n"}, {"deep", "a = ${b}\n"}},
                    "./deep:1: warning: 'a' is dropped: it refers to 'b', which is set at main.conf:1: a reference can "
                    "only use keys from its own file and the file that includes it\n"
                    "\tincluded at main.conf:2\n\tincluded at ./part:1\n"},
        WarningCase{"reference_outside_the_prefix",
                    {{"main.conf", "b = 1\napp.a = ${b}\n"}},
                    "main.conf:1: warning: 'b' is dropped: it is outside the prefix 'app.'\n"
                    "main.conf:2: warning: 'app.a' is dropped: it refers to 'b', which is set at main.conf:1, but "
                    "outside the prefix 'app.'\n",
                    "app"},
        WarningCase{
            "reference_without_the_prefix",
            {{"main.conf", "app.b = 1\napp.a = ${b}\n"}},
            "main.conf:2: warning: 'app.a' is dropped: it refers to 'b', which is outside the prefix 'app.'; did "
            "you mean 'app.b', set at main.conf:1?\n",
            "app"},
        WarningCase{
            "reference_to_a_key_that_is_dropped",
            {{"main.conf", "b = ${c}\na = ${b}\n"}},
            "main.conf:1: warning: 'b' is dropped: it refers to 'c', which is set in no file, and unset or empty "
            "in the environment\n"
            "main.conf:2: warning: 'a' is dropped: it refers to 'b', which is dropped at main.conf:1\n"}),
    by_name);

using Warnings = ConfigProgram;

TEST_F(Warnings, report_why_a_folder_cannot_be_listed)
{
    folder.write("main.conf", "include = closed/*\n");
    folder.write("closed/a.conf", "a = 1\n");
    std::filesystem::permissions(folder.path("closed"), std::filesystem::perms::none);
    auto const outcome = config({.arguments = {"check", "main.conf"}, .obeys_permissions = true});
    std::filesystem::permissions(folder.path("closed"), std::filesystem::perms::owner_all);
    expect(outcome, 0,
           "read main.conf\n"
           "main.conf:1: warning: no file matches 'closed/*': cannot list './closed': Permission denied\n");
}

TEST_F(Warnings, list_ten_prefixes_at_most)
{
    std::string text;
    for (char letter = 'a'; letter <= 'n'; ++letter)
        text += letter + ".x = 1\n"s;
    folder.write("main.conf", text);
    EXPECT_THAT(config({"check", "--name=nosuch", "main.conf"}).out,
                HasSubstr("prefixes in use: 'a.', 'b.', 'c.', 'd.', 'e.', 'f.', 'g.', 'h.', 'i.', 'j.' and 4 more\n"));
}

TEST_F(Warnings, are_coloured_by_option_and_environment)
{
    folder.write("main.conf", "a = 1 # b\nb = ${none}\n");
    std::string const colored = "main.conf:1: \x1b[1;33mwarning:\x1b[0m ";
    EXPECT_THAT(config({"check", "--color=always", "main.conf"}).out, HasSubstr(colored));
    EXPECT_THAT(config({.arguments = {"check", "main.conf"}, .out = Sink::terminal, .environment = {"TERM=xterm"}}).out,
                HasSubstr(colored));
    for (auto const &plain :
         {test::Setup{.arguments = {"check", "main.conf"}},
          test::Setup{.arguments = {"check", "--color=never", "main.conf"}, .out = Sink::terminal},
          test::Setup{.arguments = {"check", "main.conf"}, .out = Sink::terminal, .environment = {"NO_COLOR=1"}},
          test::Setup{.arguments = {"check", "main.conf"}, .out = Sink::terminal, .environment = {"TERM=dumb"}}})
        EXPECT_THAT(config(plain).out, HasSubstr("main.conf:1: warning: "));
    EXPECT_EQ(config({"dump", "--color=always", "main.conf"}).out, "\x1b[1;36ma\x1b[0m = 1 # b\n");
    EXPECT_EQ(config({"get", "--color=always", "main.conf", "a"}).out, "1 # b\n");
    EXPECT_EQ(config({"explain", "--color=always", "main.conf", "a"}).out,
              "\x1b[1;36ma\x1b[0m = 1 # b\n    at main.conf:1\n");
    EXPECT_THAT(config({"explain", "--color=always", "main.conf", "b"}).out,
                testing::StartsWith("\x1b[1;33mdropped:\x1b[0m b = ${none}\n"));
}

} // namespace
} // namespace tarnwick::test::config_warnings_test
