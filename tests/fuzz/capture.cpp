// Fuzz target: the reader of capture files, compared with a reader that has the whole file in memory. A file that is
// damaged in one place must still yield all frames far from the damage.

#include "support/damage.h"

#include "fuzz/message_inputs.h"
#include "fuzz/message_mutator.h"
#include "fuzz/promise.h"
#include "fuzz/target.h"

#include <capture/capture_reader.h>
#include <capture/input_file.h>
#include <capture/report_check.h>

#include <tarnwick/capture/v1/capture.pb.h>

#include <google/protobuf/descriptor.h>

#include <algorithm>
#include <functional>
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

/// A varint at the start of some bytes, ten bytes at most.
struct Varint {
    std::size_t size = 0; ///< of the varint, in bytes
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

/// The first frame of some bytes, which may end before it.
struct Piece {
    std::string_view length;
    std::string_view body;
    Step step = Step::fault;
    bool ends = false; ///< whether the bytes contain its end

    [[nodiscard]] std::size_t size() const { return length.size() + body.size(); }
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
        return {.length = length, .body = rest};
    auto const body = rest.substr(0, static_cast<std::size_t>(varint.value));
    Frame frame;
    bool const is_frame = !body.empty() && frame.ParseFromString(body);
    return {.length = length, .body = body, .step = is_frame ? Step::frame : Step::fault, .ends = true};
}

/// Whether a body has at most 16 fields and no group.
bool is_plain(std::string_view body)
{
    for (int fields = 0; !body.empty(); ++fields) {
        auto const tag = varint_of(body);
        if (fields == 16 || (tag.value & 7) == 3)
            return false;
        body.remove_prefix(tag.size);
        auto const value = varint_of(body);
        std::size_t const sizes[] = {value.size, 8, value.size + static_cast<std::size_t>(value.value), 0, 0, 4};
        body.remove_prefix(sizes[static_cast<std::size_t>(tag.value & 7)]);
    }
    return true;
}

/// Whether frames start at a place: at least `needed` valid frames in a row, and no invalid one up to `beyond`.
bool is_start(std::string_view file, std::size_t place, int needed, std::size_t beyond)
{
    for (int good = 0; good < needed || place <= beyond;) {
        if (place == file.size())
            return good > 0;
        auto const piece = first_piece(file.substr(place));
        if (piece.step != Step::frame || !is_plain(piece.body))
            return false;
        Frame frame;
        auto const is_good = frame.ParseFromString(piece.body) && program::has_valid_report(frame);
        if (!is_good && good == 0)
            return false;
        good += is_good ? 1 : 0;
        place += piece.size();
    }
    return true;
}

/// The place where reading resumes after a fault. The frame before the fault starts at `previous`.
std::size_t next_start(std::string_view file, std::size_t fault, std::size_t previous)
{
    auto const piece = first_piece(file.substr(fault));
    auto expected = piece.ends ? fault + piece.size() : file.size();
    while (expected < file.size() && file[expected] == '\0')
        ++expected;
    auto place = previous + 1;
    while (place < file.size() && !is_start(file, place, place == expected ? 1 : 3, fault))
        ++place;
    return place;
}

/// The bytes of the report in a frame, found by a plain walk over its fields. Empty if a field has a wire type that no
/// writer uses.
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

void expect_report(Frame const &frame, std::string_view body)
{
    auto const report = report_in(body);
    if (!report)
        return;
    auto const &oneof = *Frame::descriptor()->FindOneofByName("report");
    auto const *field = frame.GetReflection()->GetOneofFieldDescriptor(frame, &oneof);
    std::string none;
    expect(*report == (field == nullptr ? none : frame.GetReflection()->GetStringReference(frame, field, &none)),
           "the report of a frame is the one in the file");
}

std::string varint(std::uint64_t value)
{
    std::string bytes;
    for (; value >= 0x80; value >>= 7)
        bytes.push_back(static_cast<char>(value | 0x80));
    bytes.push_back(static_cast<char>(value));
    return bytes;
}

/// A file in memory.
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

    std::string const &with(std::string_view content)
    {
        expect(::ftruncate(descriptor_, 0) == 0 &&
                   ::pwrite(descriptor_, content.data(), content.size(), 0) == static_cast<ssize_t>(content.size()),
               "the file can be written");
        return name_;
    }

private:
    int descriptor_;
    std::string name_;
};

