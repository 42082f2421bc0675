// Messages, output and exit status of each command when files cannot be opened, read or written.

#include "support/config_files.h"
#include "support/file_faults.h"
#include "support/table.h"
#include "tools/tarnwick/support/captures.h"
#include "tools/tarnwick/support/program.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <QtCore/QByteArray>
#include <QtCore/QJsonDocument>

#include <cerrno>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::test::failing_files_test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

/// Command line. CAPTURE, CONFIG, FAULTY and FAULTY_CAPTURE are replaced by file names.
struct Command {
    char const *name;
    std::vector<std::string> arguments;
    bool is_of_json = false; ///< each line of the output is a JSON object
};

std::vector<Command> const readers{
    {"inspect_json", {"inspect", "CAPTURE"}, true},
    {"inspect_text", {"inspect", "--format=text", "CAPTURE"}},
    {"recover", {"recover", "CAPTURE"}},
    {"config_check", {"config", "check", "CONFIG"}},
    {"config_check_json", {"config", "check", "--format=json", "CONFIG"}, true},
    {"config_dump", {"config", "dump", "CONFIG"}},
    {"config_dump_json", {"config", "dump", "--format=json", "CONFIG"}, true},
    {"config_get", {"config", "get", "--all", "CONFIG", "key.7"}},
    {"config_get_json", {"config", "get", "--all", "--format=json", "CONFIG", "key.7"}, true},
    {"config_explain", {"config", "explain", "CONFIG", "key.7"}},
    {"config_explain_json", {"config", "explain", "--format=json", "CONFIG", "key.7"}, true},
};

std::vector<Command> all_commands()
{
    std::vector<Command> commands = readers;
    commands.push_back({"help", {"--help"}});
    commands.push_back({"version", {"--version"}});
    commands.push_back({"inspect_help", {"inspect", "--help"}});
    commands.push_back({"config_get_help", {"config", "get", "--help"}});
    // These commands report a fault. They must also report that the output cannot be written.
    commands.push_back({"config_check_of_a_fault", {"config", "check", "FAULTY"}});
    commands.push_back({"config_check_of_a_fault_json", {"config", "check", "--format=json", "FAULTY"}, true});
    commands.push_back({"config_get_of_no_key_json", {"config", "get", "--format=json", "CONFIG", "none"}, true});
    commands.push_back({"inspect_of_a_fault", {"inspect", "FAULTY_CAPTURE"}, true});
    commands.push_back({"recover_of_a_fault", {"recover", "FAULTY_CAPTURE"}});
    return commands;
}

class Failing : public TableTest<Command> {
protected:
    [[nodiscard]] test::Setup setup() const
    {
        test::Setup setup{.arguments = GetParam().arguments};
        for (auto &argument : setup.arguments) {
            for (auto const &[word, file] : {std::pair{"CAPTURE", capture},
                                             {"CONFIG", config},
                                             {"FAULTY", faulty},
                                             {"FAULTY_CAPTURE", faulty_capture}}) {
                if (argument == word)
                    argument = file;
            }
        }
        return setup;
    }
    [[nodiscard]] bool reads_a_capture() const { return GetParam().arguments.front() != "config"; }

    /// Runs the command with faults of the file system. Expects that at least one call failed.
    [[nodiscard]] Outcome run_with(FileFaults const &faults) const
    {
        auto changed = setup();
        changed.program = TARNWICK_PROGRAM_WITH_FILE_FAULTS;
        changed.environment.push_back("TARNWICK_TEST_FILE_FAULTS=" + faults.text());
        auto outcome = run(changed);
        auto const last = outcome.err.rfind("calls that met a fault: ");
        EXPECT_NE(last, std::string::npos) << outcome.err;
        EXPECT_THAT(outcome.err, Not(EndsWith(": 0\n")));
        outcome.err.erase(std::min(last, outcome.err.size()));
        return outcome;
    }

    /// Expects that `out` is the start of `whole`, and that a cut JSON line is not a valid object.
    void expect_start(std::string_view out, std::string_view whole) const
    {
        EXPECT_THAT(whole, StartsWith(std::string(out)));
        if (!GetParam().is_of_json)
            return;
        auto const cut = out.substr(out.rfind('\n') + 1); // all of `out`, if it has no line feed
        bool const is_whole = QJsonDocument::fromJson(QByteArray(cut.data(), qsizetype(cut.size()))).isObject();
        // A complete object can lack only its line feed.
        EXPECT_EQ(is_whole, !cut.empty() && whole.substr(out.size(), 1) == "\n") << cut;
    }

