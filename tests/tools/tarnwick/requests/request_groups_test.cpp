#include "requests/request_groups.h"

#include <gmock/gmock.h>

#include <chrono>
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

/// Requests in the order of closing, at times that a test sets.
class ClosingRequestsTest : public testing::Test {
protected:
    using Groups = RequestGroups<Request>;

    void report(std::uint64_t id, std::string const &report, bool is_start = false)
    {
        groups_.close_due(now_);
        groups_.of(id, Dialect::rpc, is_start).reports += report;
    }
    void start(std::uint64_t id, std::string const &text) { report(id, text, true); }
    void end(std::uint64_t id, std::string const &text)
    {
        report(id, text);
        groups_.end(id, now_);
    }
    void wait(std::chrono::milliseconds time)
    {
        now_ += time;
        groups_.close_due(now_);
    }

    std::vector<std::string> requests_;
    Groups::Time now_;
    Groups groups_{
        [this](Request const &request) { requests_.push_back(std::to_string(request.number) + ' ' + request.reports); },
        Groups::Order::closing};
};

using std::chrono_literals::operator""ms;

TEST_F(ClosingRequestsTest, a_request_closes_one_second_after_its_end)
{
    start(5, "a");
    wait(5000ms);
    end(5, "b");
    wait(500ms);
    report(5, "c");
    wait(499ms);
    EXPECT_THAT(requests_, IsEmpty());
    wait(1ms);
    EXPECT_THAT(requests_, ElementsAre("1 abc"));
    groups_.close_all();
    EXPECT_THAT(requests_, ElementsAre("1 abc"));
}

TEST_F(ClosingRequestsTest, the_end_in_the_other_dialect_counts_again)
{
    end(5, "a");
    wait(600ms);
    end(5, "b");
    wait(999ms);
    EXPECT_THAT(requests_, IsEmpty());
    wait(1ms);
    EXPECT_THAT(requests_, ElementsAre("1 ab"));
}

TEST_F(ClosingRequestsTest, requests_are_passed_on_in_the_order_of_closing)
{
    start(5, "a");
    start(6, "b");
    start(7, "c");
    end(7, "d");
    wait(10ms);
    end(5, "e");
    wait(1000ms);
    EXPECT_THAT(requests_, ElementsAre("3 cd", "1 ae"));
    groups_.close_all();
    EXPECT_THAT(requests_, ElementsAre("3 cd", "1 ae", "2 b"));
}

TEST_F(ClosingRequestsTest, an_end_before_the_start_closes_the_request)
{
    end(5, "end");
    start(5, "start");
    wait(1000ms);
    EXPECT_THAT(requests_, ElementsAre("1 endstart"));
}

TEST_F(ClosingRequestsTest, a_report_after_closing_begins_another_request)
{
    start(5, "a");
    end(5, "b");
    now_ += 1000ms;
    report(5, "late");
    EXPECT_THAT(requests_, ElementsAre("1 ab"));
    wait(100'000ms);
    groups_.close_all();
    EXPECT_THAT(requests_, ElementsAre("1 ab", "2 late"));
}

TEST_F(ClosingRequestsTest, the_next_start_closes_a_request_that_ended_and_not_the_next_one)
{
    start(5, "a");
    end(5, "b");
    start(5, "c");
    EXPECT_THAT(requests_, ElementsAre("1 ab"));
    wait(1000ms);
    EXPECT_THAT(requests_, ElementsAre("1 ab"));
    end(5, "d");
    wait(1000ms);
    EXPECT_THAT(requests_, ElementsAre("1 ab", "2 cd"));
}

TEST_F(ClosingRequestsTest, a_request_without_an_end_closes_when_4096_others_have_begun)
{
    start(5, "a");
    for (std::uint64_t id = 0; id < 4096; ++id)
        report(100 + id, "other");
    EXPECT_THAT(requests_, ElementsAre("1 a"));
}

} // namespace
} // namespace tarnwick::program::request_groups_test
