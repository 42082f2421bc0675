// Files that were made to harm, or grew beyond measure: each ends in a table or in an exception with its place.

#include "support/by_name.h"
#include "support/config_files.h"
#include "support/file_faults.h"

#include <tarnwick/pconfig_observer.h>

#include <QtCore/QtLogging>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <fstream>
#include <pthread.h>
#include <string>
#include <sys/resource.h>

namespace tarnwick::test {
namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool is_sanitized = true;
#else
constexpr bool is_sanitized = false;
#endif

// Sanitizers slow everything down and keep memory back.
constexpr std::size_t long_line = is_sanitized ? 5'000'000 : 100'000'000;
constexpr int many_lines = is_sanitized ? 200'000 : 10'000'000;
constexpr int many_files = is_sanitized ? 1'000 : 10'000;

/// Of this process, in bytes, as the kernel counts them.
std::int64_t memory(std::string const &figure)
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(figure + ":"))
            return std::stoll(line.substr(figure.size() + 1)) * 1024;
    }
    ADD_FAILURE() << "no " << figure;
    return 0;
}

/// The most memory that an action takes while it runs.
template <class Action>
std::int64_t peak_memory_of(Action &&action)
{
    std::ofstream("/proc/self/clear_refs") << "5"; // the peak is counted from here on
    auto const before = memory("VmRSS");
    action();
    return memory("VmHWM") - before;
}

/// The memory in use when a value is added: the file is still being read then.
struct MemoryInUse final : PelorinPHPX::ConfigObserver {
    std::int64_t bytes = 0;
    void added(ConfigFile const & /*file*/, QString const & /*key*/, QString const & /*value*/) override
    {
        bytes = memory("VmRSS");
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
    auto const before = memory("VmRSS");
    EXPECT_EQ(table(ConfigFile::load(q(file), QString(), &in_use)), Texts{"a=1"});
    ASSERT_GT(in_use.bytes, 0);
    if (!is_sanitized) {
        EXPECT_LT(in_use.bytes - before, static_cast<std::int64_t>(long_line) / 10);
    }
}

TEST_F(Hostile, long_line_that_is_dropped_leaves_no_memory_in_use)
{
    auto const file = folder.write("f.conf", "b = " + std::string(long_line, 'x') +
                                                 "\napp.include = " + std::string(10, 'x') + "\n# c\n");
    MemoryInUse in_use;
    auto const before = memory("VmRSS");
    EXPECT_EQ(table(ConfigFile::load(q(file), QString(u"app"), &in_use)), Texts{"include=xxxxxxxxxx"});
    ASSERT_GT(in_use.bytes, 0);
    if (!is_sanitized) {
        EXPECT_LT(in_use.bytes - before, static_cast<std::int64_t>(long_line) / 10);
    }
}

TEST_F(Hostile, many_lines_take_memory_for_what_is_kept_alone)
{
    auto const file = folder.path("f.conf");
    {
        std::ofstream lines(file);
        for (int line = 1; line <= many_lines; ++line)
            lines << (line % 1000 == 0 ? "a = 1\n" : line % 2 == 0 ? "# c\n" : "\n");
    }
    ConfigFile config(q(file), QString());
    auto const peak = peak_memory_of([&] { config.load(); });
    EXPECT_EQ(config.line_no(), many_lines);
    EXPECT_EQ(config.values().count(QString(u"a")), many_lines / 1000);
    // Some 100 bytes a value.
    EXPECT_LT(peak, 4'000'000);
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

/// Lets that many files be open at once, so that descriptors do not run out first.
class OpenFiles {
public:
    explicit OpenFiles(rlim_t count)
    {
        EXPECT_EQ(::getrlimit(RLIMIT_NOFILE, &before_), 0);
        rlimit const wanted{std::max(count, before_.rlim_cur), before_.rlim_max};
        EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &wanted), 0);
    }
    ~OpenFiles() { ::setrlimit(RLIMIT_NOFILE, &before_); }
    OpenFiles(OpenFiles const &) = delete;
    OpenFiles &operator=(OpenFiles const &) = delete;

private:
    rlimit before_{};
};

class Chain : public Hostile {
protected:
    /// Files 0.conf to LENGTH.conf, each of which includes the next.
    [[nodiscard]] std::string chain(int length, std::string const &last) const
    {
        for (int i = 0; i < length; ++i)
            folder.write(fmt::format("{}.conf", i), fmt::format("a = {}\ninclude = {}.conf\n", i, i + 1));
        folder.write(fmt::format("{}.conf", length), last);
        return folder.path("0.conf");
    }
};

