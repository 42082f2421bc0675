// The reader of capture files, held against one that has the whole file in its hand.

#include "fuzz/message_inputs.h"
#include "fuzz/message_mutator.h"
#include "fuzz/promise.h"
#include "fuzz/target.h"

#include <capture_reader.h>
#include <input_file.h>

#include <tarnwick/capture/v1/capture.pb.h>

#include <google/protobuf/descriptor.h>

#include <optional>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace tarnwick::fuzz {
namespace {

using program::CaptureReader;
using Step = CaptureReader::Step;
using Frame = tarnwick::capture::v1::Frame;

/// A varint at the front of bytes, of ten bytes at most.
struct Varint {
    std::size_t size = 0; ///< 0 where the bytes end inside it
    __extension__ unsigned __int128 value = 0;
    bool ends = false;
};

Varint varint_of(std::string_view bytes)
{
    Varint varint;
    for (auto const byte : bytes.substr(0, 10)) {
        varint.value |= static_cast<decltype(varint.value)>(static_cast<unsigned char>(byte) & 0x7fU)
                        << (7 * varint.size);
        ++varint.size;
        varint.ends = (static_cast<unsigned char>(byte) & 0x80U) == 0;
        if (varint.ends)
            break;
    }
    return varint;
}

/// A frame in a file, as far as the file goes.
struct Piece {
    std::string_view length;
    std::string_view body;
    Step step = Step::last_fault;
};

Piece first_piece(std::string_view file)
{
    constexpr std::uint64_t largest = std::uint64_t{1} << 30;
    if (file.empty())
        return {.length = {}, .body = {}, .step = Step::end};
    auto const varint = varint_of(file);
    auto const length = file.substr(0, varint.size);
    auto const rest = file.substr(varint.size);
    if (!varint.ends || varint.value > largest || varint.value > rest.size())
        return {.length = length, .body = rest, .step = Step::last_fault};
    auto const body = rest.substr(0, static_cast<std::size_t>(varint.value));
    Frame frame;
    bool const is_frame = !body.empty() && frame.ParseFromString(body);
    return {.length = length, .body = body, .step = is_frame ? Step::frame : Step::fault};
}

/// The bytes of the report that a frame holds, read off its fields; nothing where they are of a kind that no writer makes.
std::optional<std::string_view> report_in(std::string_view frame)
{
    auto const &reports = *Frame::descriptor()->FindOneofByName("report");
    std::string_view report;
    while (!frame.empty()) {
        auto const tag = varint_of(frame);
        frame.remove_prefix(tag.size);
        auto const value = varint_of(frame);
        auto const number = static_cast<int>(tag.value >> 3);
        switch (static_cast<int>(tag.value & 7)) {
        case 0:
            frame.remove_prefix(value.size);
            break;
        case 2: {
            frame.remove_prefix(value.size);
            auto const size = static_cast<std::size_t>(value.value);
            auto const *field = Frame::descriptor()->FindFieldByNumber(number);
            if (field != nullptr && field->containing_oneof() == &reports)
                report = frame.substr(0, size);
            frame.remove_prefix(size);
            break;
        }
        default:
            return std::nullopt;
        }
    }
    return report;
}

void hold_report(Frame const &frame, std::string_view body)
{
    auto const report = report_in(body);
    if (!report)
        return;
    auto const &oneof = *Frame::descriptor()->FindOneofByName("report");
    auto const *field = frame.GetReflection()->GetOneofFieldDescriptor(frame, &oneof);
    std::string none;
    hold(*report == (field == nullptr ? none : frame.GetReflection()->GetStringReference(frame, field, &none)),
         "a report is what stands in the file");
}

/// A file that is only in memory.
class FileInMemory {
public:
    FileInMemory()
        : descriptor_(::memfd_create("capture", MFD_CLOEXEC))
        , name_("/proc/self/fd/" + std::to_string(descriptor_))
    {
    }
    FileInMemory(FileInMemory const &) = delete;
    FileInMemory &operator=(FileInMemory const &) = delete;
    ~FileInMemory() { ::close(descriptor_); }

