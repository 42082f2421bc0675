// The options of `inspect` that choose records.

#include "tools/tarnwick/support/captures.h"
#include "tools/tarnwick/support/program.h"

#include <gmock/gmock.h>

#include <QtCore/QByteArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QString>

#include <sstream>
#include <string>
#include <vector>

namespace tarnwick::test::inspect_choice_test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::string const errors = TARNWICK_CAPTURES "/errors.tnw";
std::string const adminer = TARNWICK_CAPTURES "/adminer.tnw";

/// Returns `record dialect frame` of each record.
std::vector<std::string> records(std::vector<std::string> arguments)
{
    auto const outcome = inspect(std::move(arguments));
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, 0);
    std::vector<std::string> found;
    std::istringstream lines(outcome.out);
    for (std::string line; std::getline(lines, line);) {
        auto const record = QJsonDocument::fromJson(QByteArray::fromStdString(line)).object();
        found.push_back(record[QStringLiteral("record")].toString().toStdString() + ' ' +
                        record[QStringLiteral("dialect")].toString().toStdString() + ' ' +
                        std::to_string(record[QStringLiteral("frame")].toInt()));
    }
    return found;
}

TEST(InspectChoice, by_name_with_or_without_the_family)
{
    std::vector<std::string> const expected{"php.RInit rpc 1", "php.RInit protobuf 2"};
    EXPECT_EQ(records({"--record=RInit", "--top=2", errors}), expected);
    EXPECT_EQ(records({"--record=php.RInit", "--top=2", errors}), expected);
    EXPECT_THAT(
        records({"--record=RInit", "--record=Event", "--request=18242620654010601138", errors}),
        ElementsAre("php.RInit rpc 1", "php.RInit protobuf 2", "monitor.Event rpc 7", "monitor.Event protobuf 8"));
}

TEST(InspectChoice, by_request_and_dialect)
{
    EXPECT_THAT(records({"--request=18242620654010601138", "--dialect=protobuf", "--record=ErrorData", errors}),
                ElementsAre("php.ErrorData protobuf 6"));
}

TEST(InspectChoice, by_the_value_of_a_field_leaves_out_records_without_that_field)
{
    EXPECT_THAT(records({"--where=response_status=404", "--dialect=rpc", errors}),
                ElementsAre("php.RShutdown rpc 150"));
    EXPECT_THAT(records({"--where=details.Error.number=2", "--where=message~west", errors}),
                ElementsAre("php.ErrorData rpc 5", "php.ErrorData protobuf 6"));
    EXPECT_THAT(records({"--where=request_text_0!=GET", "--where=request_text_0!=POST", "--dialect=rpc", errors}),
                ElementsAre("php.RInit rpc 114", "php.RInit rpc 220"));
}

TEST(InspectChoice, by_any_element_of_a_list)
{
    EXPECT_THAT(records({"--where=queries.stack_trace.name=SQLite3->query", "--top=1", adminer}),
                ElementsAre("glimmet.SqlQueries rpc 45"));
    EXPECT_THAT(records({"--where=queries.stack_trace.name=none", adminer}), IsEmpty());
}

TEST(InspectChoice, by_presence)
{
    EXPECT_THAT(records({"--where=details.Exception", "--dialect=rpc", "--top=1", errors}),
                ElementsAre(testing::StartsWith("php.ErrorData rpc")));
    EXPECT_THAT(records({"--where=!stack_trace", "--record=ErrorData", "--where=stack_trace", errors}), IsEmpty());
}

} // namespace
} // namespace tarnwick::test::inspect_choice_test
