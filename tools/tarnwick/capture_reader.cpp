#include "capture_reader.h"

#include <google/protobuf/io/coded_stream.h>

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace tarnwick::program {

CaptureReader::Step CaptureReader::next()
{
    offset_ = bytes_read();
    if (at_end())
        return stream_.GetErrno() == 0 ? Step::end : fail();
    ++number_;

    std::uint64_t length = 0;
    switch (read_length(length)) {
    case Length::whole:
        break;
    case Length::truncated:
        if (stream_.GetErrno() != 0)
            return fail();
        return fault("the file ends inside the length of this frame", Step::last_fault);
    case Length::too_large:
        return fault("the length of this frame is over 1 GiB", Step::last_fault);
    }
    if (length == 0)
        return fault("the length of this frame is 0", Step::fault);

    read_body(length);
    if (body_.size() < length) {
        if (stream_.GetErrno() != 0)
            return fail();
        return fault(fmt::format("the file ends inside this frame, after {} of its {} bytes", body_.size(), length),
                     Step::last_fault);
    }
    if (!frame_.ParseFromString(body_))
        return fault("this is not a frame", Step::fault);
    return Step::frame;
}

bool CaptureReader::at_end()
{
    void const *data = nullptr;
    int size = 0;
    if (!stream_.Next(&data, &size))
        return true;
    stream_.BackUp(size);
    return false;
}

CaptureReader::Length CaptureReader::read_length(std::uint64_t &length)
{
    google::protobuf::io::CodedInputStream coded(&stream_);
    if (coded.ReadVarint64(&length))
        return length > max_frame_size ? Length::too_large : Length::whole;
    // Ten bytes without an end are no length; fewer are one that the file cuts short.
    return coded.CurrentPosition() >= 10 ? Length::too_large : Length::truncated;
}

void CaptureReader::read_body(std::uint64_t length)
{
    body_.clear();
    void const *data = nullptr;
    int size = 0;
    while (body_.size() < length && stream_.Next(&data, &size)) {
        auto const wanted = static_cast<int>(std::min<std::uint64_t>(length - body_.size(), static_cast<std::uint64_t>(size)));
        body_.append(static_cast<char const *>(data), static_cast<std::size_t>(wanted));
        stream_.BackUp(size - wanted);
    }
}

CaptureReader::Step CaptureReader::fail()
{
    problem_ = std::strerror(stream_.GetErrno());
    return Step::failure;
}

CaptureReader::Step CaptureReader::fault(std::string problem, Step step)
{
    problem_ = std::move(problem);
    return step;
}

} // namespace tarnwick::program
