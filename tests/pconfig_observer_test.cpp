#include "support/config_files.h"
#include "support/table.h"

#include <tarnwick/pconfig_observer.h>
#include <tarnwick/qstring_format.h>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace tarnwick::test::pconfig_observer_test {
namespace {

using PelorinPHPX::ConfigObserver;

/// Records each call with its place.
class Notes final : public ConfigObserver {
public:
    Texts notes;

    void opening(ConfigFile const &file) override { note(file, "opening"); }
    void opened(ConfigFile const &file) override { note(file, "opened"); }
    void directive(ConfigFile const &file, QStringView line) override
    {
        note(file, fmt::format("directive {}", line.toString()));
    }
    void resolved(ConfigFile const &file, QString const &name, Source source) override
    {
        static constexpr char const *words[] = {"file", "parent", "environment", "default"};
        note(file, fmt::format("resolved {} by {}", name, words[static_cast<int>(source)]));
    }
    void unresolved(ConfigFile const &file, QStringView key, QString const &name) override
    {
        note(file, fmt::format("unresolved {} of {}", name, key.toString()));
    }
    void outside_prefix(ConfigFile const &file, QStringView key, QString const &prefix) override
    {
        note(file, fmt::format("{} is outside {}", key.toString(), prefix));
    }
    void added(ConfigFile const &file, QString const &key, QString const &value) override
    {
        note(file, fmt::format("added {}={}", key, value));
    }
    void matched(ConfigFile const &file, QString const &include, QString const &folder, qsizetype files) override
    {
        note(file, fmt::format("{} matches {} in {}", include, files, QFileInfo(folder).fileName()));
    }
    void merged(ConfigFile const &file, ConfigFile const &included) override
    {
        note(file, fmt::format("merged {} of {} lines into {} values", included.file_name(), included.line_no(),
                               file.values().size()));
    }

private:
    void note(ConfigFile const &file, std::string const &what)
    {
        auto const above = file.parent() == nullptr ? std::string() : fmt::format(" in {}", file.parent()->line_no());
        notes.push_back(fmt::format("{}:{}{}: {}", file.file_name(), file.line_no(), above, what));
    }
};

TEST(ConfigObserver, is_called_for_everything_in_order)
{
    ConfigFolder const folder;
    auto const main = folder.write("main.conf", "# c\napp.a = \"1\"\nother = 2\napp.b = ${app.none}\n"
                                                "include = d/*.none\ninclude = par?.conf\nother = ${app.none}\n");
    folder.write("d/empty", "");
    folder.write("part.conf", "app.c = ${app.a}\n\napp.d = ${app.c}\napp.e = ${app.x:-d}\n"
                              "app.f = ${TARNWICK_TEST_E}\ninclude = ${TARNWICK_TEST_NONE}\n");
    Variable const environment("TARNWICK_TEST_E", "env");
    Notes observer;
    auto const config = ConfigFile::load(q(main), QString(u"app"), &observer);
    EXPECT_EQ(observer.notes,
              (Texts{
                  "main.conf:0: opening",
                  "main.conf:0: opened",
                  "main.conf:2: directive app.a = \"1\"",
                  "main.conf:2: added a=1",
                  "main.conf:3: directive other = 2",
                  "main.conf:3: other is outside app.",
                  "main.conf:4: directive app.b = ${app.none}",
                  "main.conf:4: unresolved app.none of app.b",
                  "main.conf:5: directive include = d/*.none",
                  "main.conf:5: d/*.none matches 0 in d",
                  "main.conf:6: directive include = par?.conf",
                  "main.conf:6: par?.conf matches 1 in " + QFileInfo(q(folder.path())).fileName().toStdString(),
                  "part.conf:0 in 6: opening",
                  "part.conf:0 in 6: opened",
                  "part.conf:1 in 6: directive app.c = ${app.a}",
                  "part.conf:1 in 6: resolved app.a by parent",
                  "part.conf:1 in 6: added c=1",
                  "part.conf:3 in 6: directive app.d = ${app.c}",
                  "part.conf:3 in 6: resolved app.c by file",
                  "part.conf:3 in 6: added d=1",
                  "part.conf:4 in 6: directive app.e = ${app.x:-d}",
                  "part.conf:4 in 6: resolved app.x by default",
                  "part.conf:4 in 6: added e=d",
                  "part.conf:5 in 6: directive app.f = ${TARNWICK_TEST_E}",
                  "part.conf:5 in 6: resolved TARNWICK_TEST_E by environment",
                  "part.conf:5 in 6: added f=env",
                  "part.conf:6 in 6: directive include = ${TARNWICK_TEST_NONE}",
                  "part.conf:6 in 6: unresolved TARNWICK_TEST_NONE of include",
                  "main.conf:6: merged part.conf of 6 lines into 5 values",
                  "main.conf:7: directive other = ${app.none}",
                  "main.conf:7: unresolved app.none of other",
              }));
    EXPECT_EQ(table(config), loaded(main, "app")) << "and changes nothing";
}

TEST(ConfigObserver, need_not_listen)
{
    struct Deaf final : ConfigObserver {
    } observer;
    ConfigFolder const folder;
    auto const main = folder.write("main.conf", "app.a = 1\napp.b = ${app.a}\napp.c = ${app.none}\nother = 2\n"
                                                "include = part.*\n");
    folder.write("part.conf", "app.d = 4\n");
    auto const config = ConfigFile::load(q(main), QString(u"app"), &observer);
    EXPECT_EQ(table(config), (Texts{"a=1", "b=1", "d=4"}));
}

TEST(ConfigObserver, is_called_for_the_lines_above_a_fault)
{
    ConfigFolder const folder;
    auto const main = folder.write("main.conf", "a = 1\ninclude = part.conf\nb = 2\n");
    folder.write("part.conf", "c = 3\noops\nd = 4\n");
    Notes observer;
    EXPECT_EQ(failure_of([&] { (void)ConfigFile::load(q(main), QString(), &observer); }), failure(main));
    EXPECT_EQ(observer.notes,
              (Texts{"main.conf:0: opening", "main.conf:0: opened", "main.conf:1: directive a = 1",
                     "main.conf:1: added a=1", "main.conf:2: directive include = part.conf",
                     "part.conf:0 in 2: opening", "part.conf:0 in 2: opened", "part.conf:1 in 2: directive c = 3",
                     "part.conf:1 in 2: added c=3", "part.conf:2 in 2: directive oops"}));
    observer.notes.clear();
    EXPECT_NE(failure_of([&] { (void)ConfigFile::load(q(folder.path("none")), QString(), &observer); }), "");
    EXPECT_EQ(observer.notes, Texts{"none:0: opening"});
}

TEST(ConfigObserver, is_called_for_changes_by_the_program_too)
{
    Notes observer;
    ConfigFile config(QString(u"f.conf"), QString());
    config.set_observer(&observer);
    config.add_value(QString(u"a"), QString(u"1"));
    config.process_directive(QString(u"b=2"));
    EXPECT_EQ(observer.notes, (Texts{"f.conf:0: added a=1", "f.conf:0: directive b=2", "f.conf:0: added b=2"}));
    config.set_observer(nullptr);
    config.add_value(QString(u"c"), QString(u"3"));
    EXPECT_EQ(observer.notes.size(), 3U);
    EXPECT_EQ(table(config), (Texts{"a=1", "b=2", "c=3"}));
}

TEST(ConfigObserver, is_dropped_when_the_load_ends)
{
    ConfigFolder const folder;
    Notes observer;
    auto config = ConfigFile::load(q(folder.write("f.conf", "a = 1\n")), QString(), &observer);
    EXPECT_EQ(observer.notes.size(), 4U);
    config.add_value(QString(u"b"), QString(u"2"));
    EXPECT_EQ(observer.notes.size(), 4U);
}

TEST(ConfigObserver, of_a_parent_observes_the_load_of_a_child_and_nothing_later)
{
    ConfigFolder const folder;
    auto const file = q(folder.write("child.conf", "b = 1\n"));
    Notes observer;
    ConfigFile parent(QString(u"f.conf"), QString());
    parent.set_observer(&observer);
    auto child = ConfigFile::load(parent, file);
    EXPECT_EQ(observer.notes, (Texts{"child.conf:0 in 0: opening", "child.conf:0 in 0: opened",
                                     "child.conf:1 in 0: directive b = 1", "child.conf:1 in 0: added b=1"}));
    child.add_value(QString(u"c"), QString(u"2"));
    EXPECT_EQ(observer.notes.size(), 4U);
    parent.add_value(QString(u"a"), QString(u"0"));
    EXPECT_EQ(observer.notes.size(), 5U) << "the parent keeps its own";
}

struct FaultCase {
    char const *name;
    /// In which event the observer throws.
    bool in_opened;
    bool in_merged;
    char const *text;
};

class FaultOfAnObserver : public TableTest<FaultCase> {};

TEST_P(FaultOfAnObserver, names_the_includes_that_led_to_it)
{
    struct Stop final : ConfigObserver {
        void opened(ConfigFile const &file) override { fail(GetParam().in_opened && is_deep(file)); }
        void added(ConfigFile const &file, QString const & /*key*/, QString const & /*value*/) override
        {
            fail(!GetParam().in_opened && !GetParam().in_merged && is_deep(file));
        }
        void merged(ConfigFile const & /*file*/, ConfigFile const &included) override
        {
            fail(GetParam().in_merged && is_deep(included));
        }
        static bool is_deep(ConfigFile const &file) { return file.file_name() == u"deep.conf"; }
        static void fail(bool now)
        {
            if (now)
                throw PException("enough");
        }
    } observer;
    ConfigFolder const folder;
    folder.write("deep.conf", "a = 1\n");
    folder.write("part.conf", "\ninclude = deep.*\n");
    auto const main = folder.write("main.conf", "include = part.conf\n");
    EXPECT_EQ(
        failure_of([&] { (void)ConfigFile::load(q(main), QString(), &observer); }),
        in(folder, std::string("Failed to load 'FOLDER/main.conf':\n\tinclude='part.conf' at FOLDER/main.conf:1\n\t") +
                       GetParam().text));
}

// The including file does the merge, so the text names no include.
INSTANTIATE_TEST_SUITE_P(
    Events, FaultOfAnObserver,
    testing::Values(FaultCase{"opened", true, false, "include='FOLDER/deep.conf' at FOLDER/part.conf:2\n\tenough"},
                    FaultCase{"added", false, false, "include='FOLDER/deep.conf' at FOLDER/part.conf:2\n\tenough"},
                    FaultCase{"merged", false, true, "enough"}),
    by_name);

TEST(ConfigObserver, can_end_a_load)
{
    struct Stop final : ConfigObserver {
        void added(ConfigFile const & /*file*/, QString const & /*key*/, QString const & /*value*/) override
        {
            throw std::domain_error("enough");
        }
    } observer;
    ConfigFolder const folder;
    auto const file = folder.write("f.conf", "a = 1\n");
    EXPECT_THROW((void)ConfigFile::load(q(file), QString(), &observer), std::domain_error);

    struct Fault : PException {
        Fault()
            : PException("enough")
        {
        }
    };
    struct StopByFault final : ConfigObserver {
        void added(ConfigFile const & /*file*/, QString const & /*key*/, QString const & /*value*/) override
        {
            throw Fault();
        }
    } fault;
    ConfigFile config(q(file), QString());
    config.set_observer(&fault);
    EXPECT_THROW(config.load(), Fault) << "of the same class, in a file that nothing includes";

    // No include adds its own text.
    folder.write("deep.conf", "a = 1\n");
    folder.write("part.conf", "include = deep.*\n");
    auto const main = folder.write("main.conf", "include = part.conf\n");
    try {
        (void)ConfigFile::load(q(main), QString(), &observer);
        ADD_FAILURE() << "no exception";
    } catch (std::domain_error const &error) {
        EXPECT_STREQ(error.what(), "enough");
    }
}

} // namespace
} // namespace tarnwick::test::pconfig_observer_test
