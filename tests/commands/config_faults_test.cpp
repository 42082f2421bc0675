// Errors of `tarnwick config` for a file that cannot be loaded.

#include "support/table.h"
#include "tools/tarnwick/support/config_program.h"

#include <gmock/gmock.h>

#include <QtCore/QByteArray>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <fcntl.h>
#include <string>
#include <sys/stat.h>

namespace tarnwick::test::config_faults_test {
namespace {

using namespace std::string_literals;
using testing::HasSubstr;

/// File that cannot be loaded. It can include part.conf, which is valid.
struct FaultCase {
    char const *name;
    std::string content;
    std::string notes; ///< after the text of the exception on standard error
    std::string text;  ///< of the fault in JSON
    int line = 1;
    // NOLINTNEXTLINE(readability-redundant-member-init): rows leave it out
    std::string variable = {}; ///< value of V in the environment
};

class Fault : public ConfigProgram, public testing::WithParamInterface<Named<FaultCase>> {
protected:
    Fault()
    {
        folder.write("main.conf", GetParam().content);
        folder.write("part.conf", "b = 1\n");
        folder.write("broken.conf", "b = 1\noops\n");
    }
    [[nodiscard]] std::string what() const
    {
        WorkingFolder const here(folder.path());
        Variable const variable("V", GetParam().variable);
        return failure("main.conf");
    }
    [[nodiscard]] std::string error_text() const { return what() + "\n" + GetParam().notes; }
    [[nodiscard]] test::Setup setup(std::vector<std::string> arguments) const
    {
        return {.arguments = std::move(arguments), .environment = {"V=" + GetParam().variable}};
    }
};

TEST_P(Fault, prints_the_exception_and_notes)
{
    EXPECT_EQ(config(setup({"check", "main.conf"})).err, error_text());
    EXPECT_EQ(config(setup({"dump", "main.conf"})).err, error_text());
    EXPECT_EQ(config(setup({"explain", "main.conf", "a"})).err, error_text());
}

TEST_P(Fault, is_in_the_json_of_check)
{
    auto const outcome = config(setup({"check", "--format=json", "main.conf"}));
    EXPECT_EQ(outcome.err, error_text());
    auto const &out = outcome.out;
    auto const check = QJsonDocument::fromJson(QByteArray::fromStdString(out)).object();
    QJsonArray const faults{QJsonObject{{QStringLiteral("file"), QStringLiteral("main.conf")},
                                        {QStringLiteral("line"), GetParam().line},
                                        {QStringLiteral("text"), q(GetParam().text)}}};
    EXPECT_EQ(check[QStringLiteral("faults")].toArray(), faults) << out;
    EXPECT_EQ(check[QStringLiteral("errors")].toArray(), QJsonArray{q(what())}) << out;
}

std::string const missing = "\n\tNo such file or directory";

FaultCase with_note(char const *name, std::string const &content, std::string const &text, std::string const &note,
                    std::string const &variable = {})
{
    return {name, content, "main.conf:1: note: " + note + "\n", text + "\n\tnote: " + note, 1, variable};
}

INSTANTIATE_TEST_SUITE_P(
    Of, Fault,
    testing::Values(
        FaultCase{"a_line", "# c\noops\n", "", "invalid line at main.conf:2", 2},
        FaultCase{"control_characters", "include = \x1b[2J\n", "", "include='\x1b[2J' at main.conf:1" + missing},
        FaultCase{"a_nul", "# c\ninclude = no\0ne.conf\n"s, "main.conf:2: note: reading stopped at this line\n",
                  "include='no", 2},
        FaultCase{"a_missing_file", "include = none\n", "", "include='none' at main.conf:1" + missing},
        with_note("a_pattern_for_folders", "include = d*/x?y/a.conf\n",
                  "include='d*/x?y/a.conf' at main.conf:1" + missing,
                  "'*' and '?' are wildcards only in the last part of a path"),
        with_note("a_reference_in_a_name", "include = ${V}/a.conf\n", "include='${V}/a.conf' at main.conf:1" + missing,
                  "'${V}' is not replaced: a reference must be the entire value"),
        with_note("a_comment_after_a_name", "include = part.conf # b\n",
                  "include='part.conf # b' at main.conf:1" + missing,
                  "'#' does not begin a comment after a value: it is part of the value"),
        with_note("a_comment_after_quotes", "a = \"x\" # y\n", "unterminated string literal at main.conf:1",
                  "a comment cannot follow a value"),
        FaultCase{"a_missing_quote", "a = \"x # y\n", "", "unterminated string literal at main.conf:1"},
        with_note("a_variable", "a = ${V}\n", "unterminated string literal at main.conf:1",
                  "the value comes from the environment variable 'V'", "'x"),
        with_note("a_default", "a = ${V:-'x}\n", "unterminated string literal at main.conf:1",
                  "the value is the default in the reference to 'V'"),
        FaultCase{"a_value_above", "v = \"'x\"\na = ${v}\n",
                  "main.conf:2: note: the value comes from 'v' above in this file\n",
                  "unterminated string literal at main.conf:2\n\tnote: the value comes from 'v' above in this file", 2},
        with_note("a_variable_that_names_no_file", "include = ${V}\n", "include='none' at main.conf:1" + missing,
                  "the value comes from the environment variable 'V'", "none")),
    by_name);

using Faults = ConfigProgram;

TEST_F(Faults, are_escaped_on_a_terminal)
{
    folder.write("main.conf", "include = \x1b[2J\n");
    auto const error_on = [&](Sink sink) {
        return config(test::Setup{.arguments = {"dump", "main.conf"}, .err = sink}).err;
    };
    EXPECT_EQ(error_on(Sink::test), "Failed to load 'main.conf':\n\tinclude='\x1b[2J' at main.conf:1" + missing + "\n");
    EXPECT_EQ(error_on(Sink::terminal),
              "Failed to load 'main.conf':\n\tinclude='\\x1b[2J' at main.conf:1" + missing + "\n");
}

TEST_F(Faults, name_the_including_file_as_the_source_of_a_value)
{
    folder.write("main.conf", "v = \"'x\"\ninclude = part.conf\n");
    folder.write("part.conf", "\na = ${v}\n");
    auto const outcome = config({"check", "--format=json", "main.conf"});
    EXPECT_THAT(outcome.err,
                testing::EndsWith("./part.conf:2: note: the value comes from 'v' in the including file\n"));
    EXPECT_THAT(outcome.out,
                HasSubstr(R"("faults":[{"file":"./part.conf","line":2,"text":"unterminated string literal )"
                          R"(at ./part.conf:2\n\tnote: the value comes from 'v' in the including file)"
                          R"(\n\tincluded at main.conf:2"}])"));
}