    std::string const &holding(std::string_view content)
    {
        hold(::ftruncate(descriptor_, 0) == 0 &&
                 ::pwrite(descriptor_, content.data(), content.size(), 0) == static_cast<ssize_t>(content.size()),
             "there is memory for the file");
        return name_;
    }

private:
    int descriptor_;
    std::string name_;
};

/// Whether the file is a capture from its start to its end.
bool check_file(std::string_view file)
{
    static FileInMemory in_memory;
    program::InputFile input(in_memory.holding(file));
    CaptureReader reader(input);
    std::uint64_t number = 0;
    std::uint64_t offset = 0;
    bool is_whole = true;
    while (true) {
        auto const piece = first_piece(file);
        auto const step = reader.next();
        number += piece.step == Step::end ? 0 : 1;
        hold(step == piece.step, "a frame is there, or a fault is, as the bytes say");
        hold(reader.number() == number && reader.offset() == offset, "a frame is where the bytes say");
        if (step == Step::frame)
            hold_report(reader.frame(), piece.body);
        else if (step != Step::end)
            hold(!reader.problem().empty(), "a fault is told");
        is_whole = is_whole && (step == Step::frame || step == Step::end);
        if (step == Step::end || step == Step::last_fault)
            return is_whole && number > 0;
        auto const size = piece.length.size() + piece.body.size();
        file.remove_prefix(size);
        offset += size;
    }
}

bool check(std::string_view input)
{
    bool is_capture = false;
    hold_in_action([&] { is_capture = check_file(input); });
    return is_capture;
}

// Mutation: of the frames, and of how they stand in the file.

std::string varint(std::uint64_t value)
{
    std::string bytes;
    for (; value >= 0x80; value >>= 7)
        bytes.push_back(static_cast<char>(value | 0x80));
    bytes.push_back(static_cast<char>(value));
    return bytes;
}

std::string delimited(Frame const &frame)
{
    auto const body = frame.SerializeAsString();
    return varint(body.size()) + body;
}

/// The frames of a file. What is broken breaks all that is made of it, and is left out as a rule.
std::vector<std::string> pieces_of(std::string_view file, Random &random)
{
    bool const keeps_broken = random.one_in(8);
    std::vector<std::string> pieces;
    while (!file.empty()) {
        auto const piece = first_piece(file);
        auto const size = piece.length.size() + piece.body.size();
        if (keeps_broken || piece.step == Step::frame)
            pieces.emplace_back(file.substr(0, size));
        file.remove_prefix(size);
    }
    return pieces;
}

std::string joined(std::vector<std::string> const &pieces)
{
    std::string file;
    for (auto const &piece : pieces)
        file += piece;
    return file;
}

/// A length that is not that of the frame, or not written as one writes it.
std::string odd_length(std::string_view body, Random &random)
{
    switch (random.below(6)) {
    case 0:
        return varint(body.size() + 1 - random.below(3));
    case 1: { // longer than it need be
        auto length = varint(body.size() | 0x80U);
        length.front() = static_cast<char>(body.size() | 0x80U);
        return length + std::string(random.below(10), '\x80') + '\0';
    }
    case 2:
        return varint((std::uint64_t{1} << random.below(64)) + 1 - random.below(3));
    case 3:
        return std::string(random.below(12), '\xff') + static_cast<char>(random.below(128));
    case 4:
        return std::string(1 + random.below(10), '\x80');
    default:
        return std::string(1, '\0');
    }
}

std::string mutated(std::string_view input, std::uint32_t seed, MutateBytes mutate_bytes)
{
    Random random(seed);
    auto pieces = pieces_of(input, random);
    if (pieces.empty() || random.one_in(20))
        pieces.insert(pieces.begin() + static_cast<std::ptrdiff_t>(random.below(pieces.size() + 1)),
                      delimited(Frame()));
    auto &piece = pieces[random.below(pieces.size())];
    auto const body = first_piece(piece).body;
    switch (random.below(16)) {
    case 0:
        piece = odd_length(body, random) + std::string(body);
        break;
    case 1: {
        constexpr std::size_t longest_growth = 16;
        auto const size = piece.size();
        piece.resize(size + longest_growth);
        piece.resize(mutate_bytes(reinterpret_cast<std::uint8_t *>(piece.data()), size, piece.size()));
        break;
    }
    case 2:
        std::swap(piece, pieces[random.below(pieces.size())]);
        break;
    case 3:
        piece.clear();
        break;
    case 4:
        piece += piece;
        break;
    case 5:
        piece.resize(random.below(piece.size() + 1));
        break;
    default: {
        Frame frame;
        if (!frame.ParseFromString(body))
            frame.Clear();
        MessageMutator(seed, mutate_bytes).mutate(frame);
        piece = delimited(frame);
    }
    }
    return joined(pieces);
}

std::string crossed(std::string_view input, std::string_view other, std::uint32_t seed)
{
    Random random(seed);
    auto pieces = pieces_of(input, random);
    for (auto &piece : pieces_of(other, random)) {
        if (random.one_in(2))
            pieces.insert(pieces.begin() + static_cast<std::ptrdiff_t>(random.below(pieces.size() + 1)),
                          std::move(piece));
    }
    return joined(pieces);
}

} // namespace

constinit Target const capture{.name = "capture", .check = check, .mutated = mutated, .crossed = crossed};

} // namespace tarnwick::fuzz
