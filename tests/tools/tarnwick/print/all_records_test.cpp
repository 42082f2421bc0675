// The reports of captures feed every record.

#include "tools/tarnwick/support/feed.h"

#include <tarnwick/data/records.h>

#include <gmock/gmock.h>

#include <regex>
#include <set>
#include <string>

namespace tarnwick::program::all_records_test {
namespace {

/// The names of the records that empty reports of all kinds feed.
std::set<std::string> printed_names()
{
    std::set<std::string> names;
    auto const &reports = *capture::v1::Frame::descriptor()->FindOneofByName("report");
    for (int i = 0; i < reports.field_count(); ++i) {
        capture::v1::Frame frame;
        frame.GetReflection()->SetString(&frame, reports.field(i), "");
        auto const records = test::feed(frame, true).records;
        std::regex const name(R"re(\{"record":"([\w.]+)")re");
        for (std::sregex_iterator found(records.begin(), records.end(), name), end; found != end; ++found)
            names.insert(found->str(1));
    }
    return names;
}

TEST(RecordFeed, feeds_every_record_from_some_report)
{
    std::set<std::string> listed;
    data::for_each_type(data::ReportRecords(),
                        [&]<class Record> { listed.emplace(data::Description<data::payload_of_t<Record>>::name); });
    EXPECT_EQ(printed_names(), listed);
}

} // namespace
} // namespace tarnwick::program::all_records_test