TEST_F(Faults, after_a_nul_list_the_includes)
{
    folder.write("main.conf", "include = d/*.conf\n");
    folder.write("d/a.conf", "a = 1\n");
    folder.write("d/b.conf", "\n\ninclude = ../part.conf\0x\n"s);
    folder.write("part.conf", "a = 1\nb = 2\noops\n");
    std::string const fault =
        "Failed to load 'main.conf':\n\tinclude='./d/b.conf' at main.conf:1\n\tinclude='../part.conf\n"
        "./d/../part.conf\\x00x:3: note: reading stopped at this line\n"
        "\tincluded at main.conf:1\n\tincluded at ./d/b.conf:3\n";
    expect(config({"dump", "main.conf"}), 1, "", fault);
    expect(config({"explain", "main.conf", "a"}), 1, "", fault);
    EXPECT_THAT(config({"check", "main.conf"}).out, testing::EndsWith("read ./d/../part.conf\\x00x\n"))
        << "no warning: the file is regular";
    EXPECT_THAT(config({"check", "--format=json", "main.conf"}).out,
                HasSubstr(R"("faults":[{"file":"./d/../part.conf\u0000x","line":3,"text":"include='../part.conf)"
                          R"(\n\tincluded at main.conf:1\n\tincluded at ./d/b.conf:3"}])"));
}

TEST_F(Faults, of_a_missing_file_have_line_0)
{
    EXPECT_EQ(config({"check", "--format=json", "none.conf"}).out,
              R"({"files":[],"errors":["Failed to load 'none.conf':\n\tNo such file or directory"],)"
              R"("faults":[{"file":"none.conf","line":0,"text":"No such file or directory"}],"warnings":[]})"
              "\n");
}

TEST_F(Faults, report_a_name_that_is_not_utf8)
{
    auto const name = "caf\xE9.conf"s;
    folder.write(name, "a = 1\n");
    std::string const reason = "its name is not UTF-8";
    expect(config({"dump", name}), 1, "", "cannot load caf\\xe9.conf: " + reason + "\n");
    expect(config({"check", "--format=json", name}), 1,
           R"({"files":[],"errors":["cannot load caf\\xe9.conf: )" + reason +
               R"("],"faults":[{"file":"caf\\xe9.conf","line":0,"text":")" + reason + R"("}],"warnings":[]})" + "\n",
           "cannot load caf\\xe9.conf: " + reason + "\n");
}

TEST_F(Faults, name_a_pipe_before_opening_it)
{
    ASSERT_EQ(::mkfifo(folder.path("pipe").c_str(), 0600), 0);
    folder.write("main.conf", "a = 1\ninclude = pipe\n");
    WorkingFolder const here(folder.path());
    for (auto const *command : {"check", "dump"}) {
        Program program(test::Setup{.arguments = {"config", command, "main.conf"}, .err = Sink::output});
        EXPECT_EQ(program.read_line(), "main.conf:2: './pipe' is a pipe: waiting for a program to write to it\n");
        Descriptor const writer(::open("pipe", O_WRONLY | O_CLOEXEC)); // opens as soon as the program reads
        EXPECT_EQ(program.finish().status, 0);
    }
}

} // namespace
} // namespace tarnwick::test::config_faults_test
