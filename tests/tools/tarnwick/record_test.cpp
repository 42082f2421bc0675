// `tarnwick record`: the captures that it writes, its counts, and what ends it.

#include "support/config_files.h"
#include "support/sanitizers.h"
#include "support/table.h"
#include "tools/tarnwick/support/captures.h"
#include "tools/tarnwick/support/live.h"
#include "tools/tarnwick/support/program.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <regex>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <thread>
#include <utility>
#include <vector>

namespace tarnwick::test::record_test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

std::string content_of_file(std::string const &file)
{
    std::ifstream stream(file, std::ios::binary);
    EXPECT_TRUE(stream.is_open()) << file;
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

std::string frame(std::uint64_t request_id)
{
    return rshutdown_frame_of(request_id, "response_status: 200").SerializeAsString();
}

std::string counts(std::uint64_t written, std::uint64_t refused = 0, std::uint64_t requests = 0)
{
    return fmt::format("received: {}; written: {}; refused: {}; dropped: 0; requests: {}\n", written + refused, written,
                       refused, requests);
}

class Record : public testing::Test {
protected:
    /// Arguments of a recorder that binds a free port.
    [[nodiscard]] test::Setup setup(std::vector<std::string> const &options = {}) const
    {
        test::Setup setup{.arguments = {"record", "--output=" + file, "tcp://127.0.0.1:*"}, .err = Sink::output};
        setup.arguments.insert(setup.arguments.end(), options.begin(), options.end());
        return setup;
    }
    [[nodiscard]] std::string ipc() const { return "ipc://" + folder.path() + "/s"; }
    [[nodiscard]] std::string content() const { return content_of_file(file); }

    /// Ends a recorder with a signal. Returns the rest of its output.
    static Outcome end(Program &program, int signal = SIGINT)
    {
        program.send(signal);
        return program.finish();
    }

    ConfigFolder folder;
    std::string const file = folder.path() + "/capture.tnw";
};

TEST_F(Record, writes_messages_unchanged_with_their_lengths)
{
    Program recorder(setup());
    auto const unusual = std::string("\xaa\x01\x02\x08\x02\x08\x05", 7);
    std::string const unknown_report = "\x08\x05" + field_head(99, 2) + "ab";
    std::string const bad_report = rpc_php_frame("\xff").SerializeAsString();
    send_all(address_from(recorder), {frame(1), unusual, unknown_report, bad_report});
    auto const expected = delimited(frame(1)) + delimited(unusual) + delimited(unknown_report) + delimited(bad_report);
    wait_for_size(file, expected.size());
    auto const outcome = end(recorder);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, counts(4));
    EXPECT_EQ(content(), expected);
}

TEST_F(Record, receives_from_several_senders_and_sockets)
{
    constexpr int frames = is_sanitized ? 500 : 2'000;
    Program recorder(setup({ipc()}));
    auto const tcp = address_from(recorder);
    EXPECT_EQ(address_from(recorder), ipc());
    std::size_t size = 0;
    std::vector<std::thread> senders;
    std::uint64_t first = 1;
    for (auto const &endpoint : {tcp, tcp, ipc()}) {
        std::vector<std::string> messages;
        for (int i = 0; i < frames; ++i) {
            messages.push_back(frame(first++));
            size += delimited(messages.back()).size();
        }
        senders.emplace_back(send_all, endpoint, messages);
    }
    for (auto &sender : senders)
        sender.join();
    wait_for_size(file, size);
    EXPECT_EQ(end(recorder).out, counts(std::uint64_t{3} * frames));
    auto const listed = run({.arguments = {"ls", "--columns=request_id", "--format=csv", file}});
    EXPECT_EQ(std::ranges::count(listed.out, '\n'), std::ptrdiff_t{3} * frames + 1);
    EXPECT_EQ(listed.status, 0);
}