/// Calls `take` after each step of the reader, except seeking steps.
void read(std::string_view file, std::function<void(CaptureReader const &, Step)> const &take)
{
    static FileInMemory in_memory;
    program::InputFile input(in_memory.with(file));
    CaptureReader reader(input);
    Step step{};
    do {
        step = reader.next();
        if (step != Step::seeking)
            take(reader, step);
    } while (step != Step::end);
}

/// Checks each step of the reader. Returns whether the whole file is a capture.
bool check_file(std::string_view file)
{
    std::uint64_t number = 0;
    std::size_t place = 0;
    std::size_t previous = 0;
    bool is_whole = true;
    read(file, [&](CaptureReader const &reader, Step step) {
        auto const piece = first_piece(file.substr(place));
        number += piece.step == Step::end ? 0 : 1;
        expect(step == piece.step, "each step matches the bytes of the file");
        expect(reader.number() == number && reader.offset() == place, "each step has the right number and offset");
        if (step == Step::frame) {
            expect_report(reader.frame(), piece.body);
            previous = std::exchange(place, place + piece.size());
        } else if (step == Step::fault) {
            expect(!reader.problem().empty(), "a fault is described");
            is_whole = false;
            previous = place = next_start(file, place, previous);
        }
    });
    return is_whole && number > 0;
}

/// Damages a file that has the frames of the input three times, with 64 KiB between. Frames far from the damage must be
/// read.
void check_damage(std::string_view input)
{
    static std::string const far = [] {
        Frame frame;
        frame.set_request_id(1);
        frame.set_ct_data(std::string(65'536, '\x07')); // no frame starts with these bytes
        auto const body = frame.SerializeAsString();
        return varint(body.size()) + body;
    }();
    std::string frames;
    while (!input.empty()) {
        auto const piece = first_piece(input);
        Frame frame;
        if (piece.step == Step::frame && is_plain(piece.body) && frame.ParseFromString(piece.body) &&
            program::has_valid_report(frame))
            frames.append(input.substr(0, piece.size()));
        input.remove_prefix(piece.size());
    }
    if (frames.empty())
        return;
    auto const file = frames + far + frames + far + far + frames;
    auto const begin = frames.size() + far.size();
    Random random(static_cast<std::uint32_t>(std::hash<std::string_view>()(frames)));
    auto const kind = random.one_of(test::damage_kinds);
    auto damage = test::random_damage(kind, frames, random.below(frames.size()), random);
    damage.begin += begin;

    std::vector<std::size_t> expected;
    for (std::size_t place = 0; place < file.size();
         place += first_piece(std::string_view(file).substr(place)).size()) {
        if (place < frames.size() || place > damage.end() + far.size())
            expected.push_back(damage.moved(place));
    }
    std::vector<std::size_t> found;
    read(damage.apply(file), [&](CaptureReader const &reader, Step step) {
        if (step == Step::frame)
            found.push_back(static_cast<std::size_t>(reader.offset()));
    });
    expect(std::ranges::includes(found, expected), "each frame more than 64 KiB from the damage is read");
}

bool check(std::string_view input)
{
    bool is_capture = false;
    expect_clean_run([&] {
        is_capture = check_file(input);
        check_damage(input);
    });
    return is_capture;
}

// Mutation of the frames, and of their lengths and order.

std::string delimited(Frame const &frame)
{
    auto const body = frame.SerializeAsString();
    return varint(body.size()) + body;
}

/// The frames of a file. Usually without the broken ones, since every mutant of a broken frame is broken too.
std::vector<std::string> pieces_of(std::string_view file, Random &random)
{
    bool const keeps_broken = random.one_in(8);
    std::vector<std::string> pieces;
    while (!file.empty()) {
        auto const piece = first_piece(file);
        auto const size = piece.size();
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

/// A length that is wrong, or encoded in an unusual way.
std::string odd_length(std::string_view body, Random &random)
{
    switch (random.below(6)) {
    case 0:
        return varint(body.size() + 1 - random.below(3));
    case 1: { // longer than necessary
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
