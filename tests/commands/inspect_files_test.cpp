// Output, messages and exit status of `tarnwick inspect` for all kinds of files.

#include "tools/tarnwick/support/captures.h"
#include "tools/tarnwick/support/program.h"

#include "support/table.h"

#include <tarnwick/qstring_format.h>

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <QtCore/QByteArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QString>

#include <fcntl.h>
#include <filesystem>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace tarnwick::test::inspect_files_test {
namespace {

/// Returns the number, offset and request of the frame of each printed record.
std::vector<std::string> records(std::string const &jsonl)
{
    std::vector<std::string> found;
    std::istringstream lines(jsonl);
    for (std::string line; std::getline(lines, line);) {
        auto const document = QJsonDocument::fromJson(QByteArray::fromStdString(line));
        EXPECT_TRUE(document.isObject()) << line;
        auto const integer = [&](char const *name) {
            return document.object().value(QLatin1StringView(name)).toInteger(-1);
        };
        found.push_back(fmt::format("{} at {}: {}", integer("frame"), integer("offset"), integer("request_id")));
    }
    return found;
}

struct Capture {
    std::string name;
    std::string bytes;
    int status;
    std::vector<std::string> records;
    std::string err; ///< FILE is replaced by the file name
};

class InspectReads : public TableTest<Capture> {
protected:
    static void expect(Outcome const &outcome, std::string const &name)
    {
        EXPECT_EQ(outcome.status, GetParam().status);
        EXPECT_EQ(records(outcome.out), GetParam().records);
        auto err = GetParam().err;
        for (std::size_t at = 0; (at = err.find("FILE", at)) != std::string::npos; at += name.size())
            err.replace(at, 4, name);
        EXPECT_EQ(outcome.err, err);
    }
};

TEST_P(InspectReads, a_file)
{
    TemporaryFile const capture(GetParam().bytes);
    expect(inspect({capture.name()}), capture.name());
}

TEST_P(InspectReads, standard_input)
{
    expect(inspect({}, GetParam().bytes), "-");
}

std::string const good = request_end(1); // 9 bytes
std::string const bad = delimited("\xff\xff\xff");
std::string const unknown_report = delimited("\x08\x05" + field_head(99, 2) + "ab");

std::string const bad_report = delimited(rpc_php_frame("\xff"));
std::string const nested_too_deep = delimited(rpc_php_frame(nested_report(300'000)));

char const *const not_utf8 =
    R"(rshutdown { superglobals { elements { value { object_value { class_name: "\377" } } } } })";

INSTANTIATE_TEST_SUITE_P(
    Captures, InspectReads,
    testing::Values(
        Capture{"good_frames", good + request_end(2), 0, {"1 at 0: 1", "2 at 9: 2"}, ""},
        Capture{"frames_that_do_not_parse",
                good + bad + good + std::string(1, '\0') + request_end(9),
                1,
                {"1 at 0: 1", "3 at 13: 1", "5 at 23: 9"},
                "FILE: frame 2 at byte 9: this is not a frame\n"
                "FILE: frame 4 at byte 22: the length of this frame is 0\n"},
        Capture{"first_frame_that_does_not_parse",
                bad + good,
                1,
                {"2 at 4: 1"},
                "FILE: frame 1 at byte 0: this is not a frame\n"},
        Capture{"report_that_does_not_parse",
                good + delimited(rpc_php_frame("\xff")) + good,
                1,
                {"1 at 0: 1", "3 at 13: 1"},
                "FILE: frame 2 at byte 9: the report is not a valid tarnwick.rpc.php.v1.NotifyRequest\n"},
        Capture{"report_nested_too_deep",
                good + nested_too_deep + request_end(3),
                1,
                {"1 at 0: 1", fmt::format("3 at {}: 3", good.size() + nested_too_deep.size())},
                "FILE: frame 2 at byte 9: the tarnwick.rpc.php.v1.NotifyRequest nests messages more "
                "than 1000 deep\n"},
        Capture{"report_as_deep_as_php_sends", delimited(rpc_php_frame(nested_report(2 + 3 * 64))), 0,
                std::vector<std::string>(4, "1 at 0: 0"), ""},
        Capture{"report_of_an_unknown_kind",
                good + unknown_report + good,
                0,
                {"1 at 0: 1", "3 at 17: 1"},
                "FILE: frame 2 at byte 9: skipped: no report of a known kind\n"},
        Capture{"only_reports_of_unknown_kinds",
                unknown_report + unknown_report,
                0,
                {},
                "FILE: frame 1 at byte 0: skipped: no report of a known kind; the same for all frames up to frame 2 "
                "at byte 8\n"},
        Capture{"adjacent_reports_that_do_not_parse",
                good + bad_report + bad_report + bad_report + good + bad_report + unknown_report,
                1,
                {"1 at 0: 1", "5 at 21: 1"},
                "FILE: frame 2 at byte 9: the report is not a valid tarnwick.rpc.php.v1.NotifyRequest; the same "
                "for all frames up to frame 4 at byte 17\n"
                "FILE: frame 6 at byte 30: the report is not a valid tarnwick.rpc.php.v1.NotifyRequest\n"
                "FILE: frame 7 at byte 34: skipped: no report of a known kind\n"},
        Capture{"text_that_is_not_utf8", delimited(rpc_php_frame_of(not_utf8)), 0,
                std::vector<std::string>(4, "1 at 0: 0"), ""},
        Capture{"truncated_in_a_frame",
                good + good.substr(0, 5),
                1,
                {"1 at 0: 1"},
                "FILE: frame 2 at byte 9: the file ends inside this frame, after 4 of its 8 bytes\n"},
        Capture{"truncated_in_a_length",
                good + "\x80",
                1,
                {"1 at 0: 1"},
                "FILE: frame 2 at byte 9: the file ends inside the length of this frame\n"},
        Capture{"length_over_1_gib",
                good + varint((std::uint64_t{1} << 30) + 1) + good,
                1,
                {"1 at 0: 1", "3 at 14: 1"},
                "FILE: frame 2 at byte 9: the length of this frame is over 1 GiB; skipped 5 bytes, up to "
                "byte 14\n"},
        Capture{"empty_file", "", 1, {}, "FILE: not a capture: the file is empty\n"},
        Capture{"plain_text",
                "To whom it may concern\n",
                1,
                {},
                "FILE: not a capture: it has no frame with a known report\n"},
        Capture{"png_image",
                "\x89PNG\r\n\x1a\n" + std::string("\0\0\0\rIHDR", 8),
                1,
                {},
                "FILE: not a capture: it has no frame with a known report\n"},
        Capture{"zeros", std::string(2, '\0'), 1, {}, "FILE: not a capture: it has no frame with a known report\n"},
        Capture{"fault_and_no_known_report",
                unknown_report + bad + unknown_report,
                1,
                {},
                "FILE: not a capture: it has no frame with a known report\n"},
        Capture{"gzip",
                std::string("\x1f\x8b\x08\0\0\0\0\0\x03\0", 10),
                1,
                {},
                "FILE: not a capture: the file is compressed with gzip; pipe it through `zcat`\n"},
        Capture{"zstd",
                "\x28\xb5\x2f\xfd\x20\x05",
                1,
                {},
                "FILE: not a capture: the file is compressed with zstd; pipe it through `zstdcat`\n"},
        Capture{"json_object", " {\n\"a\": 1}\n", 1, {}, "FILE: not a capture: the file is JSON\n"},
        Capture{"json_list", "[1]", 1, {}, "FILE: not a capture: the file is JSON\n"},
        Capture{"json_list_of_negative_numbers", "[ -1.5, 2]", 1, {}, "FILE: not a capture: the file is JSON\n"},
        Capture{"log_with_a_date_in_brackets",
                "[21-Nov-2026 10:00:00 UTC] PHP Warning\n",
                1,
                {},
                "FILE: not a capture: it has no frame with a known report\n"},
        Capture{"almost_json", "{a}", 1, {}, "FILE: not a capture: it has no frame with a known report\n"},
        Capture{"php_source", "<?php\n", 1, {}, "FILE: not a capture: the file is PHP source\n"},
        // Damage before the first frame.
        Capture{"capture_after_the_magic_bytes_of_gzip",
                "\x1f\x8b" + good + good + good,
                1,
                {"2 at 2: 1", "3 at 11: 1", "4 at 20: 1"},
                "FILE: frame 1 at byte 0: the file ends inside this frame, after 28 of its 31 bytes; "
                "skipped 2 bytes, up to byte 2\n"}),
    by_name);

TEST(Inspect, reads_standard_input_as_the_file_minus)
{
    auto const input = good + bad + good;
    auto const outcome = inspect({"-"}, input);
    auto const expected = inspect({}, input);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, expected.out);
    EXPECT_EQ(outcome.err, "-: frame 2 at byte 9: this is not a frame\n");
}

TEST(Inspect, reports_why_a_file_cannot_be_read)
{
    TemporaryFile const secret(good);
    ASSERT_EQ(::chmod(secret.name().c_str(), 0), 0);
    struct Case {
        std::string file;
        std::string reason;
    };
    Case const cases[] = {
        {testing::TempDir(), "Is a directory"},
        {"/no/such/file", "No such file or directory"},
        {secret.name(), "Permission denied"},
        {"/proc/self/mem", "Input/output error"},
    };
    for (auto const &[file, reason] : cases) {
        auto const outcome = run({.arguments = {"inspect", file}, .obeys_permissions = true});
        EXPECT_EQ(outcome.status, 3);
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(outcome.err, fmt::format("cannot read {}: {}\n", file, reason));
    }
}

TEST(Inspect, escapes_file_names_in_text)
{
    TemporaryFile const capture(good);
    auto const name = capture.name() + "\x1b[31m\n\xff";
    std::string const shown = capture.name() + R"(\x1b[31m\n\xff)";
    EXPECT_EQ(inspect({name}).err, "cannot read " + shown + ": No such file or directory\n");

    ASSERT_EQ(::link(capture.name().c_str(), name.c_str()), 0);
    EXPECT_THAT(inspect({"--format=text", name, capture.name()}).out,
                testing::StartsWith("php.RShutdown  " + shown + ": frame 1 at byte 0, protobuf\n"));
    ::unlink(name.c_str());
}

TEST(Inspect, rejects_an_input_that_is_its_output)
{
    TemporaryFile const capture(good);
    TemporaryFile const other(request_end(2));
    auto const link = capture.name() + "-link";
    ASSERT_EQ(::symlink(capture.name().c_str(), link.c_str()), 0);
    struct Case {
        std::vector<std::string> files;
        std::string refused;
    };
    Case const cases[] = {
        {{capture.name()}, capture.name()},
        {{link}, link},
        {{}, "-"},
        {{"-"}, "-"},
    };
    for (auto const &[files, refused] : cases) {
        SCOPED_TRACE(testing::PrintToString(files));
        Descriptor const in(::open(capture.name().c_str(), O_RDONLY | O_CLOEXEC));
        Descriptor const out(::open(capture.name().c_str(), O_WRONLY | O_APPEND | O_CLOEXEC));
        std::vector<std::string> arguments{"inspect"};
        arguments.insert(arguments.end(), files.begin(), files.end());
        auto const outcome = run({.arguments = arguments, .in = in, .out_file = out});
        EXPECT_EQ(outcome.status, 3);
        EXPECT_EQ(outcome.err, "cannot read " + refused + ": standard output is the same file\n");
        EXPECT_EQ(std::filesystem::file_size(capture.name()), good.size());
    }
    // The other files are read.
    Descriptor const out(::open(capture.name().c_str(), O_WRONLY | O_APPEND | O_CLOEXEC));
    EXPECT_EQ(run({.arguments = {"inspect", capture.name(), other.name()}, .out_file = out}).status, 3);
    EXPECT_GT(std::filesystem::file_size(capture.name()), good.size());
    ::unlink(link.c_str());
}

TEST(Inspect, reads_and_writes_the_same_device)
{
    Descriptor const null(::open("/dev/null", O_RDWR | O_CLOEXEC));
    for (std::string const file : {"-", "/dev/null"}) {
        auto const outcome = run({.arguments = {"inspect", file}, .in = null, .out_file = null});
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.err, file + ": not a capture: the file is empty\n");
    }
}

TEST(Inspect, prints_the_records_before_a_read_error)
{
    // Reading from a terminal whose other side is closed returns the bytes written to it, then an error.
    detail::Terminal terminal;
    write_all(terminal.slave, good + good.substr(0, 5));
    terminal.slave.reset();
    auto const outcome = run({.arguments = {"inspect"}, .in = terminal.master});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(records(outcome.out), testing::ElementsAre("1 at 0: 1"));
    EXPECT_EQ(outcome.err, "cannot read -: Input/output error\n");
}

TEST(Inspect, continues_after_a_file_with_a_fault)
{
    TemporaryFile const first(good);
    TemporaryFile const faulty(bad);
    TemporaryFile const last(request_end(3));
    std::string const missing = "/no/such/file";

    auto const outcome = inspect({first.name(), faulty.name(), last.name()});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(records(outcome.out), testing::ElementsAre("1 at 0: 1", "1 at 0: 3"));
    EXPECT_EQ(outcome.err, faulty.name() + ": not a capture: it has no frame with a known report\n");

    auto const outcome_of_worse = inspect({first.name(), missing, faulty.name(), last.name()});
    EXPECT_EQ(outcome_of_worse.status, 3);
    EXPECT_THAT(records(outcome_of_worse.out), testing::ElementsAre("1 at 0: 1", "1 at 0: 3"));
    EXPECT_EQ(outcome_of_worse.err, "cannot read " + missing + ": No such file or directory\n" + outcome.err);
}

TEST(Inspect, prints_the_file_name_with_several_files)
{
    TemporaryFile const file(good);
    EXPECT_THAT(inspect({file.name()}).out, Not(testing::HasSubstr(R"("file":)")));
    auto const both = inspect({file.name(), "-"}, good).out;
    EXPECT_THAT(both, testing::StartsWith(R"({"record":"php.RShutdown","file":")" + file.name() + R"(","frame":1,)"));
    EXPECT_THAT(both, testing::HasSubstr(R"({"record":"php.RShutdown","file":"-","frame":1,)"));
}

TEST(Inspect, prints_string_ids_and_plain_values_with_the_options)
{
    auto const capture = delimited(rpc_php_frame_of(R"pb(
        request_id { id: 7 }
        rinit { request { headers { elements { string_key: "Host" value { string_value: "a" } } } } })pb"));
    auto const body = delimited(rpc_php_frame_of(R"pb(
        request_id { id: 7 }
        rinit { request { post_data { text_0: "a\000" } } })pb"));
    EXPECT_THAT(inspect({"--nul=base64"}, body).out, testing::HasSubstr(R"("text_0":{"base64":"YQA="})"));
    EXPECT_THAT(inspect({}, body).out, testing::HasSubstr(R"("text_0":"a\u0000")"));
    auto const headers = [&](std::vector<std::string> const &options) {
        std::istringstream lines(inspect(options, capture).out);
        std::string line;
        while (std::getline(lines, line) && !line.starts_with(R"({"record":"php.RequestHeaders")")) {
        }
        return line.substr(line.find(R"("request_id")"));
    };
    std::string const typed = R"([[{"kind":"string","value":"Host"},{"kind":"string","value":"a"}]]})";
    std::string const plain = R"({"Host":"a"}})";
    EXPECT_EQ(headers({"--ids=string"}), R"("request_id":"7","headers":)" + typed);
    EXPECT_EQ(headers({"--values=plain"}), R"("request_id":7,"headers":)" + plain);
    EXPECT_EQ(headers({"--ids=string", "--values=plain"}), R"("request_id":"7","headers":)" + plain);
    EXPECT_EQ(headers({"--ids=string", "--ids=number", "--values=plain", "--values=typed"}), headers({}));
}

TEST(Inspect, prints_all_records_with_the_option)
{
    TemporaryFile const file(delimited(rpc_php_frame_of("request_id { id: 4 } error { }")));
    EXPECT_THAT(records(inspect({file.name()}).out), testing::ElementsAre("1 at 0: 4"));
    EXPECT_THAT(records(inspect({"--all-records", file.name()}).out),
                testing::AllOf(testing::SizeIs(9), testing::Each("1 at 0: 4")));
}

} // namespace
} // namespace tarnwick::test::inspect_files_test
