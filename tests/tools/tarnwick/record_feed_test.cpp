#include "record_feed.h"

#include "tools/tarnwick/support/captures.h"
#include "tools/tarnwick/support/files.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <iterator>
#include <string>

namespace tarnwick::program {
namespace {

struct Fed {
    std::string problem;
    std::string records; ///< without their origin
};

Fed feed(test::Frame const &frame, bool all_records = false)
{
    test::MemoryFile const file;
    Output output(file.descriptor());
    RecordPrinter printer(output, {.json = true});
    RecordFeed feed(printer, all_records);
    auto problem = feed.feed(frame);
    output.flush();
    return {std::move(problem), file.content()};
}

std::string line(std::string const &dialect, std::string const &fields)
{
    return R"({"record":"php.RShutdown","frame":0,"offset":0,"dialect":")" + dialect + "\"," + fields + "}\n";
}

std::string const zeroes =
    R"("duration":{"seconds":0,"nanos":0},"response_status":0,"memory_0":0,"memory_1":0,"memory_2":0)";

TEST(RecordFeed, builds_the_records_of_a_php_reports_case_and_all_of_them_when_asked)
{
    std::string const envelope = "request_id { id: 7 } timestamp { seconds: 1 nanos: 2 } ";
    std::string const envelope_alone = line("rpc", R"("request_id":7,"timestamp":{"seconds":1,"nanos":2},)" + zeroes);
    std::string const end = line("rpc", R"("request_id":7,"timestamp":{"seconds":1,"nanos":2},)"
                                        R"("duration":{"seconds":3,"nanos":4},"response_status":404,)"
                                        R"("memory_0":5,"memory_1":6,"memory_2":-7)");
    struct Case {
        std::string name;
        std::string report;
        std::string records;
        std::string all_records;
    };
    Case const cases[] = {
        {"no case", "", "", envelope_alone},
        {"request start", "rinit { info { } }", "", envelope_alone},
        {"request end",
         "rshutdown { duration { seconds: 3 nanos: 4 } response { status: 404 } "
         "memory { value_0: 5 value_1: 6 value_2: -7 } }",
         end, end},
        {"empty request end", "rshutdown { }", envelope_alone, envelope_alone},
        {"error", "error { error { } }", "", envelope_alone},
    };
    for (auto const &[name, report, records, all_records] : cases) {
        SCOPED_TRACE(name);
        auto const frame = test::rpc_php_frame_of(envelope + report);
        EXPECT_EQ(feed(frame).problem, "");
        EXPECT_EQ(feed(frame).records, records);
        EXPECT_EQ(feed(frame, true).problem, "");
        EXPECT_EQ(feed(frame, true).records, all_records);
    }
}

TEST(RecordFeed, takes_a_php_report_of_an_unknown_case_for_one_without_a_case)
{
    auto const frame = test::rpc_php_frame(test::field_head(6, 0));
    EXPECT_EQ(feed(frame).records, "");
    EXPECT_EQ(feed(frame, true).records,
              line("rpc", R"("request_id":0,"timestamp":{"seconds":0,"nanos":0},)" + zeroes));
}

TEST(RecordFeed, takes_the_request_id_of_the_protobuf_dialect_from_the_frame)
{
    auto const frame = test::rshutdown_frame_of(18446744073709551615ULL, "memory_1: 5");
    auto const expected = line("protobuf", R"("request_id":18446744073709551615,"timestamp":{"seconds":0,"nanos":0},)"
                                           R"("duration":{"seconds":0,"nanos":0},"response_status":0,)"
                                           R"("memory_0":0,"memory_1":5,"memory_2":0)");
    EXPECT_EQ(feed(frame).records, expected);
    EXPECT_EQ(feed(frame, true).records, expected);
}

TEST(RecordFeed, does_not_take_the_request_id_of_the_rpc_dialect_from_the_frame)
{
    auto frame = test::rpc_php_frame_of("request_id { id: 7 } rshutdown { }");
    frame.set_request_id(8);
    EXPECT_NE(feed(frame).records.find(R"("request_id":7,)"), std::string::npos);
}

TEST(RecordFeed, says_that_a_report_is_not_the_message_that_it_claims_to_be)
{
    std::string const cases[] = {
        "\xff",                                                               // a tag without an end
        "\x0c",                                                               // the end of a group that never began
        test::field_head(test::PhpReport::kRshutdownFieldNumber, 5),          // a message that lacks its bytes
        test::field_head(test::PhpReport::kRshutdownFieldNumber, 1) + '\xff', // a message that is none
        test::nested_report(static_cast<std::size_t>(RecordFeed::max_depth)) + "\xff",
    };
    for (auto const &report : cases) {
        auto const fed = feed(test::rpc_php_frame(report), true);
        EXPECT_EQ(fed.problem, "its report is not a tarnwick.rpc.php.v1.NotifyRequest");
        EXPECT_EQ(fed.records, "");
    }
    test::Frame frame;
    frame.set_rshutdown("\xff");
    EXPECT_EQ(feed(frame).problem, "its report is not a pelorin.protobuf.PelorinPHP.RShutdownData");
}

TEST(RecordFeed, reads_a_report_as_deep_as_php_sends_them)
{
    constexpr std::size_t arrays = 64;
    auto const fed = feed(test::rpc_php_frame(test::nested_report(2 + 3 * arrays)));
    EXPECT_EQ(fed.problem, "");
    EXPECT_NE(fed.records, "");
}

TEST(RecordFeed, reads_a_report_as_deep_as_its_limit_and_no_deeper)
{
    auto const limit = static_cast<std::size_t>(RecordFeed::max_depth);
    auto const at_limit = feed(test::rpc_php_frame(test::nested_report(limit)));
    EXPECT_EQ(at_limit.problem, "");
    EXPECT_NE(at_limit.records, "");
    for (std::size_t const depth : {limit + 1, 2 * limit, std::size_t{300'000}}) {
        auto const deeper = feed(test::rpc_php_frame(test::nested_report(depth)));
        EXPECT_EQ(deeper.problem, "its tarnwick.rpc.php.v1.NotifyRequest has more than 1600 messages in each other");
        EXPECT_EQ(deeper.records, "");
    }
}

TEST(RecordFeed, finds_depth_beside_other_fields)
{
    auto const deep = test::nested_report(static_cast<std::size_t>(RecordFeed::max_depth) + 1);
    auto const shallow = test::nested_report(20);
    EXPECT_EQ(feed(test::rpc_php_frame(shallow + test::padding(9) + deep + shallow)).problem,
              "its tarnwick.rpc.php.v1.NotifyRequest has more than 1600 messages in each other");
}

TEST(RecordFeed, begins_anew_with_each_frame)
{
    test::MemoryFile const file;
    Output output(file.descriptor());
    RecordPrinter printer(output, {.json = true});
    RecordFeed feed(printer, false);
    EXPECT_EQ(feed.feed(test::rpc_php_frame_of("request_id { id: 7 } rshutdown { memory { value_0: 5 } }")), "");
    EXPECT_NE(feed.feed(test::rpc_php_frame("\xff")), "");
    EXPECT_EQ(feed.feed(test::rpc_php_frame_of("rshutdown { }")), "");
    output.flush();
    EXPECT_TRUE(
        file.content().ends_with("\n" + line("rpc", R"("request_id":0,"timestamp":{"seconds":0,"nanos":0},)" + zeroes)))
        << file.content();
}

TEST(RecordFeed, says_of_every_kind_of_report_when_it_is_none)
{
    auto const &oneof = *test::Frame::descriptor()->FindOneofByName("report");
    std::string const opaque[] = {"rpc_data", "rpc_add_data", "ct_data", "ct_add_data"};
    int said = 0;
    for (int i = 0; i < oneof.field_count(); ++i) {
        auto const &field = *oneof.field(i);
        SCOPED_TRACE(field.name());
        test::Frame frame;
        frame.GetReflection()->SetString(&frame, &field, "\xff");
        if (std::ranges::find(opaque, field.name()) != std::end(opaque)) {
            EXPECT_EQ(feed(frame).problem, "");
        } else {
            EXPECT_THAT(feed(frame).problem, testing::StartsWith("its report is not a "));
            ++said;
        }
        frame.GetReflection()->SetString(&frame, &field, "");
        EXPECT_EQ(feed(frame).problem, "");
    }
    EXPECT_EQ(said, 20);
}

} // namespace
} // namespace tarnwick::program
