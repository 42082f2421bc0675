#include <tarnwick/data/glimmet/functions.h>

#include <tarnwick/data/print.h>

#include "support/allocations.h"
#include "support/message_fields.h"
#include "support/table.h"
#include "support/textproto.h"

#include <pelorin/protobuf/Glimmet/functions.pb.h>
#include <tarnwick/rpc/glimmet/v1/notify_request.pb.h>

#include <gmock/gmock.h>

#include <QtCore/QVariant>

#include <cstdint>
#include <string>

namespace tarnwick::data::glimmet {
namespace {

using rpc::glimmet::v1::NotifyRequest;
using ProtobufFunctions = pelorin::protobuf::Glimmet::Functions;
using test::allocations_of;
using test::field_names;
using test::from_text;
using testing::ElementsAre;
using namespace Qt::StringLiterals;

Functions from_rpc(std::string const &textproto)
{
    return Functions(new detail::Functions(from_text<NotifyRequest>(textproto)));
}

Functions from_protobuf(std::uint64_t request_id, std::string const &textproto)
{
    return Functions(new detail::Functions(from_text<ProtobufFunctions>(textproto), php::RequestId(request_id)));
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

TEST(Functions, dialects_agree_on_what_both_carry)
{
    EXPECT_EQ(to_text(from_rpc(R"pb(
                  request_id { id: 7 }
                  functions { functions { name: "f" location { line: 12 } stats { count: 5 } } functions { } })pb")),
              to_text(from_protobuf(
                  7, R"pb(functions { name: "f" kind: KIND_IN_SOURCE count: 5 line: 12 } functions { })pb")));
}

struct RpcCase {
    char const *name;
    char const *textproto;
    char const *printed;
};

RpcCase const rpc_cases[] = {
    {"an_empty_message_has_no_lines", "", "glimmet.Functions{request_id: 0, functions: []}"},
    {"no_case_gives_the_id", "request_id { id: 7 } timestamp { seconds: 8 }",
     "glimmet.Functions{request_id: 7, functions: []}"},
    {"storage_gives_the_id", "request_id { id: 7 } storage { name: 'n' }",
     "glimmet.Functions{request_id: 7, functions: []}"},
    {"queries_give_the_id", "request_id { id: 7 } sql_queries { queries { text: 'q' } }",
     "glimmet.Functions{request_id: 7, functions: []}"},
    {"no_lines_give_an_empty_list", "request_id { id: 7 } functions { }",
     "glimmet.Functions{request_id: 7, functions: []}"},
    {"a_missing_id_is_0", "functions { functions { name: 'f' } }",
     "glimmet.Functions{request_id: 0, functions: [glimmet.FunctionStats{has_location: false, name: \"f\", location: "
     "none, count: 0, time_first: {0 s, 0 ns}, time_second: {0 s, 0 ns}}]}"},
};

class FunctionsFromRpc : public test::TableTest<RpcCase> {};

TEST_P(FunctionsFromRpc, are)
{
    EXPECT_EQ(to_text(from_rpc(GetParam().textproto)), GetParam().printed);
}

INSTANTIATE_TEST_SUITE_P(Cases, FunctionsFromRpc, test::rows(rpc_cases), test::by_name);

TEST(Functions, a_protobuf_report_without_lines_gives_an_empty_list)
{
    EXPECT_EQ(to_text(from_protobuf(7, "")), "glimmet.Functions{request_id: 7, functions: []}");
}

TEST(Functions, one_name_twice_stays_two_lines_with_their_own_numbers)
{
    EXPECT_EQ(listed(from_rpc("functions { functions { name: 'f' stats { count: 3 } } functions { name: 'e' }"
                              " functions { name: 'f' stats { count: 2 } } }")),
              "f=3 e=0 f=2 ");
    EXPECT_EQ(listed(from_protobuf(
                  7, "functions { name: 'f' count: 3 } functions { name: 'e' } functions { name: 'f' count: 2 }")),
              "f=3 e=0 f=2 ");
}

/// A report of either dialect with many lines, and the record of it.
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

/// What a list of Qt's does by itself when lines are appended one by one.
QList<FunctionStats> grown(QList<FunctionStats> const &functions)
{
    QList<FunctionStats> list;
    for (auto const &function : functions)
        list.append(function);
    return list;
}

TYPED_TEST(FunctionsFrom, the_list_grows_and_is_not_sized_in_advance)
{
    auto const record = TypeParam::record(this->message_of(100));
    ASSERT_EQ(record->functions().size(), 100);
    EXPECT_EQ(record->functions()[99].name(), u"function_99"_s);
    EXPECT_EQ(record->functions().capacity(), grown(record->functions()).capacity());
}

TYPED_TEST(FunctionsFrom, a_line_costs_its_texts_alone)
{
    auto const message = this->message_of(100);
    auto const record = TypeParam::record(message);
    auto const growth = allocations_of([&] { grown(record->functions()); });
    EXPECT_EQ(allocations_of([&] { TypeParam::record(message); }), 1U + growth + 100U);
}

TYPED_TEST(FunctionsFrom, lines_belong_to_the_list_alone)
{
    auto const record = TypeParam::record(this->message_of(3));
    for (auto const &function : record->functions())
        EXPECT_TRUE(function.name().isDetached());
}

TEST(Functions, goes_through_a_variant_as_it_goes_through_a_queued_signal)
{
    auto const record = from_rpc("functions { functions { } }");
    auto const variant = QVariant::fromValue(record);
    EXPECT_STREQ(variant.metaType().name(), "tarnwick::data::glimmet::Functions");
    EXPECT_EQ(variant.value<Functions>().get(), record.get());
}

TEST(Functions, message_fields_are_all_read_or_known_to_be_ignored)
{
    EXPECT_THAT(field_names<NotifyRequest>(), ElementsAre("request_id", "timestamp" /* ignored */, "functions",
                                                          "storage" /* ignored */, "sql_queries" /* ignored */));
    EXPECT_THAT(field_names<rpc::glimmet::v1::Functions>(), ElementsAre("functions"));
    EXPECT_THAT(field_names<ProtobufFunctions>(), ElementsAre("functions"));
}

} // namespace
} // namespace tarnwick::data::glimmet
