#include "capture/record_feed.h"
#include "capture/report_parser.h"
#include "print/record_selection.h"

#include "tools/tarnwick/support/captures.h"
#include "tools/tarnwick/support/feed.h"
#include "tools/tarnwick/support/files.h"

#include <pelorin/protobuf/Glimmet/bodies.pb.h>
#include <pelorin/protobuf/Glimmet/error.pb.h>
#include <pelorin/protobuf/Glimmet/headers.pb.h>
#include <pelorin/protobuf/Glimmet/superglobals.pb.h>
#include <pelorin/protobuf/Monitor/superglobals.pb.h>
#include <pelorin/protobuf/PelorinPHP/rinit_data.pb.h>

#include <gmock/gmock.h>

#include <QtCore/QByteArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QString>

#include <algorithm>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

namespace tarnwick::program::record_feed_test {
namespace {

using test::feed;

std::string line(std::string const &dialect, std::string const &fields)
{
    return R"({"record":"php.RShutdown","frame":0,"offset":0,"dialect":")" + dialect + "\"," + fields + "}\n";
}

/// Returns the name, dialect and view of each printed record.
std::vector<std::string> names(std::string const &records)
{
    std::vector<std::string> found;
    std::istringstream lines(records);
    for (std::string line; std::getline(lines, line);) {
        auto const record = QJsonDocument::fromJson(QByteArray::fromStdString(line)).object();
        auto name = record[QStringLiteral("record")].toString() + u' ' + record[QStringLiteral("dialect")].toString();
        if (record.contains(QStringLiteral("view")))
            name += u' ' + record[QStringLiteral("view")].toString();
        found.push_back(name.toStdString());
    }
    return found;
}

using Names = std::vector<std::string>;

Names operator+(Names left, Names const &right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

Names const start_records{"php.RInit rpc", "php.RequestHeaders rpc", "php.Superglobals rpc init", "php.PostData rpc"};
Names const end_records{"php.RShutdown rpc", "php.ResponseHeaders rpc", "php.Superglobals rpc change",
                        "php.ResponseBody rpc"};
Names const error_records{"php.ErrorData rpc"};

TEST(RecordFeed, prints_the_records_of_a_php_case_or_all)
{
    struct Case {
        std::string report;
        Names records;
    };
    Case const cases[] = {
        {"", {}},
        {"rinit { info { } }", start_records},
        {"rinit { }", start_records},
        {"rshutdown { response { status: 404 } }", end_records},
        {"rshutdown { }", end_records},
        {"error { error { } }", error_records},
        {"error { }", error_records},
    };
    for (auto const &[report, records] : cases) {
        SCOPED_TRACE(report);
        auto const frame = test::rpc_php_frame_of("request_id { id: 7 }" + report);
        EXPECT_EQ(feed(frame).fault, std::nullopt);
        EXPECT_EQ(names(feed(frame).records), records);
        EXPECT_EQ(feed(frame, true).fault, std::nullopt);
        EXPECT_EQ(names(feed(frame, true).records), start_records + end_records + error_records);
    }
}

/// Returns the line of a record of request 7 without its frame.
std::string of_request_7(std::string const &record, std::string const &view, std::string const &fields)
{
    return R"({"record":"php.)" + record + R"(","frame":0,"offset":0,"dialect":"rpc",)" +
           (view.empty() ? "" : R"("view":")" + view + "\",") + R"("request_id":7,)" + fields + "}\n";
}

TEST(RecordFeed, builds_both_views_of_superglobals_from_their_own_reports)
{
    std::string const array = R"(superglobals { elements { string_key: "g" value { bool_value: true } } })";
    std::string const values = R"("values":[[{"kind":"string","value":"g"},{"kind":"bool","value":true}]])";
    auto const result = [&](std::string const &member) {
        return feed(test::rpc_php_frame_of("request_id { id: 7 } " + member + " {" + array + "}"), true).records;
    };
    auto const start = result("rinit");
    EXPECT_THAT(start, testing::HasSubstr(of_request_7("Superglobals", "init", values)));
    EXPECT_THAT(start, testing::HasSubstr(of_request_7("Superglobals", "change", R"("values":[])")));
    auto const end = result("rshutdown");
    EXPECT_THAT(end, testing::HasSubstr(of_request_7("Superglobals", "init", R"("values":[])")));
    EXPECT_THAT(end, testing::HasSubstr(of_request_7("Superglobals", "change", values)));
}

TEST(RecordFeed, prints_the_details_of_errors_and_exceptions)
{
    auto const result = [&](std::string const &report) {
        return feed(test::rpc_php_frame_of("request_id { id: 7 } " + report), true).records;
    };
    std::string const no_time = R"("timestamp":{"seconds":0,"nanos":0},)";
    std::string const no_place = R"("location":null,"stack_trace":null)";
    EXPECT_THAT(result("rinit { }"), testing::EndsWith(of_request_7(
                                         "ErrorData", "", no_time + R"("message":null,"details":null,)" + no_place)));
    EXPECT_THAT(result("error { error { message: 'm' type { name: 'E_WARNING' number: 2 } category: CATEGORY_2 } }"),
                testing::EndsWith(of_request_7(
                    "ErrorData", "",
                    no_time + R"("message":"m","details":{"Error":{"category":2,"number":2,"name":"E_WARNING"}},)" +
                        no_place)));
    EXPECT_THAT(
        result("error { exception { exception_name: 'LogicException' exception_text: 't' message: 'm' } }"),
        testing::EndsWith(of_request_7(
            "ErrorData", "",
            no_time +
                R"("message":"m","details":{"Exception":{"exception_name":"LogicException","exception_text":"t"}},)" +
                no_place)));
}

TEST(RecordFeed, builds_a_request_end_from_its_message)
{
    auto const frame = test::rpc_php_frame_of(R"(
        request_id { id: 7 }
        timestamp { seconds: 1 nanos: 2 }
        rshutdown {
            duration { seconds: 3 nanos: 4 }
            response { status: 404 }
            memory { value_0: 5 value_1: 6 value_2: -7 }
        })");
    EXPECT_TRUE(feed(frame).records.starts_with(line("rpc", R"("request_id":7,"timestamp":{"seconds":1,"nanos":2},)"
                                                            R"("duration":{"seconds":3,"nanos":4},)"
                                                            R"("response_status":404,)"
                                                            R"("memory_0":5,"memory_1":6,"memory_2":-7)")));
}

TEST(RecordFeed, treats_an_unknown_php_case_as_none)
{
    auto const frame = test::rpc_php_frame(test::field_head(6, 0));
    EXPECT_EQ(feed(frame).records, "");
    EXPECT_EQ(names(feed(frame, true).records), start_records + end_records + error_records);
}

TEST(RecordFeed, builds_the_records_of_the_protobuf_dialect)
{
    using namespace pelorin::protobuf;
    struct Case {
        std::string field;
        std::string report;
        Names records;
        std::string content; ///< of every record
    };
    Case const cases[] = {
        {"rinit", test::wire<PelorinPHP::RInitData>("text_0: 'GET'"), {"php.RInit protobuf"}, R"(_0":"GET")"},
        {"rshutdown",
         test::wire<PelorinPHP::RShutdownData>("memory_1: 5"),
         {"php.RShutdown protobuf"},
         R"("memory_1":5)"},
        {"error", test::wire<Glimmet::Error>("message: 'm'"), {"php.ErrorData protobuf"}, R"("message":"m")"},
        {"request_headers",
         test::wire<Glimmet::RequestHeaders>("lines: 'A: b'"),
         {"php.RequestHeaders protobuf"},
         R"("value":"b")"},
        {"response_headers",
         test::wire<Glimmet::ResponseHeaders>("lines: 'A: b'"),
         {"php.ResponseHeaders protobuf"},
         R"("value":"b")"},
        {"raw_post_data", test::wire<Glimmet::RawPostData>("number: 5"), {"php.PostData protobuf"}, R"("number":5)"},
        {"response_body",
         test::wire<Glimmet::ResponseBody>("text_1: 'html'"),
         {"php.ResponseBody protobuf"},
         R"("text_1":"html")"},
        {"monitor_superglobals",
         test::wire<Monitor::Superglobals>("groups { entries { key: 'k' } name: 'g' }"),
         {"php.Superglobals protobuf all"},
         R"("value":"k")"},
        {"superglobals",
         test::wire<Glimmet::Superglobals>("groups { entries { key: 'k' initial_value { } } name: 'g' }"),
         {"php.Superglobals protobuf init", "php.Superglobals protobuf change"},
         R"("value":"k")"},
    };
    for (auto const &[field, report, records, content] : cases) {
        SCOPED_TRACE(field);
        test::Frame frame;
        frame.set_request_id(7);
        frame.GetReflection()->SetString(&frame, test::Frame::descriptor()->FindFieldByName(field), report);
        for (bool const all_records : {false, true}) {
            auto const result = feed(frame, all_records);
            EXPECT_EQ(result.fault, std::nullopt);
            EXPECT_EQ(names(result.records), records);
            std::istringstream lines(result.records);
            for (std::string line; std::getline(lines, line);) {
                EXPECT_THAT(line, testing::HasSubstr(R"("request_id":7,)"));
                EXPECT_THAT(line, testing::HasSubstr(content));
            }
        }
    }
}

TEST(RecordFeed, builds_both_views_of_superglobals)
{
    test::Frame frame;
    frame.set_superglobals(test::wire<pelorin::protobuf::Glimmet::Superglobals>(R"(
        groups {
            entries { key: "a" value { type: TYPE_LONG long_value: 2 } initial_value { type: TYPE_LONG long_value: 1 } }
            entries { key: "b" value { type: TYPE_LONG long_value: 3 } }
            name: "g"
        })"));
    auto const record = [](std::string const &view, std::string const &entries) {
        return R"({"record":"php.Superglobals","frame":0,"offset":0,"dialect":"protobuf","view":")" + view +
               R"(","request_id":0,"values":[[{"kind":"string","value":"g"},{"kind":"array","value":[)" + entries +
               "]}]]}\n";
    };
    EXPECT_EQ(feed(frame).records,
              record("init", R"([{"kind":"string","value":"a"},{"kind":"long","value":1}],)"
                             R"([{"kind":"string","value":"b"},{"kind":"long","value":3}])") +
                  record("change", R"([{"kind":"string","value":"a"},{"kind":"long","value":2}])"));
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

TEST(RecordFeed, reports_a_report_that_does_not_parse)
{
    std::string const cases[] = {
        "\xff",                                                               // a truncated tag
        "\x0c",                                                               // the end of a group without a start
        test::field_head(test::PhpReport::kRshutdownFieldNumber, 5),          // a message without its bytes
        test::field_head(test::PhpReport::kRshutdownFieldNumber, 1) + '\xff', // a message that does not parse
        test::nested_report(static_cast<std::size_t>(max_report_depth)) + "\xff",
    };
    for (auto const &report : cases) {
        auto const result = feed(test::rpc_php_frame(report), true);
        EXPECT_EQ(result.fault, "the report is not a valid tarnwick.rpc.php.v1.NotifyRequest");
        EXPECT_EQ(result.records, "");
    }
    test::Frame frame;
    frame.set_rshutdown("\xff");
    EXPECT_EQ(feed(frame).fault, "the report is not a valid pelorin.protobuf.PelorinPHP.RShutdownData");
}

TEST(RecordFeed, reads_a_report_as_deep_as_php_sends_them)
{
    constexpr std::size_t arrays = 64;
    auto const result = feed(test::rpc_php_frame(test::nested_report(2 + 3 * arrays)));
    EXPECT_EQ(result.fault, std::nullopt);
    EXPECT_NE(result.records, "");
}

TEST(RecordFeed, finds_deep_nesting_among_other_fields)
{
    auto const deep = test::nested_report(static_cast<std::size_t>(max_report_depth) + 1);
    auto const shallow = test::nested_report(20);
    EXPECT_EQ(feed(test::rpc_php_frame(shallow + test::padding(9) + deep + shallow)).fault,
              "the tarnwick.rpc.php.v1.NotifyRequest nests messages more than 1000 deep");
}

TEST(RecordFeed, keeps_no_state_between_frames)
{
    test::MemoryFile const file;
    Output output(file.descriptor());
    RecordPrinter printer(output, {.json = true});
    RecordSelection selection(printer);
    RecordFeed records(selection, false);
    EXPECT_EQ(records.feed(test::rpc_php_frame_of("request_id { id: 7 } rshutdown { memory { value_0: 5 } }")),
              std::nullopt);
    EXPECT_NE(records.feed(test::rpc_php_frame("\xff")), std::nullopt);
    auto const last = test::rpc_php_frame_of("rshutdown { }");
    EXPECT_EQ(records.feed(last), std::nullopt);
    output.flush();
    EXPECT_TRUE(file.content().ends_with("\n" + feed(last).records)) << file.content();
}

TEST(RecordFeed, reports_every_kind_that_does_not_parse)
{
    auto const &oneof = *test::Frame::descriptor()->FindOneofByName("report");
    std::string const opaque[] = {"rpc_data", "rpc_add_data", "ct_data", "ct_add_data"};
    int faults = 0;
    for (int i = 0; i < oneof.field_count(); ++i) {
        auto const &field = *oneof.field(i);
        SCOPED_TRACE(field.name());
        test::Frame frame;
        frame.GetReflection()->SetString(&frame, &field, "\xff");
        if (std::ranges::find(opaque, field.name()) != std::end(opaque)) {
            EXPECT_EQ(feed(frame).fault, std::nullopt);
        } else {
            EXPECT_THAT(feed(frame).fault, testing::Optional(testing::StartsWith("the report is not a valid ")));
            ++faults;
        }
        frame.GetReflection()->SetString(&frame, &field, "");
        EXPECT_EQ(feed(frame).fault, std::nullopt);
    }
    EXPECT_EQ(faults, 20);
}

} // namespace
} // namespace tarnwick::program::record_feed_test
