// Malicious and very large files: each load ends in a table or in an exception with its place.

#include "support/allocations.h"
#include "support/config_files.h"
#include "support/file_faults.h"
#include "support/open_files.h"
#include "support/sanitizers.h"
#include "support/small_stack.h"
#include "support/table.h"

#include <tarnwick/pconfig_observer.h>

#include <QtCore/QtLogging>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <fstream>
#include <string>

namespace tarnwick::test::pconfigfile_hostile_test {
namespace {

// Sanitizers are slow.
constexpr std::size_t long_line = is_sanitized ? 5'000'000 : 100'000'000;
constexpr int many_lines = is_sanitized ? 200'000 : 10'000'000;
constexpr int many_files = is_sanitized ? 1'000 : 10'000;

/// The heap memory that a load has in use when it adds a value, while the file is still open.
struct MemoryInUse final : PelorinPHPX::ConfigObserver {
    std::ptrdiff_t bytes = 0;
    void added(ConfigFile const & /*file*/, QString const & /*key*/, QString const & /*value*/) override
    {
        bytes = live_bytes();
    }
};

class Hostile : public testing::Test {
protected:
    ConfigFolder folder;
};

TEST_F(Hostile, value_in_a_long_line)
{
    auto const file = folder.write("f.conf", "a = 1\nlong = " + std::string(long_line, 'x') + "\nb = 2\n");
    auto const config = ConfigFile::load(q(file), QString());
    EXPECT_EQ(config.value(QString(u"long")).value_or(QString()).size(), static_cast<qsizetype>(long_line));
    EXPECT_EQ(config.keys().size(), 3);
}

TEST_F(Hostile, long_line_without_a_directive)
{
    auto const file = folder.write("f.conf", "a = 1\n" + std::string(long_line, 'x') + "\n");
    EXPECT_EQ(failure(file), "Failed to load '" + file + "':\n\tinvalid line at " + file + ":2");
}

TEST_F(Hostile, long_comment_leaves_no_memory_in_use)
{
    auto const file = folder.write("f.conf", "#" + std::string(long_line, 'x') + "\na = 1\n");
    MemoryInUse in_use;
    auto const peak =
        peak_bytes_of([&] { EXPECT_EQ(table(ConfigFile::load(q(file), QString(), &in_use)), Texts{"a=1"}); });
    EXPECT_GT(peak, long_line);
    EXPECT_GT(in_use.bytes, 0);
    EXPECT_LT(in_use.bytes, static_cast<std::ptrdiff_t>(long_line) / 10);
}

TEST_F(Hostile, long_line_that_is_dropped_leaves_no_memory_in_use)
{
    auto const file = folder.write("f.conf", "b = " + std::string(long_line, 'x') +
                                                 "\napp.include = " + std::string(10, 'x') + "\n# c\n");
    MemoryInUse in_use;
    auto const peak = peak_bytes_of(
        [&] { EXPECT_EQ(table(ConfigFile::load(q(file), QString(u"app"), &in_use)), Texts{"include=xxxxxxxxxx"}); });
    EXPECT_GT(peak, long_line);
    EXPECT_GT(in_use.bytes, 0);
    EXPECT_LT(in_use.bytes, static_cast<std::ptrdiff_t>(long_line) / 10);
}

TEST_F(Hostile, many_lines_take_memory_only_for_stored_values)
{
    auto const file = folder.path("f.conf");
    {
        std::ofstream lines(file);
        for (int line = 1; line <= many_lines; ++line)
            lines << (line % 1000 == 0 ? "a = 1\n" : line % 2 == 0 ? "# c\n" : "\n");
    }
    ConfigFile config(q(file), QString());
    auto const peak = peak_bytes_of([&] { config.load(); });
    EXPECT_EQ(config.line_no(), many_lines);
    EXPECT_EQ(config.values().count(QString(u"a")), many_lines / 1000);
    // Some 100 bytes a value.
    EXPECT_LT(peak, 1'000'000);
}

TEST_F(Hostile, many_files_in_a_wildcard)
{
    for (int i = 0; i < many_files; ++i)
        folder.write(fmt::format("d/{:05}.conf", i), fmt::format("a = {0}\nb.{0} = ${{a}}\n", i));
    auto const config = ConfigFile::load(q(folder.write("f.conf", "include = d/*.conf\n")), QString());
    EXPECT_EQ(config.values().size(), 2 * many_files);
    EXPECT_EQ(config.value(QString(u"a")), QString::number(many_files - 1));
    EXPECT_EQ(config.values(QString(u"a")).size(), many_files);
}

class Chain : public Hostile {
protected:
    /// Writes files 0.conf to LENGTH.conf, each of which includes the next after a line. Returns the name of the first.
    [[nodiscard]] std::string chain(int length, std::string const &last,
                                    std::string const &first_line = "a = 1\n") const
    {
        for (int i = 0; i < length; ++i)
            folder.write(fmt::format("{}.conf", i), fmt::format("{}include = {}.conf\n", first_line, i + 1));
        folder.write(fmt::format("{}.conf", length), last);
        return folder.path("0.conf");
    }
};

TEST_F(Chain, of_a_thousand_includes)
{
    auto const enough = OpenFiles::at_least(1'100);
    auto const config = ConfigFile::load(q(chain(1'000, "a = last\n")), QString());
    auto const values = config.values(QString(u"a"));
    ASSERT_EQ(values.size(), 1'001);
    EXPECT_TRUE(values.contains(QString(u"last")));
}

TEST_F(Chain, of_a_thousand_includes_reports_a_fault_at_every_level)
{
    auto const enough = OpenFiles::at_least(1'100);
    auto const file = chain(1'000, "oops");
    auto expected = "Failed to load '" + file + "':";
    for (int i = 0; i < 1'000; ++i)
        expected += fmt::format("\n\tinclude='{}.conf' at {}:2", i + 1, folder.path(fmt::format("{}.conf", i)));
    expected += "\n\tinvalid line at " + folder.path("1000.conf") + ":1";
    EXPECT_EQ(failure(file), expected);
}

#ifdef TARNWICK_SANITIZED
constexpr std::size_t smallest_stack = small_stack;
#else
constexpr std::size_t smallest_stack = std::size_t{160} * 1024;
#endif

TEST_F(Chain, of_four_thousand_includes_needs_no_deep_stack)
{
    auto const enough = OpenFiles::at_least(4'050);
    auto const file = chain(4'000, "a = last\n", "");
    on_small_stack([&] { EXPECT_EQ(loaded(file), Texts{"a=last"}); }, smallest_stack);

    folder.write("4000.conf", "oops");
    std::string text;
    on_small_stack([&] { text = failure(file); }, smallest_stack);
    EXPECT_EQ(std::ranges::count(text, '\n'), 4'001);
    EXPECT_EQ(text.substr(text.rfind('\n')), "\n\tinvalid line at " + folder.path("4000.conf") + ":1");
}

TEST_F(Chain, of_four_thousand_includes_that_a_program_starts_needs_no_deep_stack)
{
    auto const enough = OpenFiles::at_least(4'050);
    (void)chain(4'000, "a = last\n", "");
    ConfigFile config(q(folder.path("f.conf")), QString());
    std::string fault;
    on_small_stack([&] { fault = failure_of([&] { config.process_directive(QString(u"include=0.conf")); }); },
                   smallest_stack);
    EXPECT_EQ(fault, "");
    EXPECT_EQ(table(config), Texts{"a=last"});
}

TEST_F(Chain, deeper_than_the_limit_of_descriptors_fails_at_the_first_include_beyond_it)
{
#ifdef TARNWICK_SANITIZED
    GTEST_SKIP() << "undefined-behaviour checks take descriptors themselves";
#endif
    auto const file = chain(40, "a = last\n", "");
    EXPECT_EQ(loaded(file), Texts{"a=last"});
    auto const limit = OpenFiles::left(30);
    auto const text = failure(file);
    EXPECT_EQ(std::ranges::count(text, '\n'), 31);
    EXPECT_EQ(text.substr(text.rfind('\n', text.rfind('\n') - 1)),
              "\n\tinclude='30.conf' at " + folder.path("29.conf") + ":1\n\tToo many open files");
}

/// Qt warns on standard error of a name that contains a NUL.
class SilentQt {
public:
    SilentQt()
        : before_(
              qInstallMessageHandler([](QtMsgType /*type*/, QMessageLogContext const & /*place*/, QString const &) {}))
    {
    }
    ~SilentQt() { qInstallMessageHandler(before_); }
    SilentQt(SilentQt const &) = delete;
    SilentQt &operator=(SilentQt const &) = delete;

private:
    QtMessageHandler before_;
};

// The system opens a name up to its NUL, and the bytes after the NUL make each name a different one.
TEST_F(Chain, that_the_test_for_recursion_cannot_see_ends_in_an_exception)
{
    SilentQt const silent;
    using namespace std::string_literals;
    for (auto const &name : {"a.conf\0/x"s, "a.conf\0/"s, "a.conf\0/"s + std::string(200, 'x')}) {
        auto const file = folder.write("a.conf", "b = 1\ninclude = " + name + "\n");
        // No text contains the bytes after the NUL.
        EXPECT_EQ(failure(file), "Failed to load '" + file + "':\n\tinclude='a.conf");
        ConfigFile config(q(file), QString());
        EXPECT_THROW(config.load(), PException);
        EXPECT_EQ(table(config), Texts{"b=1"});
        EXPECT_EQ(config.line_no(), 2);
    }
}

TEST_F(Hostile, include_with_a_name_that_is_too_long)
{
    // With the folder and the slash, 4,095 bytes are the longest name that the system accepts.
    auto const longest = static_cast<std::size_t>(4'095) - folder.path().size() - 1;
    for (auto const size : {longest, longest + 1, std::size_t{100'000}}) {
        std::string name;
        while (name.size() + 2 < size)
            name += "./";
        name.resize(size, 'x');
        auto const file = folder.write("f.conf", "\ninclude = " + name + "\n");
        EXPECT_EQ(failure(file), fmt::format("Failed to load '{0}':\n\tinclude='{1}' at {0}:2\n\t{2}", file, name,
                                             size <= longest ? "No such file or directory" : "File name too long"));
    }
}

class NulInAName : public Hostile {
protected:
    SilentQt const silent;
    std::string const part = folder.write("part.conf", "a = 1\n");
    std::string const up_to_it = std::string("part.conf") + '\0';
};

TEST_F(NulInAName, opens_the_file_up_to_it)
{
    EXPECT_EQ(loaded(folder.write("f.conf", "include = " + up_to_it + "and more\n")), Texts{"a=1"});
}

// A file that includes itself in this way has a longer name each time.
TEST_F(NulInAName, hides_nothing_of_its_length)
{
    auto const longest = static_cast<std::size_t>(4'095) - part.size() - 1;
    for (auto const size : {longest, longest + 1, longest + 2}) {
        auto const file = folder.write("f.conf", "include = " + up_to_it + std::string(size, 'x') + "\n");
        if (size == longest)
            EXPECT_EQ(loaded(file), Texts{"a=1"});
        else
            EXPECT_EQ(failure(file), "Failed to load '" + file + "':\n\tinclude='part.conf");
    }
}

// Files whose reported size cannot be read.

TEST_F(Hostile, file_that_ends_before_its_size)
{
    ConfigFolder const here;
    ConfigFile config(q(here.write("f.conf", "a = 1\n")), QString());
    FailingFiles const none({.reads = {1, FileFaults::from_then_on, 0}});
    config.load();
    EXPECT_EQ(config.line_no(), 0);
    EXPECT_EQ(table(config), Texts());
}

// White space that ends a key or a value, and white space that is a part of it.

struct SpaceCase {
    char const *name;
    char32_t character;
    bool is_space;
};

class UnicodeSpace : public TableTest<SpaceCase> {};

TEST_P(UnicodeSpace, is_stripped_around_key_and_value)
{
    auto const character = QString::fromUcs4(&GetParam().character, 1).toStdString();
    auto const around = GetParam().is_space ? "" : character;
    EXPECT_EQ(read("x = 0\nk" + character + "=" + character + "v" + character + "w" + character + "\n"),
              (Texts{"k" + around + "=" + around + "v" + character + "w" + around, "x=0"}));
    ConfigFolder const folder;
    auto const file = folder.write("f.conf", "# c\n" + character + "= v\n");
    if (GetParam().is_space) {
        EXPECT_EQ(failure(file), "Failed to load '" + file + "':\n\tempty key at " + file + ":2");
    } else {
        EXPECT_EQ(loaded(file), Texts{character + "=v"});
    }
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, UnicodeSpace,
    testing::Values(SpaceCase{"next_line", 0x85, true}, SpaceCase{"no_break_space", 0xA0, true},
                    SpaceCase{"ogham_space_mark", 0x1680, true}, SpaceCase{"en_quad", 0x2000, true},
                    SpaceCase{"em_quad", 0x2001, true}, SpaceCase{"en_space", 0x2002, true},
                    SpaceCase{"em_space", 0x2003, true}, SpaceCase{"three_per_em_space", 0x2004, true},
                    SpaceCase{"four_per_em_space", 0x2005, true}, SpaceCase{"six_per_em_space", 0x2006, true},
                    SpaceCase{"figure_space", 0x2007, true}, SpaceCase{"punctuation_space", 0x2008, true},
                    SpaceCase{"thin_space", 0x2009, true}, SpaceCase{"hair_space", 0x200A, true},
                    SpaceCase{"line_separator", 0x2028, true}, SpaceCase{"paragraph_separator", 0x2029, true},
                    SpaceCase{"narrow_no_break_space", 0x202F, true}, SpaceCase{"mathematical_space", 0x205F, true},
                    SpaceCase{"ideographic_space", 0x3000, true}, SpaceCase{"unit_separator", 0x1F, false},
                    SpaceCase{"delete", 0x7F, false}, SpaceCase{"mongolian_vowel_separator", 0x180E, false},
                    SpaceCase{"zero_width_space", 0x200B, false}, SpaceCase{"word_joiner", 0x2060, false}),
    by_name);

// Carriage returns without a line feed: QFile's text mode removes them from the first line of a file, and from the part
// of a line that is read after its buffer ran empty. Elsewhere they are kept.

TEST(CarriageReturn, alone_does_not_end_a_line)
{
    EXPECT_EQ(read("a = 1\rb = 2\n"), Texts{"a=1b = 2"}) << "in the first line";
    EXPECT_EQ(read("x = 0\na = 1\rb = 2\n"), (Texts{"a=1\rb = 2", "x=0"}));
    EXPECT_EQ(read("x = 0\na = 1\r\r\n"), (Texts{"a=1", "x=0"}));
    EXPECT_EQ(read("\r"), Texts());
    EXPECT_EQ(read("a = 1\n\r"), Texts{"a=1"});
    EXPECT_EQ(read("\r\r\ra = 1"), Texts{"a=1"});
    auto const filler = "#" + std::string(16'380, 'x') + "\n";
    EXPECT_EQ(read(filler + "a\rb = 1\rc\n"), Texts{"a\rb=1c"}) << "before and after the end of the buffer";
}

} // namespace
} // namespace tarnwick::test::pconfigfile_hostile_test
