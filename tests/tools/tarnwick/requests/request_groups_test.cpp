#include "requests/request_groups.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <string>
#include <vector>

namespace tarnwick::program::request_groups_test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct Request {
    std::uint64_t number = 0;
    std::string reports;
};

/// Collects the reports of requests.
class RequestGroupsTest : public testing::Test {
protected:
    void start(std::uint64_t id, std::string const &report, Dialect dialect = Dialect::rpc)
    {
        groups_.of(id, dialect, true).reports += report;
    }
    void report(std::uint64_t id, std::string const &report, Dialect dialect = Dialect::rpc)
    {
        groups_.of(id, dialect, false).reports += report;
    }
    void begin_others(std::uint64_t count)
    {
        for (std::uint64_t i = 0; i < count; ++i)
            report(1'000'000 + next_++, "other");
    }
    std::vector<std::string> all()
    {
        groups_.close_all();
        return requests_;
    }

    std::vector<std::string> requests_;
    std::uint64_t next_ = 0;
    RequestGroups<Request> groups_{[this](Request const &request) {
        if (request.reports != "other")
            requests_.push_back(std::to_string(request.number) + ' ' + request.reports);
    }};
};

TEST_F(RequestGroupsTest, interleaved_requests_are_separated_in_the_order_of_first_reports)
{
    start(5, "a");
    start(0, "b");
    report(5, "c");
    report(0, "d");
    EXPECT_THAT(all(), ElementsAre("1 ac", "2 bd"));
}

TEST_F(RequestGroupsTest, both_dialects_are_one_request)
{
    start(5, "a", Dialect::rpc);
    start(5, "b", Dialect::protobuf);
    report(5, "c", Dialect::protobuf);
    EXPECT_THAT(all(), ElementsAre("1 abc"));
}

TEST_F(RequestGroupsTest, the_next_start_in_the_same_dialect_begins_another_request)
{
    start(5, "a", Dialect::rpc);
    start(5, "b", Dialect::protobuf);
    start(5, "c", Dialect::protobuf);
    start(5, "d", Dialect::rpc);
    EXPECT_THAT(all(), ElementsAre("1 ab", "2 cd"));
}

TEST_F(RequestGroupsTest, an_end_before_the_start_belongs_to_the_same_request)
{
    report(5, "end");
    start(5, "start");
    EXPECT_THAT(all(), ElementsAre("1 endstart"));
}

TEST_F(RequestGroupsTest, a_request_closes_when_4096_others_have_begun_since_its_last_report)
{
    start(5, "a");
    begin_others(10);
    report(5, "b");
    begin_others(4095);
    EXPECT_THAT(requests_, IsEmpty());
    report(5, "c");
    begin_others(4096);
    EXPECT_THAT(requests_, ElementsAre("1 abc"));
    report(5, "late");
    EXPECT_THAT(all(), ElementsAre("1 abc", "8203 late"));
}

TEST_F(RequestGroupsTest, closed_requests_wait_for_an_open_one_before_them)
{
    start(5, "a");
    start(6, "b");
    start(6, "c");
    EXPECT_THAT(requests_, IsEmpty());
    start(5, "d");
    EXPECT_THAT(requests_, ElementsAre("1 a", "2 b"));
}

TEST(RequestGroups, pass_requests_on_when_they_close_if_asked)
{
    std::vector<std::string> passed_on;
    using Groups = RequestGroups<Request>;
    Groups groups(
        [&](Request const &request) { passed_on.push_back(std::to_string(request.number) + ' ' + request.reports); },
        Groups::Order::closing);
    groups.of(5, Dialect::rpc, true).reports += "a";
    groups.of(6, Dialect::rpc, true).reports += "b";
    groups.of(6, Dialect::rpc, true).reports += "c";
    EXPECT_THAT(passed_on, ElementsAre("2 b"));
    groups.of(5, Dialect::protobuf, false).reports += "d";
    groups.close_all();
    EXPECT_THAT(passed_on, ElementsAre("2 b", "3 c", "1 ad"));
}

} // namespace
} // namespace tarnwick::program::request_groups_test
