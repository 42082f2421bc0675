// A configuration file that cannot be opened or read to its end is reported. A part of a file is never used as the whole.

#include "support/config_files.h"
#include "support/file_faults.h"
#include "support/open_files.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>

namespace tarnwick::test::pconfigfile_failing_files_test {
namespace {

class FailingConfigFile : public testing::Test {
protected:
    ConfigFolder folder;
    /// Longer than one read, as is the included file; both have values after the first read.
    std::string const file = folder.write("f.conf", "first = 1\n" + lines(3'000) + "include = part.conf\nlast = 2\n");
    std::string const part = folder.write("part.conf", "in = part\n" + lines(2'000));
    Texts const whole = loaded(file);

    static std::string lines(int count)
    {
        std::string lines;
        for (int line = 0; line < count; ++line)
            lines += fmt::format("key.{} = value {}\n", line % 10, line);
        return lines;
    }
};

TEST_F(FailingConfigFile, is_reported_whichever_read_fails)
{
    auto const reason = "\n\t" + std::string("Input/output error");
    auto const in_file = "Failed to load '" + file + "':" + reason;
    auto const in_part = "Failed to load '" + file + "':\n\tinclude='part.conf' at " + file + ":3002" + reason;
    for (bool const once : {true, false}) {
        SCOPED_TRACE(once ? "once" : "once and for good");
        int file_errors = 0;
        int part_errors = 0;
        for (std::size_t read = 1;; ++read) {
            FailingFiles const failing({.reads = {read, once ? read : FileFaults::from_then_on, EIO}});
            std::optional<ConfigFile> config;
            auto const text = failure_of([&] { config = ConfigFile::load(q(file), QString()); });
            // A failure after the last byte does not matter.
            if (config) {
                EXPECT_EQ(table(*config), whole) << "read " << read;
                if (failing.met() == 0)
                    break;
                continue;
            }
            file_errors += text == in_file;
            part_errors += text == in_part;
            EXPECT_TRUE(text == in_file || text == in_part) << "read " << read << ": '" << text << "'";
        }
        EXPECT_GT(file_errors, 3);
        EXPECT_GT(part_errors, 2);
    }
}

TEST_F(FailingConfigFile, leaves_the_values_of_the_lines_before_it)
{
    ConfigFile config(q(file), QString());
    FailingFiles const failing({.reads = {2, 2, EIO}});
    EXPECT_EQ(failure_of([&] { config.load(); }), "Input/output error");
    EXPECT_EQ(config.value(QString(u"first")), QString(u"1"));
    // The truncated line is not among them.
    auto const line = config.line_no();
    EXPECT_EQ(config.values().size(), line - 1);
}

TEST_F(FailingConfigFile, is_reported_whichever_file_cannot_be_opened)
{
    auto const reason = "\n\t" + std::string("Too many open files");
    FileFaults::Calls const of_file{1, 1, EMFILE};
    FileFaults::Calls const of_part{2, 2, EMFILE};
    {
        FailingFiles const failing({.opens = of_file});
        EXPECT_EQ(failure(file), "Failed to load '" + file + "':" + reason);
    }
    FailingFiles const failing({.opens = of_part});
    EXPECT_EQ(failure(file), "Failed to load '" + file + "':\n\tinclude='part.conf' at " + file + ":3002" + reason);
}

TEST_F(FailingConfigFile, is_read_completely_when_reads_are_interrupted_or_return_one_byte)
{
    for (auto const &faults :
         {FileFaults{.piece = 1}, FileFaults{.interrupted = true}, FileFaults{.interrupted = true, .piece = 1}}) {
        FailingFiles const failing(faults);
        EXPECT_EQ(loaded(file), whole);
        EXPECT_GT(failing.met(), 4U);
    }
}

// A folder without matching files is no error. A folder that cannot be listed is one.
TEST_F(FailingConfigFile, with_a_wildcard_is_reported_when_the_folder_cannot_be_listed)
{
#ifdef TARNWICK_SANITIZED
    GTEST_SKIP() << "undefined-behaviour checks take descriptors themselves";
#endif
    folder.write("conf.d/a.conf", "a = 1\n");
    auto const some = folder.write("some.conf", "b = 1\ninclude = conf.d/*.conf\n");
    auto const none = folder.write("none.conf", "b = 1\ninclude = conf.d/*.none\ninclude = none/*.conf\n");
    EXPECT_EQ(loaded(some), (Texts{"a=1", "b=1"}));
    EXPECT_EQ(loaded(none), Texts{"b=1"});
    auto const limit = OpenFiles::left(1); // the file itself
    for (auto const &name : {some, none})
        EXPECT_EQ(failure(name),
                  fmt::format("Failed to load '{0}':\n\tinclude='conf.d/*.{1}' at {0}:2\n\tToo many open "
                              "files",
                              name, name == some ? "conf" : "none"));
}

TEST_F(FailingConfigFile, with_a_wildcard_is_reported_unless_the_folder_is_missing)
{
    folder.write("conf.d/a.conf", "a = 1\n");
    auto const some = folder.write("some.conf", "b = 1\ninclude = conf.d/*.conf\n");
    for (auto const &[error, reason] : {std::pair{EMFILE, "Too many open files"},
                                        {ENFILE, "Too many open files in system"},
                                        {ENOMEM, "Cannot allocate memory"},
                                        {EIO, "Input/output error"}}) {
        FailingFiles const failing({.entries = {1, FileFaults::from_then_on, error}});
        EXPECT_EQ(failure(some),
                  fmt::format("Failed to load '{0}':\n\tinclude='conf.d/*.conf' at {0}:2\n\t{1}", some, reason));
    }
    // A folder without permission counts as one without files.
    FailingFiles const failing({.entries = {1, FileFaults::from_then_on, EACCES}});
    EXPECT_EQ(loaded(some), Texts{"b=1"});
}

TEST_F(FailingConfigFile, with_a_wildcard_is_reported_when_the_listing_fails_midway)
{
    for (auto const *name : {"a", "b", "c"})
        folder.write(fmt::format("conf.d/{}.conf", name), fmt::format("{} = 1\n", name));
    auto const some = folder.write("some.conf", "include = conf.d/*.conf\n");
    std::size_t entry = 1;
    for (;; ++entry) {
        FailingFiles const failing({.entries = {entry, FileFaults::from_then_on, EIO}});
        std::optional<ConfigFile> config;
        auto const text = failure_of([&] { config = ConfigFile::load(q(some), QString()); });
        if (failing.met() == 0) {
            EXPECT_EQ(table(config.value()), (Texts{"a=1", "b=1", "c=1"}));
            break;
        }
        EXPECT_EQ(text,
                  fmt::format("Failed to load '{0}':\n\tinclude='conf.d/*.conf' at {0}:1\n\tInput/output error", some))
            << "entry " << entry;
    }
    EXPECT_GT(entry, 5U);
}

} // namespace
} // namespace tarnwick::test::pconfigfile_failing_files_test
