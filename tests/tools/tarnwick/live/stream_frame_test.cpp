#include "live/stream_frame.h"

#include "capture/capture_reader.h"
#include "tools/tarnwick/support/captures.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace tarnwick::program {
namespace {

capture::v1::Frame parsed(std::string const &delimited)
{
    auto const length = read_varint(delimited);
    capture::v1::Frame frame;
    EXPECT_EQ(length.size + length.value, delimited.size());
    EXPECT_TRUE(frame.ParseFromString(delimited.substr(length.size)));
    return frame;
}

TEST(StreamFrameTest, adds_the_number_to_the_bytes_of_the_message)
{
    auto const message = test::rpc_php_frame("\xff").SerializeAsString();
    for (std::uint64_t const sequence : {std::uint64_t{1}, std::uint64_t{128}, UINT64_MAX}) {
        auto const frame = parsed(stream_frame(message, sequence));
        EXPECT_EQ(frame.stream_sequence(), sequence);
        EXPECT_EQ(frame.rpc_php(), "\xff");
    }
}

TEST(StreamFrameTest, replaces_the_number_of_another_stream)
{
    auto frame = test::rpc_php_frame("");
    frame.set_stream_sequence(7);
    EXPECT_EQ(parsed(stream_frame(frame.SerializeAsString(), 8)).stream_sequence(), 8U);
}

} // namespace
} // namespace tarnwick::program
