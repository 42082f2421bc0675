#include "live/stream_frame.h"

#include "tools/tarnwick/support/captures.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace tarnwick::program {
namespace {

TEST(StreamFrameTest, adds_its_place_to_the_bytes_of_a_message)
{
    auto const message = test::rpc_php_frame("\xff").SerializeAsString();
    for (StreamPlace const place : {StreamPlace{1, 1}, StreamPlace{7, 128}, StreamPlace{UINT32_MAX, UINT64_MAX}}) {
        auto const bytes = stream_frame(message, place);
        capture::v1::Frame frame;
        EXPECT_TRUE(frame.ParseFromString(bytes));
        EXPECT_TRUE(bytes.starts_with(message));
        EXPECT_EQ(frame.stream(), place.stream);
        EXPECT_EQ(frame.stream_sequence(), place.sequence);
        EXPECT_EQ(frame.rpc_php(), "\xff");
    }
}

TEST(StreamFrameTest, replaces_the_place_in_another_stream)
{
    auto const first = stream_frame(test::rpc_php_frame("").SerializeAsString(), {.stream = 1, .sequence = 7});
    capture::v1::Frame frame;
    EXPECT_TRUE(frame.ParseFromString(stream_frame(first, {.stream = 2, .sequence = 8})));
    EXPECT_EQ(frame.stream(), 2U);
    EXPECT_EQ(frame.stream_sequence(), 8U);
}

} // namespace
} // namespace tarnwick::program
