// Requests of --request that the captures do not have.

#include "support/config_files.h"
#include "tools/tarnwick/support/captures.h"
#include "tools/tarnwick/support/program.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <cstdint>
#include <string>
#include <vector>

namespace tarnwick::test::missing_requests_test {
namespace {

using testing::HasSubstr;
using testing::Not;

std::string starts(std::uint64_t count)
{
    std::string capture;
    for (std::uint64_t id = 1; id <= count; ++id)
        capture += delimited(rpc_php_frame_of(fmt::format("request_id {{ id: {} }} rinit {{ }}", id)));
    return capture;
}

class MissingRequests : public testing::TestWithParam<std::vector<std::string>> {
protected:
    [[nodiscard]] Outcome run_with(std::vector<std::string> const &options, std::uint64_t requests) const
    {
        auto arguments = GetParam();
        arguments.insert(arguments.end(), options.begin(), options.end());
        return run({.arguments = arguments}, starts(requests));
    }
};

TEST_P(MissingRequests, are_reported_with_ids_that_there_are)
{
    auto const outcome = run_with({"--request=2", "--request=8", "--request=9"}, 3);
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.err, HasSubstr("tarnwick: no request has the id 8; the ids of requests are 1, 2, 3\n"
                                       "tarnwick: no request has the id 9; the ids of requests are 1, 2, 3\n"));
}

TEST_P(MissingRequests, are_reported_with_ten_ids_at_most)
{
    EXPECT_THAT(run_with({"--request=99"}, 11).err,
                HasSubstr("the ids of requests are 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, ...\n"));
}

TEST_P(MissingRequests, are_none_if_all_chosen_ids_exist)
{
    EXPECT_THAT(run_with({"--request=2", "--request=3"}, 3).err, Not(HasSubstr("no request")));
}

INSTANTIATE_TEST_SUITE_P(Commands, MissingRequests,
                         testing::Values(std::vector<std::string>{"inspect"}, std::vector<std::string>{"ls"},
                                         std::vector<std::string>{"report"}, std::vector<std::string>{"statements"},
                                         std::vector<std::string>{"query", "SELECT 1"}),
                         [](auto const &command) { return command.param.front(); });

TEST(MissingRequest, of_inspect_is_not_reported_if_the_capture_is_not_read_to_its_end)
{
    EXPECT_EQ(run({.arguments = {"inspect", "--request=1", "--request=9", "--top=1"}}, starts(3)).status, 0);
}

TEST(MissingRequest, of_export_is_reported)
{
    ConfigFolder const folder;
    auto const outcome = run({.arguments = {"export", "-o", folder.path() + "/a.db", "--request=9"}}, starts(1));
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.err, "tarnwick: no request has the id 9; the ids of requests are 1\n");
}

} // namespace
} // namespace tarnwick::test::missing_requests_test
