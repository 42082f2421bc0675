#include "capture_reader.h"

#include <fmt/format.h>

#include <cstring>
#include <utility>

namespace tarnwick::program {

CaptureReader::Step CaptureReader::next()
{
    offset_ = input_.position();
    if (input_.at_end())
        return input_.error() == 0 ? Step::end : cut_short({});
    ++number_;

    std::uint64_t length = 0;
    switch (read_length(length)) {
    case Length::whole:
        break;
    case Length::truncated:
        return cut_short("the file ends inside the length of this frame");
    case Length::too_large:
        return fault("the length of this frame is over 1 GiB", Step::last_fault);
    }
    if (length == 0)
        return fault("the length of this frame is 0", Step::fault);

    read_body(length);
    if (body_.size() < length)
        return cut_short(
            fmt::format("the file ends inside this frame, after {} of its {} bytes", body_.size(), length));
    if (!frame_.ParseFromString(body_))
        return fault("this is not a frame", Step::fault);
    return Step::frame;
}

CaptureReader::Length CaptureReader::read_length(std::uint64_t &length)
{
    constexpr unsigned group_bits = 7;
    constexpr unsigned max_groups = 10;
    for (unsigned group = 0; group < max_groups; ++group) {
        auto const next = input_.take(1);
        if (next.empty())
            return Length::truncated;
        auto const byte = static_cast<unsigned char>(next.front());
        auto const bits = std::uint64_t{byte & 0x7fU};
        length |= bits << (group * group_bits);
        // The last group has room for one bit.
        if (group == max_groups - 1 && bits > 1)
            return Length::too_large;
        if ((byte & 0x80U) == 0)
            return length > max_frame_size ? Length::too_large : Length::whole;
    }
    return Length::too_large;
}

void CaptureReader::read_body(std::uint64_t length)
{
    body_.clear();
    while (body_.size() < length) {
        auto const bytes = input_.take(length - body_.size());
        if (bytes.empty())
            return;
        body_.append(bytes);
    }
}

// Reading came to an end before its time: the file is at fault, or the file cannot be read further.
CaptureReader::Step CaptureReader::cut_short(std::string problem)
{
    if (input_.error() == 0)
        return fault(std::move(problem), Step::last_fault);
    problem_ = std::strerror(input_.error()); // NOLINT(concurrency-mt-unsafe): the program has one thread
    return Step::failure;
}

CaptureReader::Step CaptureReader::fault(std::string problem, Step step)
{
    problem_ = std::move(problem);
    return step;
}

} // namespace tarnwick::program
