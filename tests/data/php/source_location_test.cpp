#include <tarnwick/data/php/source_location.h>

#include <tarnwick/data/print.h>

#include "support/message_fields.h"
#include "support/textproto.h"

#include <tarnwick/rpc/php/v1/source_location.pb.h>

#include <gmock/gmock.h>

#include <QtCore/QVariant>

namespace tarnwick::data::php::source_location_test {
namespace {

using test::from_text;

TEST(SourceLocation, reads_every_field)
{
    SourceLocation const location(
        from_text<rpc::php::v1::SourceLocation>("file: '../a//b.php' line: 4294967295 line_extra: 9"));

    EXPECT_EQ(location.file(), QStringLiteral("../a//b.php"));
    EXPECT_EQ(location.line(), 4294967295U);
    EXPECT_EQ(location.line_extra(), 9U);
}

TEST(SourceLocation, of_an_empty_message_has_an_empty_file_and_not_a_null_one)
{
    SourceLocation const location{rpc::php::v1::SourceLocation()};

    EXPECT_TRUE(location.file().isEmpty());
    EXPECT_FALSE(location.file().isNull());
    EXPECT_EQ(location.line(), 0U);
    EXPECT_EQ(location.line_extra(), 0U);
}

TEST(SourceLocation, round_trips_through_a_qvariant)
{
    auto const variant = QVariant::fromValue(SourceLocation(QStringLiteral("a.php"), 17, 3));
    auto const *const location = get_if<SourceLocation>(&variant);

    ASSERT_NE(location, nullptr);
    EXPECT_EQ(location->file(), QStringLiteral("a.php"));
    EXPECT_EQ(location->line(), 17U);
}

TEST(SourceLocation, prints_its_fields_in_order)
{
    EXPECT_EQ(fmt::format("{}", SourceLocation(QStringLiteral("a.php"), 17, 3)),
              "php.SourceLocation{file: \"a.php\", line: 17, line_extra: 3}");
}

TEST(SourceLocation, reads_every_message_field)
{
    EXPECT_THAT(test::field_names<rpc::php::v1::SourceLocation>(), testing::ElementsAre("file", "line", "line_extra"));
}

} // namespace
} // namespace tarnwick::data::php::source_location_test
