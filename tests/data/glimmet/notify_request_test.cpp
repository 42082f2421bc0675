// The messages from which several records of the glimmet family are built. Beside each field are the records that read it.

#include "support/message_fields.h"

#include <tarnwick/rpc/glimmet/v1/notify_request.pb.h>

#include <gmock/gmock.h>

namespace tarnwick::data::glimmet::glimmet_notify_request_test {
namespace {

using test::field_names;
using testing::ElementsAre;

TEST(GlimmetNotifyRequest, fields_are_all_read_or_known_to_be_ignored)
{
    EXPECT_THAT(field_names<rpc::glimmet::v1::NotifyRequest>(),
                ElementsAre("request_id" /* all */, "timestamp" /* none */, "functions" /* Functions */,
                            "storage" /* Storage */, "sql_queries"));
    EXPECT_THAT(field_names<rpc::glimmet::v1::SqlQueries>(),
                ElementsAre("connections" /* SqlConnections, SqlQueries */,
                            "transactions" /* SqlTransactions, SqlQueries */, "queries" /* SqlQueries */));
}

} // namespace
} // namespace tarnwick::data::glimmet::glimmet_notify_request_test
