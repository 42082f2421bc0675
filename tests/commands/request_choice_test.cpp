// Requests that are chosen by their records, and by an order.

#include "tools/tarnwick/support/captures.h"
#include "tools/tarnwick/support/program.h"

#include <tarnwick/rpc/glimmet/v1/notify_request.pb.h>

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::test::request_choice_test {
namespace {

using testing::HasSubstr;

std::string php(std::uint64_t id, std::string_view report)
{
    return delimited(rpc_php_frame_of(fmt::format("request_id {{ id: {} }} {}", id, report)));
}

/// Returns the reports of a request to `/r`, `/rr`, ..., with one statement.
std::string request(std::uint64_t id, int milliseconds, std::string const &other_reports)
{
    Frame queries;
    queries.set_rpc_glimmet(wire<rpc::glimmet::v1::NotifyRequest>(fmt::format(
        "request_id {{ id: {} }} sql_queries {{ queries {{ text: 'SELECT {}' }} }}", id, std::string(id, 'r'))));
    return php(id, fmt::format("rinit {{ request {{ text_0: 'GET' text_1: '/{}' }} }}", std::string(id, 'r'))) +
           delimited(queries) + other_reports +
           php(id, fmt::format("rshutdown {{ response {{ status: 200 }} duration {{ nanos: {} }} }}",
                               milliseconds * 1'000'000));
}

std::string chunk_of(std::uint64_t id)
{
    Frame frame;
    frame.set_request_id(id);
    frame.set_ct_data("function names");
    return delimited(frame);
}

std::string const error_of_1 = php(1, "error { }");
std::string const error_of_2 = delimited(error_frame_of(2, ""));
/// Requests with an error in the rpc dialect, an error in the protobuf dialect, and a code trace.
std::string const requests = request(1, 20, error_of_1) + request(2, 500, error_of_2) + request(3, 90, chunk_of(3));

/// A command that prints one line for each request, as the id or as other text.
struct Listing {
    std::string name;
    std::vector<std::string> arguments;
    std::vector<std::string> lines; ///< of each request
};

std::vector<Listing> const listings{
    {"ls", {"ls", "--columns=request_id"}, {"1", "2", "3"}},
    {"statements", {"statements", "--columns=statement", "--sort=statement"}, {"SELECT r", "SELECT rr", "SELECT rrr"}},
    {"query", {"query", "SELECT request_id FROM requests ORDER BY 1"}, {"1", "2", "3"}},
};

/// Runs a command and returns what it prints after the titles.
std::string listed(Listing const &listing, std::vector<std::string> const &options)
{
    auto arguments = listing.arguments;
    arguments.emplace_back("--format=csv");
    arguments.insert(arguments.end(), options.begin(), options.end());
    auto const outcome = run({.arguments = arguments}, requests);
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, 0);
    return outcome.out.substr(outcome.out.find('\n') + 1);
}

struct Choice {
    std::string name;
    std::vector<std::string> options;
    std::vector<std::size_t> ids;
};

std::vector<Choice> const by_record{
    {"of_either_dialect", {"--record=ErrorData"}, {1, 2}},
    {"with_its_family", {"--record=php.ErrorData"}, {1, 2}},
    {"of_one_dialect", {"--record=ErrorData", "--dialect=rpc"}, {1}},
    {"of_a_request", {"--record=ErrorData", "--request=2", "--request=3"}, {2}},
    {"chunk_of_a_trace", {"--record=codetrace.Data"}, {3}},
    {"several", {"--record=ErrorData", "--record=codetrace.Data"}, {1, 2, 3}},
    {"that_all_requests_have", {"--record=RInit"}, {1, 2, 3}},
    {"that_no_request_has", {"--record=Storage"}, {}},
};

class RequestChoice : public testing::TestWithParam<std::tuple<Listing, std::string>> {};

TEST_P(RequestChoice, looks_for_records)
{
    auto const &[listing, mask] = GetParam();
    for (auto const &choice : by_record) {
        auto options = choice.options;
        options.push_back("--mask=" + mask);
        std::string expected;
        for (auto const id : choice.ids)
            expected += listing.lines[id - 1] + "\r\n";
        EXPECT_EQ(listed(listing, options), expected) << choice.name;
    }
}

INSTANTIATE_TEST_SUITE_P(Commands, RequestChoice,
                         testing::Combine(testing::ValuesIn(listings), testing::Values("default", "none")),
                         [](auto const &test) {
                             return fmt::format("{}_with_mask_{}", std::get<0>(test.param).name,
                                                std::get<1>(test.param));
                         });

TEST(RequestChoices, of_show_are_the_requests_with_a_record)
{
    EXPECT_THAT(run({.arguments = {"show", "--format=text", "--record=ErrorData", "slowest"}}, requests).out,
                HasSubstr("/rr  200"));
    EXPECT_THAT(run({.arguments = {"show", "--format=text", "--record=codetrace.Data", "slowest"}}, requests).out,
                HasSubstr("/rrr  200"));
    EXPECT_THAT(run({.arguments = {"show", "--record=ErrorData", "3"}}, requests).err,
                HasSubstr("the request does not fulfil the conditions"));
}

TEST(RequestChoices, of_query_are_the_first_of_an_order)
{
    struct Row {
        std::vector<std::string> options;
        std::string ids;
    };
    for (auto const &[options, ids] : std::vector<Row>{
             {{"--top=2"}, "1\r\n2\r\n"},
             {{"--top=1", "--sort=duration"}, "1\r\n"},
             {{"--top=2", "--sort=duration:desc"}, "2\r\n3\r\n"},
             {{"--top=1", "--sort=duration:desc", "--where=duration<100ms"}, "3\r\n"},
             {{"--top=1", "--sort=duration:desc", "--record=codetrace.Data"}, "3\r\n"},
             {{"--sort=duration"}, "1\r\n2\r\n3\r\n"},
             {{"--top=0"}, ""},
         })
        EXPECT_EQ(listed(listings.back(), options), ids) << testing::PrintToString(options);
}

} // namespace
} // namespace tarnwick::test::request_choice_test