TEST_F(Chain, of_a_thousand_includes)
{
    OpenFiles const enough(1'100);
    auto const config = ConfigFile::load(q(chain(1'000, "a = last\n")), QString());
    auto const values = config.values(QString(u"a"));
    ASSERT_EQ(values.size(), 1'001);
    EXPECT_TRUE(values.contains(QString(u"last")));
}

TEST_F(Chain, of_a_thousand_includes_tells_a_fault_at_every_level)
{
    OpenFiles const enough(1'100);
    auto const file = chain(1'000, "oops");
    auto expected = "Failed to load '" + file + "':";
    for (int i = 0; i < 1'000; ++i)
        expected += fmt::format("\n\tinclude='{}.conf' at {}:2", i + 1, folder.path(fmt::format("{}.conf", i)));
    expected += "\n\tinvalid line at " + folder.path("1000.conf") + ":1";
    EXPECT_EQ(failure(file), expected);
}

TEST_F(Chain, too_long_for_the_stack_ends_in_an_exception)
{
    OpenFiles const enough(2'100);
    auto const file = chain(2'000, "a = last\n");
    static std::string text;
    static std::string name;
    name = file;
    pthread_attr_t attributes;
    ASSERT_EQ(::pthread_attr_init(&attributes), 0);
    ASSERT_EQ(::pthread_attr_setstacksize(&attributes, 524'288), 0);
    pthread_t thread{};
    auto const load = [](void *) -> void * {
        text = failure(name);
        return nullptr;
    };
    ASSERT_EQ(::pthread_create(&thread, &attributes, load, nullptr), 0);
    ::pthread_join(thread, nullptr);
    ::pthread_attr_destroy(&attributes);

    EXPECT_EQ(text.substr(text.rfind('\n')), "\n\ttoo many includes in each other");
    auto const levels = std::count(text.begin(), text.end(), '\n');
    EXPECT_GT(levels, 32);
    auto const place = fmt::format("\n\tinclude='{}.conf' at {}:2\n\ttoo", levels - 1,
                                   folder.path(fmt::format("{}.conf", levels - 2)));
    EXPECT_NE(text.find(place), std::string::npos)
        << text.substr(text.size() - std::min<std::size_t>(300, text.size()));
}

/// Qt says on standard error that a name with a NUL in it is no name.
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

// The system opens a name with a NUL in it up to that, and what is behind it makes every name another one.
TEST_F(Chain, that_the_test_for_recursion_cannot_see_ends_in_an_exception)
{
    OpenFiles const enough(5'000);
    SilentQt const silent;
    using namespace std::string_literals;
    for (auto const &name : {"a.conf\0/x"s, "a.conf\0/"s, "a.conf\0/"s + std::string(200, 'x')}) {
        auto const file = folder.write("a.conf", "b = 1\ninclude = " + name + "\n");
        // What is behind a NUL is in no text.
        EXPECT_EQ(failure(file), "Failed to load '" + file + "':\n\tinclude='a.conf");
        ConfigFile config(q(file), QString());
        EXPECT_THROW(config.load(), PException);
        EXPECT_EQ(table(config), Texts{"b=1"});
        EXPECT_EQ(config.line_no(), 2);
    }
}

TEST_F(Hostile, include_with_a_name_as_long_as_none)
{
    // With the folder and the slash, 4,095 bytes are the longest name that the system takes.
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

// A file that includes itself in such a way has a longer name each time.
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

// Files that the system cannot read to the end that it tells.

TEST_F(Hostile, file_that_ends_before_its_size)
{
    ConfigFolder const here;
    ConfigFile config(q(here.write("f.conf", "a = 1\n")), QString());
    FailingFiles const none({.reads = {1, FileFaults::from_then_on, 0}});
    config.load();
    EXPECT_EQ(config.line_no(), 0);
    EXPECT_EQ(table(config), Texts());
}

// White space: what ends a key or a value, and what is a part of it.

struct SpaceCase {
    char const *name;
    char32_t character;
    bool is_space;
};

class UnicodeSpace : public testing::TestWithParam<SpaceCase> {};

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
    testing::Values(SpaceCase{"NextLine", 0x85, true}, SpaceCase{"NoBreakSpace", 0xA0, true},
                    SpaceCase{"OghamSpaceMark", 0x1680, true}, SpaceCase{"EnQuad", 0x2000, true},
                    SpaceCase{"EmQuad", 0x2001, true}, SpaceCase{"EnSpace", 0x2002, true},
                    SpaceCase{"EmSpace", 0x2003, true}, SpaceCase{"ThreePerEmSpace", 0x2004, true},
                    SpaceCase{"FourPerEmSpace", 0x2005, true}, SpaceCase{"SixPerEmSpace", 0x2006, true},
                    SpaceCase{"FigureSpace", 0x2007, true}, SpaceCase{"PunctuationSpace", 0x2008, true},
                    SpaceCase{"ThinSpace", 0x2009, true}, SpaceCase{"HairSpace", 0x200A, true},
                    SpaceCase{"LineSeparator", 0x2028, true}, SpaceCase{"ParagraphSeparator", 0x2029, true},
                    SpaceCase{"NarrowNoBreakSpace", 0x202F, true}, SpaceCase{"MathematicalSpace", 0x205F, true},
                    SpaceCase{"IdeographicSpace", 0x3000, true}, SpaceCase{"UnitSeparator", 0x1F, false},
                    SpaceCase{"Delete", 0x7F, false}, SpaceCase{"MongolianVowelSeparator", 0x180E, false},
                    SpaceCase{"ZeroWidthSpace", 0x200B, false}, SpaceCase{"WordJoiner", 0x2060, false}),
    by_name);

// Carriage returns without a line feed: the system's own text mode takes them out of the first line of a file, and of
// what it reads of a line after its buffer ran empty; elsewhere they stay.

TEST(CarriageReturn, alone_ends_no_line)
{
    EXPECT_EQ(read("a = 1\rb = 2\n"), Texts{"a=1b = 2"}) << "in the first line";
    EXPECT_EQ(read("x = 0\na = 1\rb = 2\n"), (Texts{"a=1\rb = 2", "x=0"}));
    EXPECT_EQ(read("x = 0\na = 1\r\r\n"), (Texts{"a=1", "x=0"}));
    EXPECT_EQ(read("\r"), Texts());
    EXPECT_EQ(read("a = 1\n\r"), Texts{"a=1"});
    EXPECT_EQ(read("\r\r\ra = 1"), Texts{"a=1"});
    auto const filler = "#" + std::string(16'380, 'x') + "\n";
    EXPECT_EQ(read(filler + "a\rb = 1\rc\n"), Texts{"a\rb=1c"}) << "before and behind the buffer's end";
}

} // namespace
} // namespace tarnwick::test