TEST_F(Record, loses_none_of_many_frames)
{
    constexpr std::uint64_t frames = 200'000;
    Program recorder(setup());
    std::uintmax_t size = 0;
    {
        Sender sender(address_from(recorder));
        for (std::uint64_t id = 1; id <= frames; ++id) {
            sender.send(frame(id));
            size += delimited(frame(id)).size();
        }
    }
    wait_for_size(file, size);
    EXPECT_EQ(end(recorder).out, counts(frames));
    EXPECT_EQ(std::filesystem::file_size(file), size);
}

TEST_F(Record, receives_from_all_senders_after_a_large_frame)
{
    constexpr std::uint64_t frames = is_sanitized ? 10'000 : 30'000;
    constexpr std::size_t size_of_large = 8'000'000;
    Program recorder(setup());
    auto const address = address_from(recorder);
    Frame large;
    large.set_ct_data(std::string(size_of_large, 'x'));
    send_all(address, {large.SerializeAsString()});
    std::vector<std::thread> senders;
    constexpr std::uint64_t number_of_senders = 4;
    senders.reserve(number_of_senders);
    for (std::uint64_t i = 0; i < number_of_senders; ++i)
        senders.emplace_back([&] { send_all(address, std::vector<std::string>(frames, frame(1))); });
    for (auto &sender : senders)
        sender.join();
    wait_for_size(file, delimited(large).size() + number_of_senders * frames * delimited(frame(1)).size());
    EXPECT_EQ(end(recorder).out, counts(1 + number_of_senders * frames));
}

TEST_F(Record, connects_to_senders)
{
    std::unique_ptr<void, int (*)(void *)> const context(zmq_ctx_new(), zmq_ctx_term);
    std::unique_ptr<void, int (*)(void *)> const socket(zmq_socket(context.get(), ZMQ_PUSH), zmq_close);
    ASSERT_EQ(zmq_bind(socket.get(), ipc().c_str()), 0);
    Program recorder({.arguments = {"record", "--connect", "-o", file, ipc()}, .err = Sink::output});
    EXPECT_EQ(recorder.read_line(), "connecting to " + ipc() + '\n');
    auto const message = frame(1);
    zmq_send(socket.get(), message.data(), message.size(), 0);
    wait_for_size(file, delimited(message).size());
    EXPECT_EQ(end(recorder).out, counts(1));
}

TEST_F(Record, refuses_messages_that_are_not_one_frame)
{
    Program recorder(setup());
    {
        Sender sender(address_from(recorder));
        sender.send("");
        sender.send("\xff\xff\xff");
        sender.send("\xff");
        sender.send(frame(1), ZMQ_SNDMORE);
        sender.send(frame(2));
        sender.send(frame(3));
    }
    wait_for_size(file, delimited(frame(3)).size());
    auto const outcome = end(recorder);
    EXPECT_EQ(outcome.out, "refused a message: it is empty\n"
                           "refused a message of 3 bytes: it is not a frame\n"
                           "refused a message of 16 bytes: it has several parts\n" +
                               counts(1, 4));
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(content(), delimited(frame(3)));
}

