// The check of received messages, compared with protobuf's parser.

#include "tools/tarnwick/support/captures.h"

#include "live/frame_check.h"
#include "live/started_requests.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace tarnwick::test::frame_check_test {
namespace {

using program::check_frame;
using program::Dialect;
using program::StartedRequests;

void expect_as_parsed(std::string const &bytes)
{
    Frame frame;
    bool const is_frame = !bytes.empty() && frame.ParseFromString(bytes);
    auto const checked = check_frame(bytes);
    ASSERT_EQ(checked.has_value(), is_frame) << testing::PrintToString(bytes);
    if (!is_frame)
        return;
    std::optional<std::uint64_t> expected;
    PhpReport report;
    if (frame.has_rinit())
        expected = frame.request_id();
    else if (frame.has_rpc_php() && !report.ParseFromString(frame.rpc_php()))
        return; // a start counts even if its content does not parse
    else if (report.has_rinit())
        expected = report.request_id().id();
    EXPECT_EQ(checked->start ? std::optional(checked->start->request_id) : std::nullopt, expected)
        << testing::PrintToString(bytes);
}

TEST(FrameCheck, accepts_what_protobuf_parses)
{
    auto start = rpc_php_frame_of("request_id { id: 7 } timestamp { seconds: 1 } rinit { info { } }");
    start.mutable_received()->set_seconds(1'800'000'000);
    start.mutable_received()->set_nanos(5);
    Frame protobuf_start;
    protobuf_start.set_request_id(UINT64_MAX);
    protobuf_start.set_rinit("x");
    protobuf_start.set_skip(-1);
    protobuf_start.set_more(true);
    std::string const group = "\x0b\x08\x01\x0c";
    std::vector<std::string> const seeds{
        "",
        start.SerializeAsString(),
        protobuf_start.SerializeAsString(),
        start.SerializeAsString() + protobuf_start.SerializeAsString(),
        protobuf_start.SerializeAsString() + start.SerializeAsString(),
        rpc_php_frame_of("request_id { id: 7 } rshutdown {}").SerializeAsString(),
        group + start.SerializeAsString(),
        field_head(2, group.size()) + group,
        std::string(100, '\x0b') + std::string(100, '\x0c'),
        std::string(101, '\x0b') + std::string(101, '\x0c'),
        field_head(2, 200) + std::string(100, '\x0b') + std::string(100, '\x0c'),
        field_head(2, 198) + std::string(99, '\x0b') + std::string(99, '\x0c'),
        std::string("\x88\x80\x80\x80\x00\x01", 6),
        std::string("\x88\x80\x80\x80\x80\x00\x01", 7),
        std::string("\x00\x01", 2),
        std::string("\x09") + "12345678" + std::string("\x0d") + "1234",
        field_head(4'000'000, 3) + "abc",
    };
    std::mt19937 random(1); // NOLINT(bugprone-random-generator-seed): the same each time
    for (auto const &seed : seeds) {
        expect_as_parsed(seed);
        for (int round = 0; round < 2'000 && !seed.empty(); ++round) {
            auto bytes = seed;
            for (auto changes = 1 + random() % 3; changes > 0 && !bytes.empty(); --changes) {
                auto const at = random() % bytes.size();
                switch (random() % 4) {
                case 0:
                    bytes.erase(at, 1);
                    break;
                case 1:
                    bytes.insert(at, 1, static_cast<char>(random() % 256));
                    break;
                case 2:
                    bytes[at] = static_cast<char>(random() % 256);
                    break;
                default:
                    bytes[at] = static_cast<char>(bytes[at] ^ (1 << random() % 8));
                }
            }
            expect_as_parsed(bytes);
            ASSERT_FALSE(testing::Test::HasFailure());
        }
    }
}

TEST(StartedRequests, forgets_a_start_after_a_number_of_others)
{
    for (auto const others : {StartedRequests::remembered - 1, StartedRequests::remembered}) {
        StartedRequests requests;
        requests.add({.request_id = 0, .dialect = Dialect::rpc});
        for (std::uint64_t id = 1; id <= others; ++id)
            requests.add({.request_id = id, .dialect = Dialect::rpc});
        requests.add({.request_id = 0, .dialect = Dialect::protobuf});
        EXPECT_EQ(requests.count(), others == StartedRequests::remembered ? others + 2 : others + 1);
    }
}

TEST(StartedRequests, counts_each_start_of_one_dialect)
{
    StartedRequests requests;
    for (auto const dialect : {Dialect::rpc, Dialect::rpc, Dialect::protobuf, Dialect::protobuf, Dialect::rpc})
        requests.add({.request_id = 1, .dialect = dialect});
    EXPECT_EQ(requests.count(), 3U);
}

} // namespace
} // namespace tarnwick::test::frame_check_test
