#include "capture/capture_reader.h"

#include "capture/interrupt.h"
#include "capture/report_check.h"
#include "error_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <utility>

namespace tarnwick::program {
namespace {

constexpr auto nowhere = std::numeric_limits<std::uint64_t>::max();

// The bytes between two steps `seeking`.
constexpr std::uint64_t slice = std::uint64_t{16} << 20;

// Bytes in which every place looks like a large frame would take quadratic time. So places are skipped once the effort
// exceeds `free_effort` and `effort_per_byte` for each byte read. Damaged captures take less than one for each byte.
constexpr std::uint64_t free_effort = std::uint64_t{64} << 20;
constexpr std::uint64_t effort_per_byte = 4;
constexpr std::uint64_t effort_per_frame = 64;

bool parse(capture::v1::Frame &frame, std::string_view bytes)
{
    return frame.ParseFromArray(bytes.data(), static_cast<int>(bytes.size()));
}

} // namespace

CaptureReader::Step CaptureReader::next()
{
    // Ctrl-C ends the input of a reader that waits. A reader that has more to read stops before the next frame.
    if (Interrupt::requested() && !input_.has_ended())
        return Step::end;
    auto step = next_in_file();
    while (step == Step::end && file_.has_changed()) {
        auto const [number, offset] = history_.keep_unchanged(file_);
        input_.reopen(offset);
        number_ = number;
        previous_ = 0;
        step = next_in_file();
    }
    return step;
}

CaptureReader::Step CaptureReader::next_in_file()
{
    if (is_seeking_)
        return seek();
    drop_large_frame();
    offset_ = input_.position() + previous_;
    if (!input_.fill(previous_ + 1))
        return input_.problem().empty() ? Step::end : failure();
    ++number_;

    auto const length = length_at(previous_);
    if (length.state == Varint::State::truncated)
        return cut_short("the file ends inside the length of this frame");
    if (length.state == Varint::State::too_large || length.value > max_frame_size)
        return fault("the length of this frame is over 1 GiB", nowhere);
    if (length.value == 0)
        return fault("the length of this frame is 0", offset_ + length.size);
    return read_frame(previous_ + length.size, length.value);
}

CaptureReader::Step CaptureReader::read_frame(std::uint64_t start, std::uint64_t size)
{
    auto const not_a_frame = [&] { return fault("this is not a frame", input_.position() + start + size); };
    FrameFields fields(size);
    while (bytes_from(start).size() < size) {
        auto const available = bytes_from(start).size();
        if (fields.advance(bytes_from(start)) == FrameFields::State::invalid)
            return not_a_frame();
        if (!input_.fill(start + available + 1))
            return cut_short(fmt::format("the file ends inside this frame, after {} of its {} bytes", available, size));
    }
    if (!parse(frame_, bytes_from(start).substr(0, size))) {
        effort_ += size;
        return not_a_frame();
    }
    input_.drop(previous_);
    previous_ = start + size - previous_;
    if (file_.is_followed())
        history_.add(number_, offset_, bytes());
    if (!keeps_bytes_)
        drop_large_frame();
    return Step::frame;
}

void CaptureReader::drop_large_frame()
{
    if (previous_ > max_look_ahead)
        input_.drop(std::exchange(previous_, 0));
}

// The input ended too early, by a fault of the file or by a read error.
CaptureReader::Step CaptureReader::cut_short(std::string problem)
{
    return input_.problem().empty() ? fault(std::move(problem), input_.end()) : failure();
}

CaptureReader::Step CaptureReader::failure()
{
    problem_ = input_.problem();
    return Step::failure;
}

CaptureReader::Step CaptureReader::fault(std::string problem, std::uint64_t end)
{
    problem_ = std::move(problem);
    fault_end_ = end;
    expected_start_ = end;
    is_seeking_ = true;
    previous_ = 0;
    input_.drop(1);
    return seek();
}

CaptureReader::Step CaptureReader::seek()
{
    auto const pause = input_.position() + slice;
    while (input_.fill(1) && !is_start()) {
        skip_one_or_zeros();
        if (input_.position() >= pause)
            return Step::seeking;
    }
    is_seeking_ = false;
    auto const next = input_.position();
    if (next < offset_)
        problem_ += fmt::format("; continues at byte {}, inside the previous frame", next);
    else if (!input_.fill(1) && next != fault_end_)
        problem_ += fmt::format("; skipped {} bytes, up to the end", next - offset_);
    else if (next != fault_end_)
        problem_ += fmt::format("; skipped {} bytes, up to byte {}", next - offset_, next);
    return Step::fault;
}

Varint CaptureReader::length_at(std::uint64_t at)
{
    auto length = read_varint(bytes_from(at));
    while (length.state == Varint::State::truncated && input_.fill(bytes_from(0).size() + 1))
        length = read_varint(bytes_from(at));
    return length;
}

// No frame starts with a zero byte. Files can have gigabytes of them, so they are skipped in one step.
void CaptureReader::skip_one_or_zeros()
{
    auto const bytes = bytes_from(0);
    std::uint64_t zeros = std::min(bytes.find_first_not_of('\0'), bytes.size());
    if (input_.position() < expected_start_)
        zeros = std::min(zeros, expected_start_ - input_.position());
    else if (input_.position() == expected_start_)
        expected_start_ += zeros;
    input_.drop(std::max<std::uint64_t>(zeros, 1));
}

bool CaptureReader::is_start()
{
    unsigned const needed = input_.position() == expected_start_ ? 1 : 3;
    unsigned known = 0;
    for (std::uint64_t at = 0; known < needed || input_.position() + at <= offset_;) {
        if (!input_.fill(at + 1))
            return known > 0;
        switch (candidate_at(at)) {
        case Candidate::known_report:
            ++known;
            break;
        case Candidate::other_report:
            if (known == 0)
                return false;
            break;
        case Candidate::beyond_look_ahead:
            return true;
        case Candidate::none:
            return false;
        }
    }
    return true;
}

/// Examines the bytes at `at`. Moves `at` to the end of the frame, if there is one.
CaptureReader::Candidate CaptureReader::candidate_at(std::uint64_t &at)
{
    auto const length = length_at(at);
    if (length.state != Varint::State::whole || length.value == 0 || length.value > max_frame_size)
        return Candidate::none;
    auto const start = at + length.size;
    auto const end = start + length.value;
    if (input_.has_ended() && end > bytes_from(0).size())
        return Candidate::none;

    FrameFields fields(length.value);
    auto state = FrameFields::State::incomplete;
    while ((state = fields.advance(bytes_from(start))) == FrameFields::State::incomplete) {
        auto const wanted = std::max<std::uint64_t>(bytes_from(0).size(), start + fields.next()) + 1;
        if (wanted > max_look_ahead || !input_.fill(wanted))
            return Candidate::none;
    }
    if (state != FrameFields::State::complete || !can_spend(0))
        return Candidate::none;
    if (end > max_look_ahead)
        return fields.ends_with_report() ? Candidate::beyond_look_ahead : Candidate::none;
    if (!input_.fill(end) || !can_spend(length.value + effort_per_frame) ||
        !parse(frame_, bytes_from(start).substr(0, length.value)))
        return Candidate::none;
    at = end;
    return has_valid_report(frame_) ? Candidate::known_report : Candidate::other_report;
}

/// Adds to the effort, unless that would exceed the limit. Returns whether it did.
bool CaptureReader::can_spend(std::uint64_t effort)
{
    if (effort_ + effort > free_effort + effort_per_byte * input_.end())
        return false;
    effort_ += effort;
    return true;
}

} // namespace tarnwick::program
