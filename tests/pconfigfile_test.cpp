// Reading a file: lines, directives, the prefix, the table, the texts of faults and the log. References and quotes are in
// config/references_test.cpp, includes in config/includes_test.cpp.

#include "support/config_files.h"
#include "support/log_lines.h"
#include "support/table.h"

#include <tarnwick/config/line_reader.h>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <ios>
#include <limits>
#include <optional>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace tarnwick::test::pconfigfile_test {
namespace {

static_assert(!std::is_polymorphic_v<ConfigFile>);
static_assert(std::is_nothrow_move_constructible_v<ConfigFile> && std::is_copy_constructible_v<ConfigFile>);

std::string const bom = "\xEF\xBB\xBF";
std::string const no_break_space = "\xC2\xA0";

struct ContentCase {
    std::string name;
    std::string content;
    Texts table;
    std::string app = {}; // NOLINT(readability-redundant-member-init): designators leave it out
};

class Content : public TableTest<ContentCase> {};

TEST_P(Content, is_read_into_a_table)
{
    EXPECT_EQ(read(GetParam().content, GetParam().app), GetParam().table);
}

INSTANTIATE_TEST_SUITE_P(
    Lines, Content,
    testing::Values(
        ContentCase{"empty_file", "", {}}, ContentCase{"only_a_line_feed", "\n", {}},
        ContentCase{"only_comments", "# a = 1\n; b = 2\n", {}},
        ContentCase{"indented_comments", " \t # a = 1\n  ; b = 2\n \t\n", {}},
        ContentCase{"last_line_without_line_feed", "a = 1\nb = 2", {"a=1", "b=2"}},
        ContentCase{"comment_as_last_line_without_line_feed", "a = 1\n#", {"a=1"}},
        ContentCase{"carriage_returns", "a = 1\r\n\r\n# c\r\nb = 2\r\n", {"a=1", "b=2"}},
        ContentCase{"all_ascii_white_space", " \t\v\f\ra\t = \v 1 \f\r\n", {"a=1"}},
        ContentCase{"no_white_space", "a=1\n", {"a=1"}},
        ContentCase{"white_space_inside", "a  b = 1 \t 2\n", {"a  b=1 \t 2"}},
        ContentCase{"unicode_white_space_around_key_and_value",
                    "a" + no_break_space + "=" + no_break_space + "1" + no_break_space + "\n",
                    {"a=1"}},
        ContentCase{"comment_after_unicode_white_space_is_a_key", no_break_space + "# a = 1\n", {"# a=1"}},
        ContentCase{"more_equals_signs", "a=b=c\nd==\n", {"a=b=c", "d=="}},
        ContentCase{"empty_value", "a =\nb=\n", {"a=", "b="}},
        ContentCase{"no_comment_after_a_value", "a = 1 # b\nc = 1 ; d\n", {"a=1 # b", "c=1 ; d"}},
        ContentCase{"no_continuation", "a = 1 \\\nb = 2\n", {"a=1 \\", "b=2"}},
        ContentCase{"no_escapes", "a = \\t\\\"\n", {"a=\\t\\\""}}, ContentCase{"no_sections", "[a] = 1\n", {"[a]=1"}},
        ContentCase{"same_key_twice", "a = 1\na = 2\n", {"a=2", "a=1"}},
        ContentCase{"same_value_twice", "a = 1\na = 1\n", {"a=1", "a=1"}},
        ContentCase{"keys_of_other_case", "a = 1\nA = 2\n", {"A=2", "a=1"}},
        // e with an acute accent, as one character and as two.
        ContentCase{"keys_are_not_normalised", "\xC3\xA9 = 1\ne\xCC\x81 = 2\n", {"e\xCC\x81=2", "\xC3\xA9=1"}},
        ContentCase{"byte_order_mark_is_dropped_from_a_directive", bom + "a = 1\n", {"a=1"}},
        ContentCase{"byte_order_mark_is_dropped_from_every_line", "a = 1\n" + bom + "b = 2\n", {"a=1", "b=2"}},
        ContentCase{"byte_order_mark_inside_stays", "a = " + bom + "1\n", {"a=" + bom + "1"}},
        ContentCase{"comment_after_a_byte_order_mark_is_a_key", bom + "# a = 1\n", {"# a=1"}},
        ContentCase{
            "BytesThatAreNotUtf8", "a\xFF = \xC3(\xF0\x9F\n", {"a\xEF\xBF\xBD=\xEF\xBF\xBD(\xEF\xBF\xBD\xEF\xBF\xBD"}},
        ContentCase{"utf8", "Größe = \xF0\x9F\x98\x80\n", {"Größe=\xF0\x9F\x98\x80"}},
        ContentCase{"nul", std::string("a\0b = c\0d\n", 10), {std::string("a\0b=c\0d", 7)}},
        ContentCase{"include_of_other_case_is_a_key", "Include = x\nINCLUDE = y\n", {"INCLUDE=y", "Include=x"}},
        ContentCase{"include_with_more_is_a_key", "includes = x\nan include = y\n", {"an include=y", "includes=x"}}),
    by_name);

INSTANTIATE_TEST_SUITE_P(
    Prefix, Content,
    testing::Values(ContentCase{"is_removed", "app.port = 1\n", {"port=1"}, "app"},
                    ContentCase{"of_others_is_dropped", "other.port = 1\nport = 2\n", {}, "app"},
                    ContentCase{"of_other_case_is_dropped", "APP.port = 1\nApp.port = 2\n", {}, "app"},
                    ContentCase{"is_removed_once", "app.app.port = 1\n", {"app.port=1"}, "app"},
                    ContentCase{"at_the_start", "an.app.port = 1\n", {}, "app"},
                    ContentCase{"ends_with_the_point", "app = 1\napplication.port = 2\napp-port = 3\n", {}, "app"},
                    ContentCase{"alone_is_the_empty_key", "app. = 1\n", {"=1"}, "app"},
                    ContentCase{"makes_include_a_key", "app.include = x\n", {"include=x"}, "app"},
                    ContentCase{"may_have_points", "a.b.c = 1\na.c = 2\n", {"c=1"}, "a.b"},
                    ContentCase{"is_no_pattern", "%1.a = 1\napp.a = 2\n", {"a=1"}, "%1"},
                    ContentCase{"of_none_keeps_keys_whole", "app.port = 1\n.a = 2\n", {".a=2", "app.port=1"}}),
    by_name);

struct FaultCase {
    std::string name;
    std::string content;
    std::string fault;    ///< FILE is replaced by the name of the file
    std::string app = {}; // NOLINT(readability-redundant-member-init): designators leave it out
};

class Fault : public TableTest<FaultCase> {};

TEST_P(Fault, is_reported_with_its_place)
{
    ConfigFolder const folder;
    auto const file = folder.write("f.conf", GetParam().content);
    auto const place = file + GetParam().fault.substr(GetParam().fault.find(':'));
    auto const what = GetParam().fault.substr(0, GetParam().fault.find("FILE"));
    EXPECT_EQ(failure(file, GetParam().app), "Failed to load '" + file + "':\n\t" + what + place);

    // Without the first line when the caller loads its own object.
    ConfigFile config(q(file), q(GetParam().app));
    EXPECT_EQ(failure_of([&] { config.load(); }), what + place);
}

INSTANTIATE_TEST_SUITE_P(
    Lines, Fault,
    testing::Values(FaultCase{"no_equals_sign", "a = 1\nb\n", "invalid line at FILE:2"},
                    FaultCase{"no_equals_sign_below_comments", "# one\n\noops\n", "invalid line at FILE:3"},
                    FaultCase{"no_equals_sign_in_the_last_line", "a = 1\n\noops", "invalid line at FILE:3"},
                    FaultCase{"equals_sign_first", "=x\n", "invalid line at FILE:1"},
                    FaultCase{"equals_sign_first_indented", "  \t=x\n", "invalid line at FILE:1"},
                    FaultCase{"equals_sign_alone", "=\n", "invalid line at FILE:1"},
                    FaultCase{"section", "[section]\n", "invalid line at FILE:1"},
                    FaultCase{"byte_order_mark_alone", "a = 1\n" + bom + "\n", "invalid line at FILE:2"},
                    FaultCase{"byte_order_mark_before_a_comment", bom + "# note\n", "invalid line at FILE:1"},
                    FaultCase{"empty_key", "a = 1\n" + no_break_space + "= x\n", "empty key at FILE:2"},
                    FaultCase{"two_faults_report_the_first", "\none\ntwo\n", "invalid line at FILE:2"},
                    FaultCase{"outside_the_prefix_too", "other\n", "invalid line at FILE:1", "app"}),
    by_name);

TEST(ConfigFile, reads_nothing_before_it_loads)
{
    ConfigFolder const folder;
    auto const file = folder.write("sub/f.conf", "a = 1\n");
    ConfigFile config(q(folder.path("sub/../sub/./f.conf")), QString(u"app"));
    EXPECT_EQ(config.parent(), nullptr);
    EXPECT_EQ(config.file_name(), QString(u"f.conf"));
    EXPECT_EQ(config.path(), q(folder.path("sub/../sub/.")));
    EXPECT_EQ(config.file_path(), q(folder.path("sub/../sub/./f.conf")));
    EXPECT_EQ(config.canonical_file_path(), q(file));
    EXPECT_EQ(config.prefix(), QString(u"app."));
    EXPECT_EQ(config.line_no(), 0);
    EXPECT_TRUE(config.values().isEmpty());
}

TEST(ConfigFile, has_no_prefix_without_a_name)
{
    EXPECT_EQ(ConfigFile(QString(u"f.conf"), QString()).prefix(), std::nullopt);
    EXPECT_EQ(ConfigFile(QString(u"f.conf"), QString(u"")).prefix(), std::nullopt);
}

TEST(ConfigFile, refers_to_its_parent_without_copying_it)
{
    ConfigFile parent(QString(u"/no/such/main.conf"), QString(u"app"));
    parent.add_value(QString(u"a"), QString(u"1"));
    ConfigFile const child(parent, QString(u"child.conf"));
    EXPECT_EQ(child.parent(), &parent);
    EXPECT_EQ(child.prefix(), std::nullopt);
    EXPECT_TRUE(child.values().isEmpty());
    EXPECT_EQ(child.line_no(), 0);
    EXPECT_EQ(child.path(), QString(u"."));
    EXPECT_EQ(child.canonical_file_path(), QString());
}

TEST(ConfigFile, uses_the_prefix_of_the_nearest_file_that_has_one)
{
    ConfigFile const root(QString(u"root.conf"), QString(u"app"));
    ConfigFile const child(root, QString(u"child.conf"));
    ConfigFile grandchild(child, QString(u"grandchild.conf"));
    grandchild.process_directive(QString(u"app.port = 1"));
    grandchild.process_directive(QString(u"other.port = 2"));
    EXPECT_EQ(table(grandchild), Texts{"port=1"});
}

TEST(ConfigFile, can_get_another_file_and_keeps_the_rest)
{
    ConfigFile config(QString(u"/a/one.conf"), QString(u"app"));
    config.process_directive(QString(u"app.a = 1"));
    config.set_file_name(QString(u"/no/such/two.conf"));
    EXPECT_EQ(config.file_name(), QString(u"two.conf"));
    EXPECT_EQ(config.path(), QString(u"/no/such"));
    EXPECT_EQ(config.file_path(), QString(u"/no/such/two.conf"));
    EXPECT_EQ(config.canonical_file_path(), QString());
    EXPECT_EQ(config.prefix(), QString(u"app."));
    EXPECT_EQ(table(config), Texts{"a=1"});
}

TEST(ConfigFile, counts_every_line)
{
    ConfigFolder const folder;
    ConfigFile config(q(folder.write("f.conf", "# one\n\n  \na = 1\r\n; five")), QString());
    config.load();
    EXPECT_EQ(config.line_no(), 5);
}

// A file is read in pieces of 16,384 bytes.
TEST(ConfigFile, reads_lines_across_buffers)
{
    std::string const key = "a = ";
    for (std::size_t size = 16'380; size < 16'390; ++size) {
        for (auto const pieces : {std::size_t{1}, std::size_t{2}}) {
            auto const value = std::string(pieces * size - key.size() - 1, 'x');
            EXPECT_EQ(read(key + value + "\nb = 1\n"), (Texts{"a=" + value, "b=1"})) << pieces * size;
        }
    }
}

TEST(ConfigFile, adds_everything_again_when_it_loads_again)
{
    ConfigFolder const folder;
    ConfigFile config(q(folder.write("f.conf", "a = 1\na = 2\n")), QString());
    config.load();
    config.load();
    EXPECT_EQ(config.line_no(), 2);
    EXPECT_EQ(table(config), (Texts{"a=2", "a=1", "a=2", "a=1"}));
}

TEST(ConfigFile, keeps_the_values_above_a_fault)
{
    ConfigFolder const folder;
    ConfigFile config(q(folder.write("f.conf", "a = 1\nb = 2\noops\nc = 3\n")), QString());
    EXPECT_THROW(config.load(), PException);
    EXPECT_EQ(table(config), (Texts{"a=1", "b=2"}));
    EXPECT_EQ(config.line_no(), 3);
}

TEST(ConfigFile, reports_why_a_file_cannot_be_opened)
{
    ConfigFolder const folder;
    WorkingFolder const here(folder.path());
    folder.link("nowhere", "dangling.conf");
    EXPECT_EQ(failure("x.conf"), "Failed to load 'x.conf':\n\tNo such file or directory");
    EXPECT_EQ(failure("dangling.conf"), "Failed to load 'dangling.conf':\n\tNo such file or directory");
    EXPECT_EQ(failure("."), "Failed to load '.':\n\tfile to open is a directory");
    EXPECT_EQ(failure_of([] { ConfigFile(QString(u"x.conf"), QString()).load(); }), "No such file or directory");
}

TEST(ConfigFile, names_the_file_as_the_program_does)
{
    ConfigFolder const folder;
    WorkingFolder const here(folder.path());
    folder.write("f.conf", "oops");
    EXPECT_EQ(failure("f.conf"), "Failed to load 'f.conf':\n\tinvalid line at f.conf:1");
    EXPECT_EQ(failure("./f.conf"), "Failed to load './f.conf':\n\tinvalid line at ./f.conf:1");
    auto const name = std::string("Gr\xC3\xB6\xC3\x9F"
                                  "e.conf");
    EXPECT_EQ(failure(name), "Failed to load '" + name + "':\n\tNo such file or directory");
}

TEST(ConfigFile, loads_a_child_that_reads_its_parent_without_changing_it)
{
    ConfigFolder const folder;
    auto const file = folder.write("child.conf", "app.b = ${app.a}\nother = 1\n");
    ConfigFile parent(QString(u"main.conf"), QString(u"app"));
    parent.process_directive(QString(u"app.a = 1"));
    auto const child = ConfigFile::load(parent, q(file));
    EXPECT_EQ(child.parent(), &parent);
    EXPECT_EQ(table(child), Texts{"b=1"});
    EXPECT_EQ(table(parent), Texts{"a=1"});

    folder.write("child.conf", "oops");
    EXPECT_EQ(failure_of([&] { (void)ConfigFile::load(parent, q(file)); }),
              "Failed to load '" + file + "':\n\tinvalid line at " + file + ":1");
}

/// Whether a child can be constructed and loaded with a parent of that type.
template <class Parent>
concept is_parent = std::is_constructible_v<ConfigFile, Parent, QString> &&
                    requires(QString const &file) { ConfigFile::load(std::declval<Parent>(), file); };
template <class Parent>
concept is_no_parent = !std::is_constructible_v<ConfigFile, Parent, QString> &&
                       !requires(QString const &file) { ConfigFile::load(std::declval<Parent>(), file); };

TEST(ConfigFile, rejects_a_temporary_as_parent)
{
    EXPECT_TRUE(is_parent<ConfigFile &>);
    EXPECT_TRUE(is_parent<ConfigFile const &>);
    EXPECT_TRUE(is_no_parent<ConfigFile>);
    EXPECT_TRUE(is_no_parent<ConfigFile const>);
}

TEST(ConfigFile, counts_lines_up_to_the_largest_number)
{
    constexpr auto largest = std::numeric_limits<std::int32_t>::max();
    using PelorinPHPX::next_line_no;
    EXPECT_EQ(next_line_no(0), 1);
    EXPECT_EQ(next_line_no(largest - 1), largest);
    EXPECT_EQ(next_line_no(largest), largest);
}

TEST(ConfigFile, handles_a_line_of_the_program)
{
    ConfigFile config(QString(u"f.conf"), QString());
    config.process_directive(QString(u" a  =  1 "));
    EXPECT_EQ(table(config), Texts{"a=1"});

    auto const fault = [&](std::string_view line) { return failure_of([&] { config.process_directive(q(line)); }); };
    EXPECT_EQ(fault(""), "invalid line at f.conf:0");
    EXPECT_EQ(fault("oops"), "invalid line at f.conf:0");
    EXPECT_EQ(fault("=x"), "invalid line at f.conf:0");
    EXPECT_EQ(fault("  =x"), "empty key at f.conf:0") << "only reading strips the line";
    EXPECT_EQ(table(config), Texts{"a=1"});
    config.process_directive(QString(u"# b = 1"));
    EXPECT_EQ(table(config), (Texts{"# b=1", "a=1"})) << "only reading knows comments";
}

TEST(ConfigFile, gives_access_to_its_table)
{
    ConfigFile config(QString(u"f.conf"), QString());
    EXPECT_EQ(config.keys(), QStringList());
    for (auto const *line : {u"b = 1", u"a = 2", u"b = 3", u"c ="})
        config.process_directive(QString(line));
    EXPECT_EQ(config.value(QString(u"b")), QString(u"3"));
    EXPECT_EQ(config.value(QString(u"c")), QString(u""));
    EXPECT_EQ(config.value(QString(u"B")), std::nullopt);
    EXPECT_EQ(config.values(QString(u"b")), (QStringList{QString(u"3"), QString(u"1")}));
    EXPECT_EQ(config.values(QString(u"x")), QStringList());
    EXPECT_EQ(config.keys(), (QStringList{QString(u"a"), QString(u"b"), QString(u"c")}));
    EXPECT_TRUE(config.contains(QString(u"c")));
    EXPECT_FALSE(config.contains(QString(u"x")));
    EXPECT_EQ(config.values().count(QString(u"b")), 2);
    EXPECT_EQ(config.values().value(QString(u"b")), QString(u"3"));
}

TEST(ConfigFile, can_be_moved)
{
    ConfigFolder const folder;
    auto config = ConfigFile::load(q(folder.write("f.conf", "app.a = 1\n")), QString(u"app"));
    auto const copy = config;
    auto const moved = std::move(config);
    EXPECT_EQ(table(copy), Texts{"a=1"});
    EXPECT_EQ(table(moved), Texts{"a=1"});
    EXPECT_EQ(moved.prefix(), QString(u"app."));
}

TEST(ConfigFile, can_be_assigned)
{
    ConfigFolder const folder;
    auto const file = q(folder.write("f.conf", "app.a = 1\nother.b = 2\n"));
    auto const app = ConfigFile::load(file, QString(u"app"));
    auto config = ConfigFile::load(file, QString(u"other"));
    EXPECT_EQ(table(config), Texts{"b=2"});
    config = app;
    EXPECT_EQ(table(config), Texts{"a=1"});
    config = ConfigFile::load(file, QString(u"other"));
    EXPECT_EQ(table(config), Texts{"b=2"});
    EXPECT_EQ(config.prefix(), QString(u"other."));
    EXPECT_EQ(table(app), Texts{"a=1"});
}

struct MergeCase {
    char const *name;
    Texts own;
    Texts other;
    Texts merged;
};

class Merge : public TableTest<MergeCase> {
protected:
    static ConfigFile filled(Texts const &lines)
    {
        ConfigFile config(QString(u"f.conf"), QString());
        for (auto const &line : lines)
            config.process_directive(q(line));
        return config;
    }
};

TEST_P(Merge, keeps_all_values_in_this_order)
{
    auto config = filled(GetParam().own);
    auto const other = filled(GetParam().other);
    config.merge(other);
    EXPECT_EQ(table(config), GetParam().merged);
}

INSTANTIATE_TEST_SUITE_P(
    Tables, Merge,
    testing::Values(MergeCase{"into_an_empty_one_unchanged", {}, {"a=1", "a=2", "b=3"}, {"a=2", "a=1", "b=3"}},
                    MergeCase{"nothing_of_an_empty_one", {"a=1", "a=2"}, {}, {"a=2", "a=1"}},
                    MergeCase{"into_another_reversed", {"x=0"}, {"a=1", "a=2", "a=3"}, {"a=1", "a=2", "a=3", "x=0"}},
                    MergeCase{"reversed_before_older_values", {"a=0"}, {"a=1", "a=2"}, {"a=1", "a=2", "a=0"}},
                    MergeCase{"equal_values_stay", {"a=1"}, {"a=1"}, {"a=1", "a=1"}}),
    by_name);

// Log.

TEST(ConfigFileLog, logs_files_and_values)
{
    static std::string const stem = "libs/tarnwick/pconfigfile";
    auto const loading = "3 " + place_in_source(stem, "Loading configuration file {}") + " Loading configuration file ";
    auto const value = "5 " + place_in_source(stem, "{} = '{}'") + " ";

    ConfigFolder const folder;
    WorkingFolder const here(folder.path());
    folder.write("main.conf", "app.a = \"1\"\napp.empty =\nother = 2\napp.none = ${app.nothing}\n"
                              "include = part.conf\napp.b = ${app.a}\n");
    folder.write("part.conf", "app.Gr\xC3\xB6\xC3\x9F"
                              "e = it's\n");
    {
        LogLines const out(5);
        loaded("main.conf", "app");
        EXPECT_EQ(out.lines(),
                  (Texts{loading + "main.conf", value + "a = '1'", value + "empty = ''", loading + "./part.conf",
                         value + "Gr\xC3\xB6\xC3\x9F"
                                 "e = 'it's'",
                         value + "b = '1'"}));
    }
    {
        LogLines const out(4);
        loaded("main.conf", "app");
        EXPECT_EQ(out.lines(), (Texts{loading + "main.conf", loading + "./part.conf"}));
    }
    {
        LogLines const out(2);
        EXPECT_EQ(loaded("main.conf", "app").size(), 4U);
        EXPECT_EQ(out.lines(), Texts());
    }
    {
        LogLines const out(3);
        EXPECT_NE(failure("missing.conf"), "");
        EXPECT_EQ(out.lines(), Texts{loading + "missing.conf"}) << "also of a file that cannot be opened";
    }
    {
        LogLines const out(3);
        std::string const endless(5'000, 'x');
        EXPECT_NE(failure(folder.write("endless.conf", "include = " + endless + "\n")), "");
        EXPECT_EQ(out.lines(), (Texts{loading + folder.path("endless.conf"), loading + folder.path(endless)}))
            << "and of one that is refused before it is opened";
    }
    {
        LogLines const out(5);
        ConfigFile config(QString(u"f.conf"), QString());
        config.add_value(QString(u"k"), QString(u"v"));
        EXPECT_EQ(out.lines(), Texts{value + "k = 'v'"});
        EXPECT_EQ(table(config), Texts{"k=v"});
    }
}

/// Clears the state of the stream when its text is read.
class PassingFormatError : public fmt::format_error {
public:
    explicit PassingFormatError(std::ostream &stream)
        : fmt::format_error("no format")
        , stream_(&stream)
    {
    }
    [[nodiscard]] char const *what() const noexcept override
    {
        stream_->clear();
        return fmt::format_error::what();
    }

private:
    std::ostream *stream_;
};

TEST(ConfigFileLog, continues_loading_after_a_format_error)
{
    struct Failing : std::stringbuf {
        std::ostream *stream = nullptr;
        bool failed = false;
        std::streamsize xsputn(char const *data, std::streamsize size) override
        {
            if (std::string_view(data, static_cast<std::size_t>(size)).find("a = '1'") != std::string_view::npos &&
                !std::exchange(failed, true))
                throw PassingFormatError(*stream);
            return std::stringbuf::xsputn(data, size);
        }
    } buffer;
    std::ostream stream(&buffer);
    buffer.stream = &stream;
    stream.exceptions(std::ios::badbit);
    static std::string const stem = "libs/tarnwick/pconfigfile";
    auto const value = "5 " + place_in_source(stem, "{} = '{}'") + " ";

    ConfigFolder const folder;
    auto const part = folder.write("part.conf", "a = 1\nb = 2\n");
    auto const file = folder.write("f.conf", "include = part.conf\nc = 3\n");
    {
        LogLines const level(5);
        PLogger::instance().set_output(&stream);
        EXPECT_EQ(loaded(file), (Texts{"a=1", "b=2", "c=3"}));
    }
    auto const loading = "3 " + place_in_source(stem, "Loading configuration file {}") + " Loading configuration file ";
    EXPECT_EQ(buffer.str(), loading + file + "\n" + loading + part + "\n" + value +
                                "Failed to format message: no format\n" + value + "b = '2'\n" + value + "c = '3'\n");
}

TEST(ConfigFileLog, propagates_exceptions_of_the_stream)
{
    struct Failing : std::streambuf {
        std::streamsize xsputn(char const * /*data*/, std::streamsize /*size*/) override
        {
            throw std::domain_error("no writing");
        }
    } buffer;
    std::ostream stream(&buffer);
    stream.exceptions(std::ios::badbit);
    ConfigFolder const folder;
    auto const file = folder.write("f.conf", "a = 1\n");
    ConfigFile const parent(QString(u"main.conf"), QString());
    PLogger::instance().set_output(&stream);
    EXPECT_THROW((void)ConfigFile::load(q(file), QString()), std::domain_error);
    stream.clear();
    EXPECT_THROW((void)ConfigFile::load(parent, q(file)), std::domain_error);
    PLogger::instance().set_output(nullptr);
}

} // namespace
} // namespace tarnwick::test::pconfigfile_test