TEST_F(Record, closes_the_connection_of_a_sender_of_a_larger_frame)
{
    Program recorder(setup({"--max-frame=1kB"}));
    auto const address = address_from(recorder);
    Frame chunk;
    chunk.set_ct_data(std::string(1'000, 'x'));
    Sender too_large(address);
    too_large.set(ZMQ_LINGER, 0);
    too_large.send(chunk.SerializeAsString());
    chunk.set_ct_data(std::string(900, 'x'));
    send_all(address, {chunk.SerializeAsString()});
    wait_for_size(file, delimited(chunk).size());
    EXPECT_EQ(end(recorder).out, counts(1));
    EXPECT_EQ(content(), delimited(chunk));
}

TEST_F(Record, counts_a_request_of_both_dialects_once)
{
    Program recorder(setup());
    auto const rpc_start = rpc_php_frame_of("request_id { id: 7 } rinit {}").SerializeAsString();
    auto const start = [](std::uint64_t id) {
        Frame frame;
        frame.set_request_id(id);
        frame.set_rinit("");
        return frame.SerializeAsString();
    };
    auto const end_of_seven = rpc_php_frame_of("request_id { id: 7 } rshutdown {}").SerializeAsString();
    std::vector<std::string> const messages{rpc_start, start(7), end_of_seven, start(8), start(7)};
    send_all(address_from(recorder), messages);
    std::string expected;
    for (auto const &message : messages)
        expected += delimited(message);
    wait_for_size(file, expected.size());
    EXPECT_EQ(end(recorder).out, counts(5, 0, 3));
}

class RecordEnds : public Record, public testing::WithParamInterface<int> {};

TEST_P(RecordEnds, after_the_frames_that_have_arrived)
{
    Program recorder(setup());
    send_all(address_from(recorder), {frame(1)});
    wait_for_size(file, delimited(frame(1)).size());
    auto const outcome = end(recorder, GetParam());
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, counts(1));
}

INSTANTIATE_TEST_SUITE_P(With, RecordEnds, testing::Values(SIGHUP, SIGINT, SIGTERM),
                         [](auto const &instance) { return std::string(::sigabbrev_np(instance.param)); });

TEST_F(Record, prints_counts_on_request)
{
    Program recorder(setup());
    auto const address = address_from(recorder);
    for (std::uint64_t const count : {1U, 2U}) {
        send_all(address, {frame(count)});
        wait_for_size(file, count * delimited(frame(1)).size());
        recorder.send(SIGUSR1);
        EXPECT_EQ(recorder.read_line(), counts(count));
    }
    EXPECT_EQ(end(recorder).out, counts(2));
}

TEST_F(Record, continues_a_capture)
{
    for (std::uint64_t const id : {1U, 2U}) {
        Program recorder(setup());
        send_all(address_from(recorder), {frame(id)});
        wait_for_size(file, id * delimited(frame(1)).size());
        EXPECT_EQ(end(recorder).out, counts(1));
    }
    EXPECT_EQ(content(), request_end(1) + request_end(2));
}

TEST_F(Record, leaves_whole_frames_when_it_is_killed)
{
    {
        Program recorder(setup());
        send_all(address_from(recorder), {frame(1)});
        wait_for_size(file, request_end(1).size());
        end(recorder, SIGKILL);
    }
    EXPECT_EQ(content(), request_end(1));
    Program recorder(setup());
    EXPECT_THAT(recorder.read_line(), StartsWith("listening on "));
}

struct Rest {
    std::string name;
    std::string bytes;
    std::string before = request_end(1);
};

class RecordRemoves : public TableTest<Rest> {};

TEST_P(RecordRemoves, an_incomplete_frame_at_the_end)
{
    auto const &before = GetParam().before;
    TemporaryFile const capture(before + GetParam().bytes);
    Program recorder({.arguments = {"record", "-o", capture.name(), "tcp://127.0.0.1:*"}, .err = Sink::output});
    EXPECT_EQ(recorder.read_line(),
              fmt::format("{}: removed {} bytes of an incomplete frame\n", capture.name(), GetParam().bytes.size()));
    send_all(address_from(recorder), {frame(2)});
    wait_for_size(capture.name(), (before + request_end(2)).size());
    recorder.send(SIGINT);
    EXPECT_EQ(recorder.finish().status, 0);
    EXPECT_EQ(content_of_file(capture.name()), before + request_end(2));
}

INSTANTIATE_TEST_SUITE_P(Which, RecordRemoves,
                         testing::Values(Rest{"is_a_length", request_end(2).substr(0, 1)},
                                         Rest{"is_a_part_of_a_length", varint(300).substr(0, 1)},
                                         Rest{"lacks_a_byte", request_end(2).substr(0, request_end(2).size() - 1)},
                                         Rest{"is_the_first", request_end(2).substr(0, request_end(2).size() - 1), ""},
                                         Rest{"is_larger_than_a_read", varint(9'000'000) + field_head(61, 8'999'000) +
                                                                           std::string(2'000'000, 'x')}),
                         by_name);

struct Foreign {
    std::string name;
    std::string bytes;
    std::string reason;
};

class RecordRefuses : public TableTest<Foreign> {};

TEST_P(RecordRefuses, files_that_are_not_captures)
{
    TemporaryFile const existing(GetParam().bytes);
    auto const outcome = run({.arguments = {"record", "-o", existing.name(), "tcp://127.0.0.1:*"}});
    EXPECT_EQ(outcome.err, fmt::format("tarnwick: cannot write {}: {}\n", existing.name(), GetParam().reason));
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(content_of_file(existing.name()), GetParam().bytes);
}

INSTANTIATE_TEST_SUITE_P(
    Existing, RecordRefuses,
    testing::Values(
        Foreign{"text", "To whom it may concern\n", "not a capture: it has no frame with a known report"},
        Foreign{"gzip", std::string("\x1f\x8b\x08\0\0\0\0\0\x03\0", 10),
                "not a capture: the file is compressed with gzip; pipe it through `zcat`"},
        Foreign{"start_of_any_frame", request_end(1).substr(0, 1),
                "not a capture: it has no frame with a known report; if it is the start of a frame, remove it"},
        Foreign{"text_with_a_length",
                "\xc3\x89"
                "cran\n",
                "not a capture: it has no frame with a known report; if it is the start of a frame, remove it"},
        Foreign{"damage_before_the_end", request_end(1) + delimited("\xff") + request_end(2),
                fmt::format("byte {} is not the start of a frame; write its frames to a new file with "
                            "`tarnwick recover`",
                            request_end(1).size())},
        Foreign{"length_over_the_limit", request_end(1) + varint((1U << 30U) + 1),
                fmt::format("byte {} is not the start of a frame; write its frames to a new file with "
                            "`tarnwick recover`",
                            request_end(1).size())}),
    by_name);

TEST_F(Record, refuses_files_that_it_cannot_write)
{
    ASSERT_EQ(::mkfifo((folder.path() + "/fifo").c_str(), 0600), 0);
    for (auto const &[name, reason] : {std::pair{folder.path(), "Is a directory"},
                                       {folder.path() + "/fifo", "not a regular file"},
                                       {folder.path() + "/none/capture.tnw", "No such file or directory"}}) {
        auto const outcome = run({.arguments = {"record", "-o", name, "tcp://127.0.0.1:*"}});
        EXPECT_EQ(outcome.err, fmt::format("tarnwick: cannot write {}: {}\n", name, reason));
        EXPECT_EQ(outcome.status, 3);
    }
}

TEST_F(Record, refuses_a_file_that_another_program_writes)
{
    Program recorder(setup());
    address_from(recorder);
    auto const outcome = run(setup());
    EXPECT_EQ(outcome.out, fmt::format("tarnwick: cannot write {}: another program writes it\n", file));
    EXPECT_EQ(outcome.status, 3);
}

TEST_F(Record, reports_an_address_that_is_in_use)
{
    Program recorder(setup());
    auto const address = address_from(recorder);
    auto const outcome = run({.arguments = {"record", "-o", folder.path() + "/other.tnw", address}});
    EXPECT_EQ(outcome.err, fmt::format("tarnwick: cannot bind {}: Address already in use\n", address));
    EXPECT_EQ(outcome.status, 3);
    EXPECT_FALSE(std::filesystem::exists(folder.path() + "/other.tnw"));
}

TEST_F(Record, keeps_whole_frames_when_the_disk_is_full)
{
    auto limited = setup();
    for (std::size_t const size : {std::size_t(100), std::size_t(100'000)}) {
        SCOPED_TRACE(size);
        std::filesystem::remove(file);
        Frame chunk;
        chunk.set_ct_data(std::string(size, 'x'));
        auto const bytes = delimited(chunk);
        constexpr rlim_t whole_frames = 7;
        limited.largest_file = whole_frames * bytes.size() + bytes.size() / 2;
        Program recorder(limited);
        Sender sender(address_from(recorder));
        sender.set(ZMQ_LINGER, 0);
        std::thread endless([&] {
            // The recorder closes the connection when it ends.
            sender.set(ZMQ_SNDTIMEO, 100);
            while (sender.send(chunk.SerializeAsString())) {
            }
        });
        auto const outcome = recorder.finish();
        endless.join();
        EXPECT_EQ(outcome.status, 3);
        EXPECT_THAT(outcome.out, EndsWith(fmt::format("tarnwick: cannot write {}: File too large\n", file)));
        static std::regex const counted("received: (\\d+); written: 7; refused: 0; dropped: (\\d+);");
        std::smatch match;
        ASSERT_TRUE(std::regex_search(outcome.out, match, counted)) << outcome.out;
        auto const received = std::stoull(match[1]);
        auto const dropped = std::stoull(match[2]);
        EXPECT_EQ(received, whole_frames + dropped);
        EXPECT_GE(dropped, 1U);
        std::string expected;
        for (rlim_t i = 0; i < whole_frames; ++i)
            expected += bytes;
        EXPECT_TRUE(content() == expected);
    }
}

class RecordRotates : public Record {
protected:
    /// Returns the names of finished files, in the order of their messages.
    static std::vector<std::string> finished_in(std::string const &messages)
    {
        std::vector<std::string> names;
        std::string_view const word = ": renamed to ";
        for (auto at = messages.find(word); at != std::string::npos; at = messages.find(word, at + 1)) {
            auto const begin = at + word.size();
            names.push_back(messages.substr(begin, messages.find('\n', begin) - begin));
        }
        return names;
    }
};

TEST_F(RecordRotates, at_a_size_without_dividing_frames)
{
    Program recorder(setup({"--rotate=20B"}));
    std::string expected;
    std::vector<std::string> messages;
    for (std::uint64_t id = 1; id <= 7; ++id) {
        messages.push_back(frame(id));
        expected += request_end(id);
    }
    send_all(address_from(recorder), messages);
    auto renamed = recorder.read_line();
    renamed += recorder.read_line();
    wait_for_size(file, request_end(1).size());
    auto const outcome = end(recorder);
    auto const names = finished_in(renamed);
    ASSERT_EQ(names.size(), 2U);
    std::string found;
    for (auto const &name : names) {
        EXPECT_THAT(name, MatchesRegex(".*/capture-[0-9]{8}T[0-9]{6}Z(-2)?\\.tnw"));
        EXPECT_EQ(content_of_file(name).size(), 3 * request_end(1).size());
        found += content_of_file(name);
    }
    EXPECT_EQ(found + content(), expected);
    EXPECT_EQ(outcome.out, counts(7));
}

TEST_F(RecordRotates, at_an_age)
{
    Program recorder(setup({"--rotate=1ms"}));
    auto const address = address_from(recorder);
    for (std::uint64_t const id : {1U, 2U}) {
        send_all(address, {frame(id)});
        auto const names = finished_in(recorder.read_line());
        ASSERT_EQ(names.size(), 1U);
        EXPECT_EQ(content_of_file(names.front()), request_end(id));
    }
    EXPECT_EQ(end(recorder).out, counts(2));
    EXPECT_EQ(content(), "");
}

TEST_F(RecordRotates, while_the_capture_is_followed)
{
    Program recorder(setup({"--rotate=10B"})); // two frames
    auto const address = address_from(recorder);
    send_all(address, {frame(1)});
    wait_for_size(file, request_end(1).size());
    Program follower({.arguments = {"inspect", "--follow", "--format=jsonl", file}});
    for (std::uint64_t id = 1; id <= 6; ++id) {
        if (id > 1)
            send_all(address, {frame(id)});
        EXPECT_THAT(follower.read_line(), HasSubstr(fmt::format(R"("request_id":{})", id)));
    }
    EXPECT_EQ(finished_in(end(recorder).out).size(), 3U);
}

TEST_F(Record, needs_no_standard_error)
{
    Program recorder({.arguments = {"record", "-o", file, ipc()}, .err = Sink::closed});
    wait_for(folder.path(), [&] { return std::filesystem::exists(folder.path() + "/s"); });
    send_all(ipc(), {"", frame(1)});
    wait_for_size(file, request_end(1).size());
    EXPECT_EQ(end(recorder).status, 0);
    EXPECT_EQ(content(), request_end(1));
}

TEST_F(Record, shows_progress_on_a_terminal)
{
    Program recorder(
        {.arguments = {"record", "-o", file, ipc()}, .err = Sink::terminal, .environment = {"TERM=xterm"}});
    wait_for(folder.path(), [&] { return std::filesystem::exists(folder.path() + "/s"); });
    send_all(ipc(), {frame(1)});
    wait_for_size(file, request_end(1).size());
    auto const outcome = end(recorder);
    EXPECT_THAT(outcome.err, HasSubstr("\r\x1b[K" + file + ": "));
    EXPECT_THAT(outcome.err, EndsWith("\r\x1b[K" + counts(1)));
}

TEST_F(Record, admits_only_programs_whose_keys_are_allowed)
{
    auto const path = [&](std::string const &name) { return folder.path() + '/' + name; };
    for (auto const *name : {"recorder", "shop", "stranger"})
        ASSERT_EQ(run({.arguments = {"keys", path(name)}}).status, 0);
    Program recorder(setup({"--curve-keys=" + path("recorder.key"), "--allow=" + path("shop.pub")}));
    auto const address = address_from(recorder);
    TemporaryFile const capture(request_end(1) + request_end(2));
    auto const replay = [&](std::string const &name) {
        return test::Setup{.arguments = {"replay", "--curve-keys=" + path(name), "--server-key=" + path("recorder.pub"),
                                         capture.name(), address}};
    };
    {
        Program stranger(replay("stranger.key"));
        auto key = content_of_file(path("stranger.pub"));
        key.pop_back(); // the end of the line
        EXPECT_EQ(recorder.read_line(),
                  fmt::format("refused a client at 127.0.0.1: its key {} is not in {}\n", key, path("shop.pub")));
        auto const refused = end(stranger);
        EXPECT_THAT(refused.out + refused.err, EndsWith("frames sent: 0; interrupted before the end\n"));
    }
    auto const sent = run(replay("shop.key"));
    EXPECT_EQ(sent.err, "frames sent: 2\n");
    EXPECT_EQ(sent.status, 0);
    wait_for_size(file, (request_end(1) + request_end(2)).size());
    EXPECT_EQ(end(recorder).out, counts(2));
    EXPECT_EQ(content(), request_end(1) + request_end(2));
}

struct Usage {
    std::string name;
    std::vector<std::string> arguments;
    std::string message;
};

class RecordUsage : public TableTest<Usage> {};

TEST_P(RecordUsage, is_checked)
{
    auto arguments = GetParam().arguments;
    arguments.insert(arguments.begin(), "record");
    auto const outcome = run({.arguments = arguments});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.err, StartsWith("tarnwick: " + GetParam().message));
}

std::string const somewhere = "tcp://127.0.0.1:*";

INSTANTIATE_TEST_SUITE_P(
    Of, RecordUsage,
    testing::Values(
        Usage{"no_file", {somewhere}, "--output is required"},
        Usage{"no_endpoint", {"-o", "x"}, "ENDPOINT is required"},
        Usage{"other_endpoint", {"-o", "x", "5555"}, "ENDPOINT: '5555' is neither tcp://HOST:PORT nor ipc://PATH"},
        Usage{"rotation",
              {"-o", "x", "--rotate=often", somewhere},
              "--rotate: 'often' is neither a size such as 100MB nor a length of time such as 1h"},
        Usage{"rotation_of_zero", {"-o", "x", "--rotate=0", somewhere}, "--rotate: '0' is neither"},
        Usage{"frames_over_1_GiB",
              {"-o", "x", "--max-frame=2GiB", somewhere},
              "--max-frame: '2GiB' is not a size from 1 byte to 1GiB"}),
    by_name);

} // namespace
} // namespace tarnwick::test::record_test
