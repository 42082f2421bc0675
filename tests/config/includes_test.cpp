// ConfigFile: includes.

#include "support/config_files.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>

namespace tarnwick::test::config_includes_test {
namespace {

class Includes : public testing::Test {
protected:
    /// Writes main.conf and returns its table.
    [[nodiscard]] Texts main(std::string const &content, std::string const &name = {}) const
    {
        return loaded(folder.write("main.conf", content), name);
    }
    /// Writes main.conf and returns its fault, without the first line.
    [[nodiscard]] std::string fault(std::string const &content) const
    {
        auto const file = folder.write("main.conf", content);
        auto const outer = "Failed to load '" + file + "':\n\t";
        auto const text = failure(file);
        EXPECT_EQ(text.substr(0, outer.size()), outer);
        return text.substr(std::min(text.size(), outer.size()));
    }

    ConfigFolder folder;
};

TEST_F(Includes, are_read_at_their_place_in_the_file)
{
    folder.write("part.conf", "b = 2\nc = ${a}\n");
    EXPECT_EQ(main("a = 1\ninclude = part.conf\nd = ${b}\na = 4\n"), (Texts{"a=4", "a=1", "b=2", "c=1", "d=2"}));
}

TEST_F(Includes, are_relative_to_the_including_file)
{
    folder.write("sub/part.conf", "a = 1\ninclude = sub/deep.conf\ninclude = ../top.conf\n");
    folder.write("sub/sub/deep.conf", "b = 2\n");
    folder.write("top.conf", "c = 3\n");
    folder.write("part.conf", "wrong = 1\n");
    WorkingFolder const elsewhere("/");
    EXPECT_EQ(main("include = sub/part.conf\n"), (Texts{"a=1", "b=2", "c=3"}));
}

TEST_F(Includes, can_be_absolute)
{
    auto const part = folder.write("part.conf", "a = 1\n");
    EXPECT_EQ(main("include = " + part + "\n"), Texts{"a=1"});
}

TEST_F(Includes, can_be_references_and_quoted)
{
    folder.write("part.conf", "a = 1\n");
    folder.write(" .conf", "b = 2\n");
    EXPECT_EQ(main("p = part.conf\ninclude = ${p}\ninclude = \" .conf\"\n"), (Texts{"a=1", "b=2", "p=part.conf"}));
    EXPECT_EQ(main("include = ${TARNWICK_TEST_NONE}\n"), Texts()) << "to nothing: nothing is included";
    EXPECT_EQ(fault("include = \"${p}\"\n"),
              in(folder, "include='${p}' at FOLDER/main.conf:1\n\tNo such file or directory"));
}

TEST_F(Includes, share_the_prefix_of_the_root)
{
    folder.write("part.conf", "app.port = 1\nother = 1\ninclude = deep.conf\n");
    folder.write("deep.conf", "app.deep = 2\ndeep = 3\n");
    EXPECT_EQ(main("include = part.conf\n", "app"), (Texts{"deep=2", "port=1"}));
}

TEST_F(Includes, see_the_including_file_and_none_above_it)
{
    folder.write("part.conf", "a = 2\nb = ${a}\nc = ${x}\n");
    EXPECT_EQ(main("a = 1\nx = 3\ninclude = part.conf\n"), (Texts{"a=2", "a=1", "b=2", "c=3", "x=3"}));

    folder.write("part.conf", "include = deep.conf\n");
    folder.write("deep.conf", "b = ${TARNWICK_TEST_A:-out of reach}\n");
    EXPECT_EQ(main("TARNWICK_TEST_A = 1\ninclude = part.conf\n"), (Texts{"TARNWICK_TEST_A=1", "b=out of reach"}));
}

TEST_F(Includes, reverse_the_values_of_a_key_unless_the_table_is_empty)
{
    folder.write("part.conf", "a = 1\na = 2\n");
    EXPECT_EQ(main("include = part.conf\nb = ${a}\n"), (Texts{"a=2", "a=1", "b=2"}));
    EXPECT_EQ(main("x = 0\ninclude = part.conf\nb = ${a}\n"), (Texts{"a=1", "a=2", "b=1", "x=0"}));
}

TEST_F(Includes, can_be_the_same_file_twice)
{
    folder.write("part.conf", "a = 1\n");
    EXPECT_EQ(main("include = part.conf\ninclude = part.conf\n"), (Texts{"a=1", "a=1"}));
}

// Wildcards.

TEST_F(Includes, read_matching_files_in_the_order_of_their_names)
{
    folder.write("conf.d/a.conf", "name = a\nseen = ${TARNWICK_TEST_LAST:-nothing}\n");
    folder.write("conf.d/B.conf", "name = B\nTARNWICK_TEST_LAST = B\n");
    folder.write("conf.d/10.conf", "name = 10\n");
    folder.write("conf.d/9.conf", "name = 9\n");
    folder.write("conf.d/x.txt", "name = x\n");
    // In ascending order of bytes: 10, 9, B, a. Each is merged before the next is read.
    EXPECT_EQ(main("include = conf.d/*.conf\n"),
              (Texts{"TARNWICK_TEST_LAST=B", "name=a", "name=B", "name=9", "name=10", "seen=B"}));
    EXPECT_EQ(main("include = conf.d/?.conf\n"),
              (Texts{"TARNWICK_TEST_LAST=B", "name=a", "name=B", "name=9", "seen=B"}));
}

TEST_F(Includes, match_letters_of_either_case)
{
    folder.write("conf.d/one.CONF", "a = 1\n");
    folder.write("conf.d/TWO.conf", "b = 2\n");
    EXPECT_EQ(main("include = conf.d/*.Conf\n"), (Texts{"a=1", "b=2"}));
}

TEST_F(Includes, skip_folders_and_hidden_files_and_follow_links_to_files)
{
    folder.write("conf.d/folder.conf/x", "");
    folder.write("conf.d/.hidden.conf", "hidden = 1\n");
    folder.write("elsewhere", "linked = 1\n");
    folder.link("../elsewhere", "conf.d/link.conf");
    folder.link("../nowhere", "conf.d/dangling.conf");
    folder.link("folder.conf", "conf.d/folder-link.conf");
    EXPECT_EQ(main("include = conf.d/*.conf\n"), Texts{"linked=1"});
}

TEST_F(Includes, that_match_nothing_do_nothing)
{
    std::filesystem::create_directory(folder.path("empty"));
    EXPECT_EQ(main("include = *.none\ninclude = empty/*\ninclude = no-such-folder/*.conf\na = 1\n"), Texts{"a=1"});
}

TEST_F(Includes, expand_wildcards_only_in_the_last_part)
{
    folder.write("sub/x.conf", "a = 1\n");
    EXPECT_EQ(fault("include = */x.conf\n"),
              in(folder, "include='*/x.conf' at FOLDER/main.conf:1\n\tNo such file or directory"));
    folder.write("*/x.conf", "b = 2\n");
    EXPECT_EQ(main("include = */x.conf\n"), Texts{"b=2"});
}

TEST_F(Includes, treat_brackets_as_special_only_in_a_wildcard)
{
    folder.write("[ab].conf", "literal = 1\n");
    folder.write("a.conf", "a = 1\n");
    folder.write("b.conf", "b = 1\n");
    folder.write("c.conf", "c = 1\n");
    EXPECT_EQ(main("include = [ab].conf\n"), Texts{"literal=1"});
    EXPECT_EQ(main("include = [ab]*.conf\n"), (Texts{"a=1", "b=1"}));
}

TEST_F(Includes, split_a_wildcard_at_spaces)
{
    folder.write("a.one", "a = 1\n");
    folder.write("b.two", "b = 1\n");
    EXPECT_EQ(main("include = *.one *.two\n"), (Texts{"a=1", "b=1"}));
    EXPECT_EQ(main("include = *.one;*.two\n"), (Texts{"a=1", "b=1"}));
}

TEST_F(Includes, keep_values_from_before_a_failing_file)
{
    folder.write("conf.d/1.conf", "a = 1\n");
    folder.write("conf.d/2.conf", "b = 2\noops\n");
    folder.write("conf.d/3.conf", "c = 3\n");
    ConfigFile config(q(folder.write("main.conf", "include = conf.d/*.conf\n")), QString());
    EXPECT_EQ(failure_of([&] { config.load(); }), in(folder, "include='FOLDER/conf.d/2.conf' at FOLDER/main.conf:1\n\t"
                                                             "invalid line at FOLDER/conf.d/2.conf:2"));
    EXPECT_EQ(table(config), Texts{"a=1"}) << "a file that fails is not merged";
    EXPECT_EQ(config.line_no(), 1);
}

// Faults.

TEST_F(Includes, report_a_fault_at_every_level)
{
    folder.write("b.conf", "\noops\n");
    EXPECT_EQ(fault("\n\n\ninclude = b.conf\n"),
              in(folder, "include='b.conf' at FOLDER/main.conf:4\n\tinvalid line at FOLDER/b.conf:2"));
    folder.write("b.conf", "include = sub/c.conf\n");
    folder.write("sub/c.conf", "# c\na = 'x\n");
    EXPECT_EQ(fault("\n\n\ninclude = b.conf\n"),
              in(folder, "include='b.conf' at FOLDER/main.conf:4\n\tinclude='sub/c.conf' at FOLDER/b.conf:1\n\t"
                         "unterminated string literal at FOLDER/sub/c.conf:2"));
}

TEST_F(Includes, name_files_by_their_path_of_includes)
{
    WorkingFolder const here(folder.path());
    folder.write("main.conf", "include = b.conf\n");
    folder.write("b.conf", "oops\n");
    EXPECT_EQ(failure("main.conf"),
              "Failed to load 'main.conf':\n\tinclude='b.conf' at main.conf:1\n\tinvalid line at ./b.conf:1");
    folder.write("main.conf", "include = sub//../sub/x.conf\n");
    folder.write("sub/x.conf", "oops\n");
    EXPECT_EQ(failure("main.conf"), "Failed to load 'main.conf':\n\tinclude='sub//../sub/x.conf' at main.conf:1\n\t"
                                    "invalid line at ./sub//../sub/x.conf:1");
}

TEST_F(Includes, fail_when_a_file_cannot_be_opened)
{
    std::filesystem::create_directory(folder.path("sub"));
    EXPECT_EQ(fault("include = none.conf\n"),
              in(folder, "include='none.conf' at FOLDER/main.conf:1\n\tNo such file or directory"));
    EXPECT_EQ(fault("include = sub\n"),
              in(folder, "include='sub' at FOLDER/main.conf:1\n\tfile to open is a directory"));
    EXPECT_EQ(fault("include =\n"), in(folder, "include='' at FOLDER/main.conf:1\n\tfile to open is a directory"));
    EXPECT_EQ(fault("include = \"\"\n"), in(folder, "include='' at FOLDER/main.conf:1\n\tfile to open is a directory"));
}

TEST_F(Includes, fail_on_dangling_links)
{
    folder.link("nowhere", "dangling.conf");
    folder.link("itself.conf", "itself.conf");
    EXPECT_EQ(fault("include = dangling.conf\n"),
              in(folder, "include='dangling.conf' at FOLDER/main.conf:1\n\tNo such file or directory"));
    EXPECT_EQ(fault("include = itself.conf\n"),
              in(folder, "include='itself.conf' at FOLDER/main.conf:1\n\tToo many levels of symbolic links"));
}

TEST_F(Includes, of_a_file_in_itself_are_refused_the_second_time)
{
    WorkingFolder const here(folder.path());
    folder.write("a.conf", "x = 1\ninclude = a.conf\n");
    EXPECT_EQ(failure_of([] { ConfigFile(QString(u"a.conf"), QString()).load(); }),
              "include='a.conf' at a.conf:2\n\trecursive include='a.conf' at ./a.conf:2");
    folder.write("a.conf", "include = *.conf\n");
    EXPECT_EQ(failure_of([] { ConfigFile(QString(u"a.conf"), QString()).load(); }),
              "include='./a.conf' at a.conf:1\n\trecursive include='./a.conf' at ./a.conf:1");
}

TEST_F(Includes, of_a_file_in_itself_are_refused_after_other_includes_too)
{
    WorkingFolder const here(folder.path());
    folder.write("b.conf", "x = 1\n");
    folder.write("a.conf", "include = b.conf\ninclude = a.conf\n");
    ConfigFile config(QString(u"a.conf"), QString());
    EXPECT_EQ(failure_of([&] { config.load(); }),
              "include='a.conf' at a.conf:2\n\trecursive include='a.conf' at ./a.conf:2");
    EXPECT_EQ(table(config), Texts{"x=1"});
}

TEST_F(Includes, of_the_parent_that_a_program_passes_are_refused)
{
    WorkingFolder const here(folder.path());
    folder.write("a.conf", "");
    folder.write("b.conf", "include = c.conf\n");
    folder.write("c.conf", "include = a.conf\n");
    ConfigFile const parent(QString(u"a.conf"), QString());
    EXPECT_EQ(failure_of([&] { (void)ConfigFile::load(parent, QString(u"b.conf")); }),
              "Failed to load 'b.conf':\n\tinclude='c.conf' at b.conf:1\n\trecursive include='a.conf' at ./c.conf:1");
}

TEST_F(Includes, in_a_cycle_are_refused_where_it_closes)
{
    WorkingFolder const here(folder.path());
    folder.write("a.conf", "include = b.conf\n");
    folder.write("b.conf", "\ninclude = a.conf\n");
    EXPECT_EQ(failure("a.conf"), "Failed to load 'a.conf':\n\tinclude='b.conf' at a.conf:1\n\t"
                                 "recursive include='a.conf' at ./b.conf:2");
    folder.write("b.conf", "include = c.conf\n");
    folder.write("c.conf", "include = a.conf\n");
    EXPECT_EQ(failure("a.conf"), "Failed to load 'a.conf':\n\tinclude='b.conf' at a.conf:1\n\t"
                                 "include='c.conf' at ./b.conf:1\n\trecursive include='a.conf' at ./c.conf:1");
    // The cycle need not contain the root.
    folder.write("c.conf", "include = b.conf\n");
    EXPECT_EQ(failure("a.conf"), "Failed to load 'a.conf':\n\tinclude='b.conf' at a.conf:1\n\t"
                                 "include='c.conf' at ./b.conf:1\n\trecursive include='b.conf' at ./c.conf:1");
}

TEST_F(Includes, in_a_cycle_of_any_length_and_through_links_are_refused)
{
    WorkingFolder const here(folder.path());
    for (int const length : {1, 2, 3, 10, 100}) {
        // Each file includes a link to the next, through a link to the folder.
        folder.link(".", fmt::format("folder{}", length));
        auto const way = folder.path(fmt::format("folder{0}/{0}-", length));
        for (int i = 0; i < length; ++i) {
            auto const next = std::to_string((i + 1) % length);
            folder.write(fmt::format("{}.conf", i), fmt::format("include = {}{}.link\n", way, next));
            folder.link(next + ".conf", fmt::format("{}-{}.link", length, next));
        }
        auto const text = failure("0.conf");
        EXPECT_EQ(std::count(text.begin(), text.end(), '\t'), length == 1 ? 2 : length);
        auto const last = text.substr(text.rfind('\t') + 1);
        EXPECT_EQ(last.substr(0, last.find(" at ")), "recursive include='" + way + "0.link'");
    }
}

TEST_F(Includes, check_every_including_file_for_a_cycle)
{
    auto const root_file = folder.write("root.conf", "");
    auto const child_file = folder.write("child.conf", "");
    auto const last_file = folder.write("last.conf", "");
    ConfigFile const root(q(root_file), QString());
    ConfigFile const child(root, q(child_file));
    ConfigFile const last(child, q(last_file));
    EXPECT_TRUE(last.test_recursion(q(root_file)));
    EXPECT_TRUE(last.test_recursion(q(child_file)));
    EXPECT_FALSE(last.test_recursion(q(last_file)));
    EXPECT_FALSE(last.test_recursion(QString()));
    EXPECT_FALSE(root.test_recursion(q(root_file)));
}

TEST_F(Includes, can_be_read_into_an_object_of_the_program)
{
    folder.write("part.conf", "b = ${a}\n");
    ConfigFile config(q(folder.path("none.conf")), QString());
    config.add_value(QString(u"a"), QString(u"1"));
    config.include_file(QString(u"part.conf"));
    EXPECT_EQ(table(config), (Texts{"a=1", "b=1"}));
    EXPECT_EQ(failure_of([&] { config.include_file(QString(u"none.conf")); }),
              in(folder, "include='none.conf' at FOLDER/none.conf:0\n\tNo such file or directory"));
}

} // namespace
} // namespace tarnwick::test::config_includes_test
