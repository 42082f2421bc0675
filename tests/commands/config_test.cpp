// Output, messages and exit status of `tarnwick config`.

#include "tools/tarnwick/support/config_program.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <string>
#include <sys/stat.h>
#include <vector>

namespace tarnwick::test::config_config_test {
namespace {

using testing::HasSubstr;
using namespace std::string_literals;

class Config : public ConfigProgram {};

TEST_F(Config, check_lists_the_files_in_the_order_of_reading)
{
    folder.write("main.conf", "include = conf.d/*.conf\ninclude = conf.d/b.conf\na = 1\n");
    folder.write("conf.d/a.conf", "include = ../deep.conf\n");
    folder.write("conf.d/b.conf", "");
    folder.write("deep.conf", "");
    std::vector<std::string> const files{"main.conf", "./conf.d/a.conf", "./conf.d/../deep.conf", "./conf.d/b.conf",
                                         "./conf.d/b.conf"};
    std::string text;
    std::string json;
    for (auto const &file : files) {
        text += "read " + file + "\n";
        json += (json.empty() ? "\"" : ",\"") + file + "\"";
    }
    expect(config({"check", "main.conf"}), 0, text);
    expect(config({"check", "--format=json", "main.conf"}), 0,
           R"({"files":[)" + json + R"(],"errors":[],"faults":[],"warnings":[]})" + "\n");
}

TEST_F(Config, check_warns_about_dropped_lines)
{
    folder.write("main.conf", "app.port = 1\nother.port = 2\nap.port = 3\ninclude = part.conf\nx = ${app.none:-}\n");
    folder.write("part.conf", "\nport = 4\ninclude = deep.conf\n");
    folder.write("deep.conf",
                 "app.a = ${TARNWICK_TEST_NONE}\ninclude = ${TARNWICK_TEST_NONE}\ninclude = none/*.conf\n");
    expect(config({"check", "--name=app", "main.conf"}), 0,
           "read main.conf\nread ./part.conf\nread ./deep.conf\n"
           "main.conf:2: warning: 'other.port' is dropped: it is outside the prefix 'app.'\n"
           "main.conf:3: warning: 'ap.port' is dropped: it is outside the prefix 'app.'; did you mean 'app.port'?\n"
           "./part.conf:2: warning: 'port' is dropped: it is outside the prefix 'app.'; did you mean 'app.port'?\n"
           "\tincluded at main.conf:4\n"
           "./deep.conf:1: warning: 'app.a' is dropped: it refers to 'TARNWICK_TEST_NONE', which is set in no file, "
           "and unset or empty in the environment\n"
           "\tincluded at main.conf:4\n\tincluded at ./part.conf:3\n"
           "./deep.conf:2: warning: 'include' is dropped: it refers to 'TARNWICK_TEST_NONE', which is set in no file, "
           "and unset or empty in the environment\n"
           "\tincluded at main.conf:4\n\tincluded at ./part.conf:3\n"
           "./deep.conf:3: warning: no file matches 'none/*.conf': cannot list './none': No such file or directory\n"
           "\tincluded at main.conf:4\n\tincluded at ./part.conf:3\n"
           "main.conf:5: warning: 'x' is dropped: it refers to 'app.none', which is set in no file, and unset or empty "
           "in the environment\n");
    folder.write("part.conf", "port = 4\n");
    folder.write("main.conf", "app.port = 1\ninclude = part.conf\n");
    expect(
        config({"check", "--name=app", "--format=json", "main.conf"}), 0,
        R"({"files":["main.conf","./part.conf"],"errors":[],"faults":[],"warnings":[{"file":"./part.conf","line":1,"text":)"
        R"("'port' is dropped: it is outside the prefix 'app.'; did you mean 'app.port'?\n\tincluded at main.conf:2"}]})"
        "\n");
}

TEST_F(Config, check_reports_the_name_that_stopped_a_listing)
{
    folder.write("main.conf", "include = d/*.conf\ninclude = d/*.none\n");
    folder.write("d/\xC3\xA4.conf", "");
    auto const clean = config({"check", "main.conf"});
    expect(clean, 0, "read main.conf\nread ./d/\xC3\xA4.conf\nmain.conf:2: warning: no file matches 'd/*.none'\n");
    // The only name in its folder stops the listing, whatever the order of the system.
    folder.write("e/a\xFF\xE4.conf", "");
    folder.write("main.conf", "include = e/*.conf\n");
    std::string const reason = R"(the listing of the folder stopped at the name 'a\xff\xe4.conf', which is not UTF-8)";
    expect(config({"check", "main.conf"}), 0,
           "read main.conf\nmain.conf:1: warning: no file matches 'e/*.conf': " + reason + "\n");
    EXPECT_THAT(
        config({"check", "--format=json", "main.conf"}).out,
        HasSubstr(R"("no file matches 'e/*.conf': the listing of the folder stopped at the name 'a\\xff\\xe4.conf',)"));
}

// The order of the listing, so the number of files before that name, depends on the system.
TEST_F(Config, check_warns_that_files_may_be_missing_after_a_stopped_listing)
{
    folder.write("main.conf", "include = d/*.conf\n");
    folder.write("d/bad\xFF", "");
    for (int i = 0; i < 10; ++i) {
        folder.write(fmt::format("d/{}.conf", i), "");
        auto const outcome = config({"check", "main.conf"});
        auto const all =
            outcome.out.find(".conf\nmain.conf:1: warning: files that match 'd/*.conf' may be missing: "
                             R"(the listing of the folder stopped at the name 'bad\xff', which is not UTF-8)");
        auto const none = outcome.out.find("main.conf:1: warning: no file matches 'd/*.conf': ");
        EXPECT_NE(all == std::string::npos, none == std::string::npos) << outcome.out;
    }
}

TEST_F(Config, check_warns_about_a_pipe)
{
    ASSERT_EQ(::mkfifo(folder.path("pipe").c_str(), 0600), 0);
    // Opens both ends, because opening one waits for the other.
    Descriptor const ends(::open(folder.path("pipe").c_str(), O_RDWR | O_CLOEXEC));
    write_all(ends, "oops\n");
    folder.write("main.conf", "a = 1\ninclude = pipe\n");
    expect(config({"check", "main.conf"}), 0,
           "read main.conf\nread ./pipe\nmain.conf:2: warning: './pipe' is read as empty: it is not a regular file\n",
           "main.conf:2: './pipe' is a pipe: waiting for a program to write to it\n");
}

// Many kernel files have a size of 0, so the reader finds them empty.
TEST_F(Config, check_warns_about_a_kernel_file)
{
    folder.write("empty.conf", "");
    folder.write("main.conf", "include = empty.conf\ninclude = /proc/self/status\n");
    expect(config({"check", "main.conf"}), 0,
           "read main.conf\nread ./empty.conf\nread /proc/self/status\n"
           "main.conf:2: warning: '/proc/self/status' is read as empty: it has a size of 0 although it has content\n");
    std::string const fault = "cannot load /proc/self/status: it has a size of 0 although it has content\n";
    expect(config({"dump", "/proc/self/status"}), 1, "", fault);
    expect(config({"check", "/proc/self/status"}), 1, "", fault);
}

TEST_F(Config, check_prints_the_first_fault_and_the_warnings_before_it)
{
    folder.write("main.conf", "include = *.none\ninclude = part.conf\ninclude = *.none\n");
    folder.write("part.conf", "oops\n");
    std::string const fault =
        "Failed to load 'main.conf':\n\tinclude='part.conf' at main.conf:2\n\tinvalid line at ./part.conf:1";
    expect(config({"check", "main.conf"}), 1,
           "read main.conf\nread ./part.conf\nmain.conf:1: warning: no file matches '*.none'\n", fault + "\n");
    expect(config({"check", "--format=json", "main.conf"}), 1,
           R"({"files":["main.conf","./part.conf"],"errors":[)"
           R"("Failed to load 'main.conf':\n\tinclude='part.conf' at main.conf:2\n\tinvalid line at ./part.conf:1")"
           R"(],"faults":[{"file":"./part.conf","line":1,)"
           R"("text":"invalid line at ./part.conf:1\n\tincluded at main.conf:2"}],)"
           R"("warnings":[{"file":"main.conf","line":1,"text":"no file matches '*.none'"}]})"
           "\n",
           fault + "\n");
}

TEST_F(Config, dump_prints_a_file_that_reads_back)
{
    folder.write("main.conf", "app.b = 2\napp.a = \" x \"\napp.a = \"'it's'\"\napp.a =\napp.include = y\napp. = z\n"
                              "app.ref = \"${A}\"\napp.eq = 1=2\n");
    std::string const text = "app. = z\napp.a = \" x \"\napp.a = \"'it's'\"\napp.a = \napp.b = 2\napp.eq = 1=2\n"
                             "app.include = y\napp.ref = \"${A}\"\n";
    expect(config({"dump", "--name", "app", "main.conf"}), 0, text);
    expect(config({"dump", "--name", "app", "--format", "json", "main.conf"}), 0,
           R"({"file":"main.conf","values":{"":["z"],"a":["","'it's'"," x "],"b":["2"],"eq":["1=2"],"include":["y"],)"
           R"("ref":["${A}"]}})"
           "\n");
    auto const again = folder.write("again.conf", text);
    EXPECT_EQ(loaded(again, "app"), loaded(folder.path("main.conf"), "app"));
    folder.write("empty.conf", "");
    expect(config({"dump", "empty.conf"}), 0, "");
    expect(config({"dump", "--format=json", "empty.conf"}), 0, "{\"file\":\"empty.conf\",\"values\":{}}\n");
}

TEST_F(Config, dump_indents_keys_that_look_like_comments_or_start_with_a_mark)
{
    // The reader strips a no-break space from keys, but not from lines.
    std::string const text = "\xC2\xA0# = 0\n\xC2\xA0#a = 1\n\xC2\xA0#a = 2\n\xC2\xA0;b = 3\n"
                             "c# = 4\n\xC2\xA0\xEF\xBB\xBF"
                             "d = 5\n";
    auto const expected = loaded(folder.write("main.conf", text));
    std::string const byte_order_mark = "\xEF\xBB\xBF";
    EXPECT_EQ(expected, (Texts{"#=0", "#a=2", "#a=1", ";b=3", "c#=4", byte_order_mark + "d=5"}));
    expect(config({"dump", "main.conf"}), 0, text);
    std::string const prefixed = "\xC2\xA0#app.a = 1\n";
    folder.write("main.conf", prefixed);
    expect(config({"dump", "--name=#app", "main.conf"}), 0, prefixed);
    // A line that starts with two marks loses one.
    folder.write("main.conf", "\xEF\xBB\xBF\xEF\xBB\xBF"
                              "a = 1\n");
    std::string const marked = "\xC2\xA0\xEF\xBB\xBF"
                               "a = 1\n";
    expect(config({"dump", "main.conf"}), 0, marked);
    EXPECT_EQ(loaded(folder.write("again.conf", marked)), loaded(folder.path("main.conf")));
}

TEST_F(Config, dump_rejects_values_with_line_ends)
{
    folder.write("main.conf", "z = 1\na = ${V}\n");
    for (auto const *value : {"x\nevil = 1", "x\ry"}) {
        auto const variable = "V=" + std::string(value);
        expect(
            config({"dump", "main.conf"}, {variable}), 1, "",
            "main.conf: cannot print 'a' as a line: the key or a value contains a line feed or a carriage return; use "
            "--format=json\n");
        EXPECT_EQ(config({"dump", "--format=json", "main.conf"}, {variable}).status, 0);
    }
}

TEST_F(Config, keeps_byte_order_marks_of_arguments)
{
    std::string const mark = "\xEF\xBB\xBF";
    // A no-break space before the key keeps the mark in the file.
    folder.write("main.conf", "a = 1\n\xC2\xA0" + mark + "a = 2\n\xC2\xA0" + mark + "p.a = 3\np.a = 4\n");
    folder.write(mark + "main.conf", "a = 5\n");
    expect(config({"get", "main.conf", "a"}), 0, "1\n");
    expect(config({"get", "main.conf", mark + "a"}), 0, "2\n");
    expect(config({"get", "--name=p", "main.conf", "a"}), 0, "4\n");
    expect(config({"get", "--name=" + mark + "p", "main.conf", "a"}), 0, "3\n");
    expect(config({"explain", "main.conf", mark + "a"}), 0, "\\ufeffa = 2\n    at main.conf:2\n");
    expect(config({"get", mark + "main.conf", "a"}), 0, "5\n");
    EXPECT_EQ(config({"get", "main.conf", mark + mark + "a"}).status, 1);
}

TEST_F(Config, accepts_an_empty_option_value)
{
    folder.write("main.conf", "app.a = 1\n");
    expect(config({"get", "--name=", "main.conf", "app.a"}), 0, "1\n");
    expect(config({"get", "--name", "", "main.conf", "app.a"}), 0, "1\n");
    expect(config({"get", "--name=app", "--name=", "main.conf", "app.a"}), 0, "1\n");
    folder.write("--name=", "a = 2\n");
    expect(config({"get", "--", "--name=", "a"}), 0, "2\n");
}

TEST_F(Config, suggests_a_similar_key)
{
    folder.write("main.conf", "app.port = 1\napp.timeout = 2\n");
    for (auto const *command : {"get", "explain"}) {
        EXPECT_EQ(config({command, "--name=app", "main.conf", "prot"}).err,
                  "main.conf: there is no key 'prot'; did you mean 'port'?\n");
        EXPECT_EQ(config({command, "--name=app", "main.conf", "ap.port"}).err,
                  "main.conf: there is no key 'ap.port'; did you mean 'port'?\n");
        EXPECT_EQ(config({command, "main.conf", "port"}).err,
                  "main.conf: there is no key 'port'; did you mean 'app.port'?\n");
        EXPECT_EQ(config({command, "main.conf", "nothing"}).err, "main.conf: there is no key 'nothing'\n");
    }
}

TEST_F(Config, get_prints_the_most_recent_or_all_values)
{
    folder.write("main.conf", "app.a = 1\napp.a = \"2 \"\napp.b =\n");
    expect(config({"get", "--name=app", "main.conf", "a"}), 0, "2 \n");
    expect(config({"get", "--name=app", "--all", "main.conf", "a"}), 0, "2 \n1\n");
    expect(config({"get", "--name=app", "main.conf", "b"}), 0, "\n");
    expect(config({"get", "--name=app", "--format=json", "main.conf", "a"}), 0,
           "{\"key\":\"a\",\"values\":[\"2 \"]}\n");
    expect(config({"get", "--name=app", "--format=json", "--all", "main.conf", "a"}), 0,
           "{\"key\":\"a\",\"values\":[\"2 \",\"1\"]}\n");
    expect(config({"get", "main.conf", "app.b"}), 0, "\n");
}

TEST_F(Config, reports_a_missing_key)
{
    folder.write("main.conf", "app.a = 1\n");
    expect(config({"get", "main.conf", "a"}), 1, "", "main.conf: there is no key 'a'; did you mean 'app.a'?\n");
    expect(config({"get", "--format=json", "main.conf", "a"}), 1, "{\"key\":\"a\",\"values\":[]}\n",
           "main.conf: there is no key 'a'; did you mean 'app.a'?\n");
    expect(config({"explain", "main.conf", "a"}), 1, "", "main.conf: there is no key 'a'; did you mean 'app.a'?\n");
    expect(config({"get", "--name=app", "main.conf", "app.a"}), 1, "",
           "main.conf: there is no key 'app.a'; omit the prefix: 'a'\n");
}

TEST_F(Config, explain_prints_the_origin_of_each_value)
{
    folder.write(
        "main.conf",
        "app.a = 0\ninclude = part.conf\napp.a = ${app.b}\nApp.a = 7\napp.a = ${TARNWICK_TEST_NONE}\nother.a = 8\n");
    folder.write("part.conf", "app.a = 1\ninclude = deep.conf\napp.b = 2\napp.a = ${app.a}\n");
    folder.write("deep.conf", "app.a = ${app.a}\napp.a = ${TARNWICK_TEST_E:-d}\na = 9\n");
    expect(config({"explain", "--name=app", "main.conf", "a"}, {"TARNWICK_TEST_E=env"}), 0,
           "a = 2\n"
           "    at main.conf:3\n"
           "    from the reference to app.b: the value above in this file\n"
           "    shadows '1' at ./part.conf:1\n"
           // Both includes reverse the values.
           "a = 1\n"
           "    at ./part.conf:1\n"
           "    included at main.conf:2\n"
           "    shadows 'env' at ./deep.conf:2\n"
           "a = env\n"
           "    at ./deep.conf:2\n"
           "    included at main.conf:2\n"
           "    included at ./part.conf:2\n"
           "    from the reference to TARNWICK_TEST_E: the environment\n"
           "    shadows '1' at ./deep.conf:1\n"
           "a = 1\n"
           "    at ./deep.conf:1\n"
           "    included at main.conf:2\n"
           "    included at ./part.conf:2\n"
           "    from the reference to app.a: the value in the including file\n"
           "    shadows '1' at ./part.conf:4\n"
           "a = 1\n"
           "    at ./part.conf:4\n"
           "    included at main.conf:2\n"
           "    from the reference to app.a: the value above in this file\n"
           "    shadows '0' at main.conf:1\n"
           "a = 0\n"
           "    at main.conf:1\n"
           "dropped: a = 9\n"
           "    at ./deep.conf:3\n"
           "    included at main.conf:2\n"
           "    included at ./part.conf:2\n"
           "    it is outside the prefix 'app.'\n"
           "dropped: App.a = 7\n"
           "    at main.conf:4\n"
           "    it is outside the prefix 'app.'\n"
           "dropped: app.a = ${TARNWICK_TEST_NONE}\n"
           "    at main.conf:5\n"
           "    it refers to 'TARNWICK_TEST_NONE', which is set in no file, and unset or empty in the environment\n");
}

TEST_F(Config, explain_prints_json)
{
    folder.write("main.conf", "include = part.conf\n");
    folder.write("part.conf", "app.a = 1\napp.a = ${TARNWICK_TEST_E:-d}\nApp.a = 3\n");
    expect(
        config({"explain", "--name=app", "--format=json", "main.conf", "a"}), 0,
        R"({"key":"a","values":[{"value":"d","file":"./part.conf","line":2,"includes":[{"file":"main.conf","line":1}],)"
        R"("reference":{"name":"TARNWICK_TEST_E","source":"default"}},)"
        R"({"value":"1","file":"./part.conf","line":1,"includes":[{"file":"main.conf","line":1}],"reference":null}],)"
        R"("dropped":[{"file":"./part.conf","line":3,"text":"App.a = 3",)"
        R"("reason":"it is outside the prefix 'app.'\n\tincluded at main.conf:1"}]})"
        "\n");
}

TEST_F(Config, set_overrides_the_environment)
{
    folder.write("main.conf", "a = ${TARNWICK_TEST_E:-d}\nb = ${TARNWICK_TEST_F:-d}\n");
    expect(config({"dump", "main.conf"}, {"TARNWICK_TEST_E=1"}), 0, "a = 1\nb = d\n");
    expect(
        config({"dump", "--set", "TARNWICK_TEST_E=2", "--set=TARNWICK_TEST_F=x=y", "main.conf"}, {"TARNWICK_TEST_E=1"}),
        0, "a = 2\nb = x=y\n");
    expect(config({"dump", "--set", "TARNWICK_TEST_E=", "main.conf"}, {"TARNWICK_TEST_E=1"}), 0, "a = d\nb = d\n");
}

TEST_F(Config, prints_the_exception_of_a_failed_load_unchanged)
{
    folder.write("main.conf", "# c\noops\n");
    std::string const invalid = "Failed to load 'main.conf':\n\tinvalid line at main.conf:2\n";
    expect(config({"dump", "main.conf"}), 1, "", invalid);
    expect(config({"get", "main.conf", "a"}), 1, "", invalid);
    expect(config({"explain", "main.conf", "a"}), 1, "", invalid);
    expect(config({"dump", "--format=json", "main.conf"}), 1, "", invalid);
    expect(config({"check", "none.conf"}), 1, "", "Failed to load 'none.conf':\n\tNo such file or directory\n");
    expect(config({"dump", "."}), 1, "", "Failed to load '.':\n\tfile to open is a directory\n");
}

TEST_F(Config, prints_no_qt_messages)
{
    folder.write("part.conf", "a = 1\n");
    folder.write("main.conf", "include = part.conf\0x\n"s);
    expect(config({"dump", "main.conf"}), 0, "a = 1\n");
    EXPECT_THAT(config({"dump", "main.conf"}, {"QT_LOGGING_RULES=default.warning=true"}).err, HasSubstr("filename"))
        << "unless enabled";
}

TEST_F(Config, reports_the_place_of_a_later_include_once)
{
    folder.write("main.conf", "include = d/*.conf\ninclude = part.conf\ninclude = none\n");
    folder.write("d/a.conf", "a = 1\n");
    folder.write("part.conf", "a = 1\nb = 2\n");
    folder.link("nowhere", "none");
    expect(config({"dump", "main.conf"}), 1, "",
           "Failed to load 'main.conf':\n\tinclude='none' at main.conf:3\n\tNo such file or directory\n");
    folder.write("main.conf", "include = *.conf\n");
    folder.write("a.conf", "a = 1\n");
    expect(config({"dump", "main.conf"}), 1, "",
           "Failed to load 'main.conf':\n\tinclude='./main.conf' at main.conf:1\n"
           "\trecursive include='./main.conf' at ./main.conf:1\n");
}

TEST_F(Config, rejects_files_that_are_not_regular)
{
    ASSERT_EQ(::mkfifo(folder.path("pipe").c_str(), 0600), 0);
    for (auto const *file : {"pipe", "/dev/null"}) {
        std::string const fault = "cannot load " + std::string(file) + ": it is not a regular file";
        expect(config({"dump", file}), 1, "", fault + "\n");
        expect(config({"check", "--format=json", file}), 1,
               R"({"files":[],"errors":[")" + fault + R"("],"faults":[{"file":")" + file +
                   R"(","line":0,"text":"it is not a regular file"}],"warnings":[]})" + "\n",
               fault + "\n");
    }
}

