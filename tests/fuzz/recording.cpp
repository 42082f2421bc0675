// Fuzz target: messages that a recorder receives. What it takes for a frame is what protobuf parses as one. The capture
// that it writes has these frames and nothing else, and can be continued.
//
// An input is a sequence of messages: the number of bytes as a varint, then the bytes.

#include "fuzz/message_mutator.h"
#include "fuzz/promise.h"
#include "fuzz/random.h"
#include "fuzz/target.h"

#include <capture/capture_reader.h>
#include <capture/input_file.h>
#include <capture/varint.h>
#include <live/frame_check.h>
#include <live/recorded_file.h>

#include <tarnwick/capture/v1/capture.pb.h>
#include <tarnwick/rpc/php/v1/notify_request.pb.h>

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace tarnwick::fuzz {
namespace {

using Frame = tarnwick::capture::v1::Frame;
using program::CaptureReader;
using program::Dialect;

/// Returns the messages of an input. The last one can have fewer bytes than announced.
std::vector<std::string> messages_of(std::string_view input)
{
    std::vector<std::string> messages;
    while (!input.empty()) {
        auto const size = program::read_varint(input);
        input.remove_prefix(std::min(std::max<std::size_t>(size.size, 1), input.size()));
        auto const message = input.substr(0, static_cast<std::size_t>(size.value));
        messages.emplace_back(message);
        input.remove_prefix(message.size());
    }
    return messages;
}

std::string input_of(std::vector<std::string> const &messages)
{
    std::string input;
    for (auto const &message : messages) {
        program::append_varint(input, message.size());
        input += message;
    }
    return input;
}

/// Returns the request that a frame starts, by the parser of protobuf. Returns nothing if the report does not parse.
std::optional<std::pair<std::uint64_t, Dialect>> start_in(Frame const &frame)
{
    if (frame.report_case() == Frame::kRinit)
        return std::pair(frame.request_id(), Dialect::protobuf);
    rpc::php::v1::NotifyRequest report;
    if (frame.report_case() == Frame::kRpcPhp && report.ParseFromString(frame.rpc_php()) && report.has_rinit())
        return std::pair(report.request_id().id(), Dialect::rpc);
    return std::nullopt;
}

bool report_parses(Frame const &frame)
{
    rpc::php::v1::NotifyRequest report;
    return frame.report_case() != Frame::kRpcPhp || report.ParseFromString(frame.rpc_php());
}

/// Checks what the recorder takes from a message. Returns whether it is a frame.
bool check_message(std::string const &message)
{
    Frame frame;
    bool const is_frame = !message.empty() && frame.ParseFromString(message);
    auto const checked = program::check_frame(message);
    expect(checked.has_value() == is_frame, "a message is a frame if protobuf parses it");
    if (!is_frame || !report_parses(frame))
        return is_frame;
    auto const start = start_in(frame);
    expect(checked->start.has_value() == start.has_value(), "a frame starts a request if its report does");
    if (start) {
        expect(checked->start->request_id == start->first, "the request that starts has the id of the report");
        expect(checked->start->dialect == start->second, "the request that starts has the dialect of the report");
    }
    return true;
}

/// An empty file in memory.
class FileInMemory {
public:
    FileInMemory()
        : descriptor_(::memfd_create("recording", MFD_CLOEXEC))
        , name_("/proc/self/fd/" + std::to_string(descriptor_))
    {
        expect(descriptor_ >= 0, "a file can be created");
    }
    FileInMemory(FileInMemory const &) = delete;
    FileInMemory &operator=(FileInMemory const &) = delete;
    ~FileInMemory() { ::close(descriptor_); }

    [[nodiscard]] std::string const &name() const { return name_; }
    [[nodiscard]] std::string content() const
    {
        std::string bytes(static_cast<std::size_t>(::lseek(descriptor_, 0, SEEK_END)), '\0');
        expect(::pread(descriptor_, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size()),
               "the file can be read");
        return bytes;
    }

private:
    int descriptor_;
    std::string name_;
};

/// Records the frames, the second half after the file was closed and opened again.
void record(std::string const &name, std::vector<std::string> const &frames)
{
    auto const half = frames.size() / 2;
    for (auto const &[begin, end] : {std::pair(std::size_t{0}, half), std::pair(half, frames.size())}) {
        program::RecordedFile file(name);
        for (auto i = begin; i < end; ++i) {
            file.append(frames[i]);
            if (i % 3 == 0)
                file.flush();
        }
        file.sync();
        expect(file.written() == end - begin, "each frame is counted");
    }
}

bool check_recording(std::string_view input)
{
    std::vector<std::string> frames;
    for (auto &message : messages_of(input)) {
        if (check_message(message))
            frames.push_back(std::move(message));
    }
    FileInMemory const file;
    record(file.name(), frames);
    expect(file.content() == input_of(frames), "the capture has the bytes of the frames and their lengths");

    program::InputFile capture(file.name());
    CaptureReader reader(capture);
    Frame expected;
    for (auto const &frame : frames) {
        expect(reader.next() == CaptureReader::Step::frame, "each frame can be read back");
        expect(expected.ParseFromString(frame) && reader.frame().SerializeAsString() == expected.SerializeAsString(),
               "a frame reads back as it was sent");
    }
    expect(reader.next() == CaptureReader::Step::end, "the capture has no other frame");
    return !frames.empty();
}

bool check(std::string_view input)
{
    bool has_frames = false;
    expect_clean_run([&] { has_frames = check_recording(input); });
    return has_frames;
}

/// Returns one of the messages, as a frame. It is empty if the message is none.
Frame frame_of(std::string const &message)
{
    Frame frame;
    if (!frame.ParseFromString(message))
        frame.Clear();
    return frame;
}

std::string mutated(std::string_view input, std::uint32_t seed, MutateBytes mutate_bytes)
{
    Random random(seed);
    auto messages = messages_of(input);
    if (messages.empty() || random.one_in(20))
        messages.emplace_back();
    auto &message = messages[random.below(messages.size())];
    switch (random.below(8)) {
    case 0: {
        constexpr std::size_t longest_growth = 16;
        auto const size = message.size();
        message.resize(size + longest_growth);
        message.resize(mutate_bytes(reinterpret_cast<std::uint8_t *>(message.data()), size, message.size()));
        break;
    }
    case 1:
        message.resize(random.below(message.size() + 1));
        break;
    case 2:
        message += messages[random.below(messages.size())];
        break;
    case 3: // the report of the php family, whose start the recorder looks for
    {
        auto frame = frame_of(message);
        rpc::php::v1::NotifyRequest report;
        if (!report.ParseFromString(frame.rpc_php()))
            report.Clear();
        MessageMutator(seed, mutate_bytes).mutate(report);
        frame.set_rpc_php(report.SerializeAsString());
        message = frame.SerializeAsString();
        break;
    }
    case 4:
        messages.push_back(std::string(message));
        break;
    default: {
        auto frame = frame_of(message);
        MessageMutator(seed, mutate_bytes).mutate(frame);
        message = frame.SerializeAsString();
    }
    }
    return input_of(messages);
}

std::string crossed(std::string_view input, std::string_view other, std::uint32_t seed)
{
    Random random(seed);
    auto messages = messages_of(input);
    for (auto &message : messages_of(other)) {
        if (random.one_in(2))
            messages.insert(messages.begin() + static_cast<std::ptrdiff_t>(random.below(messages.size() + 1)),
                            std::move(message));
    }
    return input_of(messages);
}

} // namespace

constinit Target const recording{.name = "recording", .check = check, .mutated = mutated, .crossed = crossed};

} // namespace tarnwick::fuzz
