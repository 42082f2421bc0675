#include "capture/report_check.h"

#include "tools/tarnwick/support/feed.h"

#include <google/protobuf/descriptor.h>
#include <gtest/gtest.h>

namespace tarnwick::program::report_check_test {
namespace {

using capture::v1::Frame;

TEST(ReportCheck, agrees_with_the_feed_about_each_kind_of_report)
{
    auto const &kinds = *Frame::descriptor()->FindOneofByName("report");
    for (int i = 0; i < kinds.field_count(); ++i) {
        for (auto const *bytes : {"", "\xff"}) {
            Frame frame;
            Frame::GetReflection()->SetString(&frame, kinds.field(i), bytes);
            EXPECT_EQ(has_valid_report(frame), !test::feed(frame).fault) << kinds.field(i)->full_name();
        }
    }
}

TEST(ReportCheck, rejects_a_frame_without_a_report)
{
    EXPECT_FALSE(has_valid_report(Frame()));
}

} // namespace
} // namespace tarnwick::program::report_check_test