TEST_F(Config, escapes_control_characters)
{
    folder.write("main.conf", "a\x1b[2J = \x1b[1m\nb\x9b = ${\x1b}\ninclude = *\x1b\n");
    EXPECT_THAT(config({"check", "main.conf"}).out, HasSubstr("no file matches '*\\x1b'\n"));
    EXPECT_THAT(config({"explain", "main.conf", "a\x1b[2J"}).out, testing::StartsWith("a\\x1b[2J = \\x1b[1m\n"));
    EXPECT_THAT(config({"get", "main.conf", "a\x1b[2J"}).out, testing::StrEq("\x1b[1m\n")) << "values are not escaped";
}

TEST_F(Config, escapes_characters_that_change_the_direction)
{
    for (char32_t const character : U"\u061c\u200e\u200f\u202a\u202b\u202c\u202d\u202e\u2066\u2067\u2068\u2069"s) {
        auto const raw = QString::fromUcs4(&character, 1).toStdString();
        auto const escaped = fmt::format("\\u{:04x}", static_cast<unsigned>(character));
        folder.write("main.conf", fmt::format("a = {0}\ninclude = *{0}\n", raw));
        EXPECT_THAT(config({"check", "main.conf"}).out, HasSubstr("no file matches '*" + escaped + "'\n"));
        EXPECT_THAT(config({"explain", "main.conf", "a"}).out, testing::StartsWith("a = " + escaped + "\n"));
        EXPECT_THAT(config({"explain", "--format=json", "main.conf", "a"}).out, HasSubstr("\"" + raw + "\""));
        folder.write("main.conf", "include = " + raw + "\n");
        auto const fault = [](std::string const &name) {
            return "Failed to load 'main.conf':\n\tinclude='" + name +
                   "' at main.conf:1\n\tNo such file or directory\n";
        };
        EXPECT_EQ(config({"check", "main.conf"}).err, fault(raw));
        EXPECT_EQ(config({.arguments = {"check", "main.conf"}, .err = Sink::terminal}).err, fault(escaped));
    }
}

