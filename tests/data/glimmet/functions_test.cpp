#include <tarnwick/data/glimmet/functions.h>

#include <tarnwick/data/print.h>

#include "support/allocations.h"
#include "support/lists.h"
#include "support/message_fields.h"
#include "support/table.h"
#include "support/textproto.h"

#include <pelorin/protobuf/Glimmet/functions.pb.h>
#include <tarnwick/rpc/glimmet/v1/notify_request.pb.h>

#include <gmock/gmock.h>

#include <QtCore/QVariant>

#include <cstdint>
#include <string>

namespace tarnwick::data::glimmet::functions_test {
namespace {

using rpc::glimmet::v1::NotifyRequest;
using ProtobufFunctions = pelorin::protobuf::Glimmet::Functions;
using test::allocations_of;
using test::field_names;
using test::from_text;
using testing::ElementsAre;
using namespace Qt::StringLiterals;

constexpr auto from_rpc = test::record_from_text<Functions, NotifyRequest>;

Functions from_protobuf(std::uint64_t request_id, std::string const &textproto)
{
    return test::record_from_text<Functions, ProtobufFunctions>(textproto, php::RequestId(request_id));
}

/// `name=count` of each line.
std::string listed(Functions const &record)
{
    std::string list;
    for (auto const &function : record->functions())
        list += function.name().toStdString() + '=' + std::to_string(function.count()) + ' ';
    return list;
}

TEST(Functions, reads_an_rpc_report)
{
    auto const record = from_rpc(R"pb(
        request_id { id: 18446744073709551615 }
        functions {
            functions { name: "b" location { file: "b.php" } stats { count: 2 } }
            functions { name: "a" stats { count: 1 } }
        })pb");

    EXPECT_EQ(record->request_id().id(), 18446744073709551615U);
    EXPECT_EQ(listed(record), "b=2 a=1 ");
    EXPECT_TRUE(record->functions()[0].location());
}

TEST(Functions, reads_a_protobuf_report)
{
    auto const record = from_protobuf(18446744073709551615U, R"pb(
        functions { name: "b" file: "b.php" kind: KIND_IN_SOURCE count: 2 }
        functions { name: "a" count: 1 })pb");

    EXPECT_EQ(record->request_id().id(), 18446744073709551615U);
    EXPECT_EQ(listed(record), "b=2 a=1 ");
    EXPECT_TRUE(record->functions()[0].location());
}

TEST(Functions, is_the_same_in_both_dialects)
{
    EXPECT_EQ(to_text(from_rpc(R"pb(
                  request_id { id: 7 }
                  functions { functions { name: "f" location { line: 12 } stats { count: 5 } } functions { } })pb")),
              to_text(from_protobuf(
                  7, R"pb(functions { name: "f" kind: KIND_IN_SOURCE count: 5 line: 12 } functions { })pb")));
}

test::PrintedCase const rpc_cases[] = {
    {"an_empty_message_has_no_lines", "", "glimmet.Functions{request_id: 0, functions: []}"},
    {"without_a_case_has_only_the_id", "request_id { id: 7 } timestamp { seconds: 8 }",
     "glimmet.Functions{request_id: 7, functions: []}"},
    {"storage_has_only_the_id", "request_id { id: 7 } storage { name: 'n' }",
     "glimmet.Functions{request_id: 7, functions: []}"},
    {"queries_have_only_the_id", "request_id { id: 7 } sql_queries { queries { text: 'q' } }",
     "glimmet.Functions{request_id: 7, functions: []}"},
    {"no_lines_are_an_empty_list", "request_id { id: 7 } functions { }",
     "glimmet.Functions{request_id: 7, functions: []}"},
    {"a_missing_id_is_0", "functions { functions { name: 'f' } }",
     "glimmet.Functions{request_id: 0, functions: [glimmet.FunctionStats{has_location: false, name: \"f\", location: "
     "none, count: 0, time_first: {0 s, 0 ns}, time_second: {0 s, 0 ns}}]}"},
};

class FunctionsFromRpc : public test::TableTest<test::PrintedCase> {};

TEST_P(FunctionsFromRpc, is_read)
{
    EXPECT_EQ(to_text(from_rpc(GetParam().textproto)), GetParam().printed);
}

INSTANTIATE_TEST_SUITE_P(Cases, FunctionsFromRpc, test::rows(rpc_cases), test::by_name);

TEST(Functions, a_protobuf_report_without_lines_has_an_empty_list)
{
    EXPECT_EQ(to_text(from_protobuf(7, "")), "glimmet.Functions{request_id: 7, functions: []}");
}

TEST(Functions, a_repeated_name_stays_two_lines)
{
    EXPECT_EQ(listed(from_rpc("functions { functions { name: 'f' stats { count: 3 } } functions { name: 'e' }"
                              " functions { name: 'f' stats { count: 2 } } }")),
              "f=3 e=0 f=2 ");
    EXPECT_EQ(listed(from_protobuf(
                  7, "functions { name: 'f' count: 3 } functions { name: 'e' } functions { name: 'f' count: 2 }")),
              "f=3 e=0 f=2 ");
}

/// How to build a report of each dialect, and its record.
struct Rpc {
    using Message = NotifyRequest;
    static Functions record(Message const &message) { return Functions(new detail::Functions(message)); }
    static auto *add(Message &message) { return message.mutable_functions()->add_functions(); }
};

struct Protobuf {
    using Message = ProtobufFunctions;
    static Functions record(Message const &message)
    {
        return Functions(new detail::Functions(message, php::RequestId(7)));
    }
    static auto *add(Message &message) { return message.add_functions(); }
};

template <class Dialect>
class FunctionsFrom : public testing::Test {
public:
    static Dialect::Message message_of(int lines)
    {
        typename Dialect::Message message;
        for (int i = 0; i < lines; ++i)
            Dialect::add(message)->set_name("function_" + std::to_string(i));
        return message;
    }
};

using Dialects = testing::Types<Rpc, Protobuf>;
TYPED_TEST_SUITE(FunctionsFrom, Dialects);

TYPED_TEST(FunctionsFrom, does_not_reserve_memory_for_its_list)
{
    auto const record = TypeParam::record(this->message_of(100));
    ASSERT_EQ(record->functions().size(), 100);
    EXPECT_EQ(record->functions()[99].name(), u"function_99"_s);
    EXPECT_EQ(record->functions().capacity(), test::appended_one_by_one(record->functions()).capacity());
}

TYPED_TEST(FunctionsFrom, allocates_only_the_texts_of_a_line)
{
    auto const message = this->message_of(100);
    auto const record = TypeParam::record(message);
    auto const growth = allocations_of([&] { test::appended_one_by_one(record->functions()); });
    EXPECT_EQ(allocations_of([&] { TypeParam::record(message); }), 1U + growth + 100U);
}

TYPED_TEST(FunctionsFrom, the_list_is_the_only_owner_of_its_lines)
{
    auto const record = TypeParam::record(this->message_of(3));
    for (auto const &function : record->functions())
        EXPECT_TRUE(function.name().isDetached());
}

TEST(Functions, round_trips_through_a_qvariant)
{
    auto const record = from_rpc("functions { functions { } }");
    auto const variant = QVariant::fromValue(record);
    EXPECT_STREQ(variant.metaType().name(), "tarnwick::data::glimmet::Functions");
    EXPECT_EQ(variant.value<Functions>().get(), record.get());
}

TEST(Functions, message_fields_are_all_read_or_known_to_be_ignored)
{
    EXPECT_THAT(field_names<rpc::glimmet::v1::Functions>(), ElementsAre("functions"));
    EXPECT_THAT(field_names<ProtobufFunctions>(), ElementsAre("functions"));
}

} // namespace
} // namespace tarnwick::data::glimmet::functions_test
