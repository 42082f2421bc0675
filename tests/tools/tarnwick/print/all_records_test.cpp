// The reports of captures feed every record.

#include "tools/tarnwick/support/feed.h"

#include <tarnwick/data/record_messages.h>
#include <tarnwick/data/records.h>
#include <zeromq/message.h>

#include <gmock/gmock.h>

#include <regex>
#include <set>
#include <string>
#include <tuple>
#include <type_traits>

namespace tarnwick::program::all_records_test {
namespace {

/// The names and dialects of the records that empty reports of all kinds feed.
std::set<std::string> printed_records()
{
    std::set<std::string> printed;
    auto const &reports = *capture::v1::Frame::descriptor()->FindOneofByName("report");
    for (int i = 0; i < reports.field_count(); ++i) {
        capture::v1::Frame frame;
        frame.GetReflection()->SetString(&frame, reports.field(i), "");
        auto const records = test::feed(frame, true).records;
        std::regex const head(R"re(\{"record":"([\w.]+)",.*"dialect":"(\w+)")re");
        for (std::sregex_iterator found(records.begin(), records.end(), head), end; found != end; ++found)
            printed.insert(found->str(1) + ' ' + found->str(2));
    }
    return printed;
}

template <class Message, class... Arguments>
std::string dialect_of(data::From<Message, Arguments...> /*source*/)
{
    if constexpr (requires { Message::descriptor(); })
        return Message::descriptor()->full_name().starts_with("tarnwick.rpc.") ? "rpc" : "protobuf";
    else // a chunk of a trace
        return std::is_same_v<Message, ZMQ::Message> ? "protobuf" : "rpc";
}

TEST(RecordFeed, feeds_every_record_in_each_dialect_that_it_is_built_from)
{
    std::set<std::string> built;
    data::for_each_type(data::ReportRecords(), [&]<class Record> {
        std::string const name(data::Description<data::payload_of_t<Record>>::name);
        [&]<class... Source>(std::type_identity<std::tuple<Source...>>) {
            // In the rpc dialect, tables are parts of the queries.
            ((data::is_handle<Record> || dialect_of(Source()) != "rpc"
                  ? void(built.insert(name + ' ' + dialect_of(Source())))
                  : void()),
             ...);
        }(std::type_identity<data::sources_of_t<Record>>());
    });
    EXPECT_EQ(printed_records(), built);
}

} // namespace
} // namespace tarnwick::program::all_records_test