    ConfigFolder folder;
    // Each file is longer than a single read or write.
    std::string const capture = folder.write("capture.tnw", many_frames());
    std::string const config = folder.write("f.conf", many_lines());
    std::string const faulty = folder.write("faulty.conf", "a = 1\noops\n");
    std::string const faulty_capture = folder.write("faulty.tnw", request_end(1) + delimited("\xff"));

private:
    static std::string many_frames()
    {
        std::string frames;
        for (std::uint64_t id = 1; frames.size() < 100'000; ++id)
            frames += request_end(id);
        return frames;
    }
    static std::string many_lines()
    {
        std::string lines;
        for (int line = 0; line < 4'000; ++line)
            lines += fmt::format("key.{} = value {}\n", line % 10, line);
        return lines;
    }
};

class FailingInput : public Failing {
protected:
    void expect_failure(Outcome const &outcome, std::string const &reason, Outcome const &clean) const
    {
        if (reads_a_capture()) {
            EXPECT_EQ(outcome.status, 3);
            EXPECT_EQ(outcome.err, fmt::format("cannot read {}: {}\n", capture, reason));
            expect_start(outcome.out, clean.out);
            EXPECT_LT(outcome.out.size(), clean.out.size());
            return;
        }
        EXPECT_EQ(outcome.status, 1);
        auto const text = fmt::format("Failed to load '{}':\n\t{}", config, reason);
        EXPECT_THAT(outcome.err, StartsWith(text));
        std::string const name = GetParam().name;
        auto const opened = reason == "Too many open files" ? std::string() : config;
        if (name == "config_check") {
            EXPECT_EQ(outcome.out, opened.empty() ? "" : "read " + opened + "\n");
        } else if (name == "config_check_json") {
            EXPECT_THAT(outcome.out,
                        StartsWith(opened.empty() ? R"({"files":[],"errors":["Failed to load)"
                                                  : R"({"files":[")" + opened + R"("],"errors":["Failed to load)"));
        } else {
            EXPECT_EQ(outcome.out, "");
        }
    }
};

TEST_P(FailingInput, read_error_is_reported)
{
    auto const clean = run(setup());
    ASSERT_EQ(clean.status, 0);
    for (auto const read : {std::size_t(1), std::size_t(2)}) {
        for (auto const last : {read, FileFaults::from_then_on}) {
            SCOPED_TRACE(fmt::format("read {}, {}", read, last == read ? "once" : "for good"));
            auto const outcome = run_with({.reads = {read, last, EIO}});
            expect_failure(outcome, "Input/output error", clean);
            // Records before the error are printed.
            EXPECT_EQ(reads_a_capture() && read == 2, reads_a_capture() && !outcome.out.empty());
        }
    }
}

TEST_P(FailingInput, open_error_is_reported)
{
    expect_failure(run_with({.opens = {1, FileFaults::from_then_on, EMFILE}}), "Too many open files", run(setup()));
}

TEST_P(FailingInput, interrupted_and_short_reads_lose_nothing)
{
    auto const clean = run(setup());
    EXPECT_FALSE(clean.out.empty());
    for (auto const &faults :
         {FileFaults{.interrupted = true}, FileFaults{.piece = 1}, FileFaults{.interrupted = true, .piece = 1}}) {
        auto const outcome = run_with(faults);
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(outcome.err, "");
        EXPECT_TRUE(outcome.out == clean.out);
    }
}

INSTANTIATE_TEST_SUITE_P(Of, FailingInput, rows(readers), by_name);

class FailingListing : public Failing {};

TEST_P(FailingListing, error_in_the_folder_of_a_pattern_is_reported)
{
    for (auto const *name : {"a", "b"})
        folder.write(fmt::format("conf.d/{}.conf", name), "key.7 = 1\n");
    folder.write("f.conf", "include = conf.d/*.conf\n");
    EXPECT_EQ(run(setup()).status, 0);
    for (auto const entry : {1, 4}) {
        auto const outcome = run_with({.entries = {std::size_t(entry), FileFaults::from_then_on, EIO}});
        EXPECT_EQ(outcome.status, 1);
        EXPECT_THAT(outcome.err,
                    StartsWith(fmt::format(
                        "Failed to load '{0}':\n\tinclude='conf.d/*.conf' at {0}:1\n\tInput/output error", config)));
    }
}

std::vector<Command> config_commands()
{
    auto commands = readers;
    std::erase_if(commands, [](auto const &command) { return command.arguments.front() != "config"; });
    return commands;
}

INSTANTIATE_TEST_SUITE_P(Of, FailingListing, rows(config_commands()), by_name);

class FailingOutput : public Failing {
protected:
    static void expect_failure(Outcome const &outcome, std::string const &reason)
    {
        EXPECT_EQ(outcome.status, 3);
        EXPECT_THAT(outcome.err, EndsWith("tarnwick: cannot write the output: " + reason + "\n"));
    }
};

TEST_P(FailingOutput, error_is_reported)
{
    auto changed = setup();
    changed.out = Sink::full_disk;
    expect_failure(run(changed), "No space left on device");
    changed.out = Sink::closed;
    expect_failure(run(changed), "Bad file descriptor");
}

TEST_P(FailingOutput, closed_pipe_ends_the_program_silently)
{
    auto changed = setup();
    changed.out = Sink::nobody;
    auto const outcome = run(changed);
    EXPECT_EQ(outcome.status, 141);
    EXPECT_THAT(outcome.err, Not(HasSubstr("cannot write")));
}

// The disk becomes full while the output is written.
TEST_P(FailingOutput, full_disk_is_reported_and_partial_output_is_recognisable)
{
    auto const whole = run(setup()).out;
    ASSERT_GT(whole.size(), 5U);
    auto const first_line = whole.find('\n') + 1;
    for (auto const size :
         {std::size_t{1}, first_line - 1, first_line, whole.size() / 2, whole.size() - 2, whole.size() - 1}) {
        if (size >= whole.size())
            continue;
        SCOPED_TRACE(fmt::format("{} of {} bytes", size, whole.size()));
        MemoryFile const file;
        auto changed = setup();
        changed.out_file = file.descriptor();
        changed.largest_file = size;
        expect_failure(run(changed), "File too large");
        auto const part = file.content();
        EXPECT_EQ(part.size(), size);
        expect_start(part, whole);
    }
}

INSTANTIATE_TEST_SUITE_P(Of, FailingOutput, rows(all_commands()), by_name);

} // namespace
} // namespace tarnwick::test::failing_files_test
