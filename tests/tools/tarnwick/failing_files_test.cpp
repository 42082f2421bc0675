// What each command says, prints and ends with when files cannot be opened, read or written.

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

/// A command line, in which CAPTURE and CONFIG stand for files.
struct Command {
    char const *name;
    std::vector<std::string> arguments;
    bool is_of_json = false; ///< its output is JSON: a line an object
};

std::vector<Command> const readers{
    {"inspect_json", {"inspect", "CAPTURE"}, true},
    {"inspect_text", {"inspect", "--format=text", "CAPTURE"}},
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
    // They fail besides: that nothing can be written is told all the same.
    commands.push_back({"config_check_of_a_fault", {"config", "check", "FAULTY"}});
    commands.push_back({"config_check_of_a_fault_json", {"config", "check", "--format=json", "FAULTY"}, true});
    commands.push_back({"config_get_of_no_key_json", {"config", "get", "--format=json", "CONFIG", "none"}, true});
    commands.push_back({"inspect_of_a_fault", {"inspect", "FAULTY_CAPTURE"}, true});
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
    [[nodiscard]] bool inspects() const { return GetParam().arguments.front() == "inspect"; }

    /// Runs the command among faults, some of which it must meet.
    [[nodiscard]] Outcome among(FileFaults const &faults) const
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

    /// Nothing of a run that failed passes for a whole: of JSON lines, all are whole but perhaps the last one.
    void expect_beginning(std::string_view out, std::string_view of) const
    {
        EXPECT_THAT(of, StartsWith(std::string(out)));
        if (!GetParam().is_of_json)
            return;
        auto const cut = out.substr(out.rfind('\n') + 1); // of no line feed: the whole
        bool const is_whole = QJsonDocument::fromJson(QByteArray(cut.data(), qsizetype(cut.size()))).isObject();
        // The line feed alone may be missing.
        EXPECT_EQ(is_whole, !cut.empty() && of.substr(out.size(), 1) == "\n") << cut;
    }

    ConfigFolder folder;
    // Each is longer than what is read or written at once.
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
        if (inspects()) {
            EXPECT_EQ(outcome.status, 3);
            EXPECT_EQ(outcome.err, fmt::format("cannot read {}: {}\n", capture, reason));
            expect_beginning(outcome.out, clean.out);
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

TEST_P(FailingInput, that_gives_an_error_is_told)
{
    auto const clean = run(setup());
    ASSERT_EQ(clean.status, 0);
    for (auto const read : {std::size_t(1), std::size_t(2)}) {
        for (auto const last : {read, FileFaults::from_then_on}) {
            SCOPED_TRACE(fmt::format("read {}, {}", read, last == read ? "once" : "for good"));
            auto const outcome = among({.reads = {read, last, EIO}});
            expect_failure(outcome, "Input/output error", clean);
            // What came before it is printed.
            EXPECT_EQ(inspects() && read == 2, inspects() && !outcome.out.empty());
        }
    }
}

TEST_P(FailingInput, that_cannot_be_opened_is_told)
{
    expect_failure(among({.opens = {1, FileFaults::from_then_on, EMFILE}}), "Too many open files", run(setup()));
}

TEST_P(FailingInput, that_is_interrupted_or_gives_a_byte_at_a_time_is_read_whole)
{
    auto const clean = run(setup());
    EXPECT_FALSE(clean.out.empty());
    for (auto const &faults :
         {FileFaults{.interrupted = true}, FileFaults{.piece = 1}, FileFaults{.interrupted = true, .piece = 1}}) {
        auto const outcome = among(faults);
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(outcome.err, "");
        EXPECT_TRUE(outcome.out == clean.out);
    }
}

INSTANTIATE_TEST_SUITE_P(Of, FailingInput, rows(readers), by_name);

class FailingListing : public Failing {};

TEST_P(FailingListing, of_the_folder_of_a_wildcard_is_told)
{
    for (auto const *name : {"a", "b"})
        folder.write(fmt::format("conf.d/{}.conf", name), "key.7 = 1\n");
    folder.write("f.conf", "include = conf.d/*.conf\n");
    EXPECT_EQ(run(setup()).status, 0);
    for (auto const entry : {1, 4}) {
        auto const outcome = among({.entries = {std::size_t(entry), FileFaults::from_then_on, EIO}});
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

TEST_P(FailingOutput, is_told)
{
    auto changed = setup();
    changed.out = Sink::full_disk;
    expect_failure(run(changed), "No space left on device");
    changed.out = Sink::closed;
    expect_failure(run(changed), "Bad file descriptor");
}

TEST_P(FailingOutput, without_a_reader_ends_the_program_silently)
{
    auto changed = setup();
    changed.out = Sink::nobody;
    auto const outcome = run(changed);
    EXPECT_EQ(outcome.status, 141);
    EXPECT_THAT(outcome.err, Not(HasSubstr("cannot write")));
}

// The disk fills up in the middle.
TEST_P(FailingOutput, that_takes_a_part_is_told_and_the_part_does_not_pass_for_the_whole)
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
        expect_beginning(part, whole);
    }
}

INSTANTIATE_TEST_SUITE_P(Of, FailingOutput, rows(all_commands()), by_name);

// A chunk of the rpc dialect goes through sockets within the process, and those take descriptors. However few there are,
// it is told, and nothing is printed that is not so.
TEST(Descriptors, that_run_out_are_told)
{
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "undefined-behaviour checks take descriptors themselves";
#endif
    Frame frame;
    frame.set_request_id(1);
    frame.set_rpc_data("bytes");
    TemporaryFile const chunk(delimited(frame));
    test::Setup setup{.arguments = {"inspect", chunk.name()}};
    auto const whole = run(setup).out;
    ASSERT_THAT(whole, HasSubstr("\"codetrace.Data\""));
    constexpr int cannot_be_loaded = 127; // the system's word, while the program itself does not run yet
    bool enough = false;
    int told = 0;
    for (setup.open_files = 4; setup.open_files < 40 && !enough; ++setup.open_files) {
        SCOPED_TRACE(setup.open_files);
        auto const outcome = run(setup);
        if (outcome.status == cannot_be_loaded)
            continue;
        enough = outcome.status == 0;
        EXPECT_EQ(outcome.out, enough ? whole : "");
        EXPECT_EQ(
            outcome.err,
            enough ? "" : chunk.name() + ": frame 1 at byte 0: cannot pass the chunk through a socket: Too many open files\n");
        EXPECT_EQ(outcome.status, enough ? 0 : 3);
        told += enough ? 0 : 1;
    }
    EXPECT_TRUE(enough);
    EXPECT_GT(told, 0);
}

} // namespace
} // namespace tarnwick::test::failing_files_test