TEST_F(Config, does_not_escape_quotes_backslashes_and_letters)
{
    std::string const value = "'\"\\n\\\\ \xC3\xA4\xF0\x9F\x98\x80";
    folder.write("main.conf", "a = x" + value + "\n");
    EXPECT_THAT(config({"explain", "main.conf", "a"}).out, testing::StartsWith("a = x" + value + "\n"));
}

TEST_F(Config, reports_that_its_output_cannot_be_written)
{
    auto const file = folder.write("main.conf", "a = 1\n");
    for (auto const *command : {"check", "dump"}) {
        auto const outcome = run({.arguments = {"config", command, file}, .out = Sink::full_disk});
        EXPECT_EQ(outcome.status, 3);
        EXPECT_EQ(outcome.err, "tarnwick: cannot write the output: No space left on device\n");
    }
}

TEST_F(Config, accepts_names_outside_ascii)
{
    folder.write("gr\xC3\xB6\xC3\x9F"
                 "e.conf",
                 "\xC3\xA4.\xC3\xB6 = \xF0\x9F\x98\x80\n");
    expect(config({"get", "--name=\xC3\xA4",
                   "gr\xC3\xB6\xC3\x9F"
                   "e.conf",
                   "\xC3\xB6"}),
           0, "\xF0\x9F\x98\x80\n");
}

} // namespace
} // namespace tarnwick::test::config_config_test
