// Request and response headers are records of their own that follow the same rules.

#include <tarnwick/data/php/request_headers.h>
#include <tarnwick/data/php/response_headers.h>

#include <tarnwick/data/print.h>

#include "support/allocations.h"
#include "support/php_reports.h"
#include "support/textproto.h"

#include <pelorin/protobuf/Glimmet/headers.pb.h>
#include <tarnwick/rpc/php/v1/notify_request.pb.h>

#include <fmt/format.h>

#include <gtest/gtest.h>

#include <QtCore/QVariant>

#include <cstddef>
#include <string>
#include <vector>

namespace tarnwick::data::php::headers_test {
namespace {

using rpc::php::v1::NotifyRequest;
using test::from_text;
using namespace std::string_literals;

struct OfRequest : test::InRequest {
    using Handle = RequestHeaders;
    using Message = pelorin::protobuf::Glimmet::RequestHeaders;
    static constexpr auto name = "php.RequestHeaders";
    static constexpr auto reported = R"(["Accept" => "text/html"])";
};

struct OfResponse : test::InResponse {
    using Handle = ResponseHeaders;
    using Message = pelorin::protobuf::Glimmet::ResponseHeaders;
    static constexpr auto name = "php.ResponseHeaders";
    static constexpr auto reported = R"(["Server" => "php"])";
};

template <class Kind>
class Headers : public testing::Test {
public:
    using Record = Kind::Handle::Type;

    static Kind::Message message(std::vector<std::string> const &lines)
    {
        typename Kind::Message message;
        for (auto const &line : lines)
            message.add_lines(line);
        return message;
    }

    static std::string from_lines(std::vector<std::string> const &lines)
    {
        return to_text(Record(message(lines), RequestId(7)).headers());
    }

    static std::string from_report(std::string const &textproto)
    {
        return to_text(Record(from_text<NotifyRequest>(textproto)));
    }

    static std::string printed(int request_id, std::string const &headers)
    {
        return fmt::format("{}{{request_id: {}, headers: {}}}", Kind::name, request_id, headers);
    }
};

using Kinds = testing::Types<OfRequest, OfResponse>;
TYPED_TEST_SUITE(Headers, Kinds, );

TYPED_TEST(Headers, are_read_from_one_kind_of_rpc_report)
{
    for (auto const &[name, message] : test::php_reports()) {
        auto const *const headers = name == TypeParam::report ? TypeParam::reported : "[]";
        EXPECT_EQ(to_text(typename TestFixture::Record(message)), this->printed(7, headers)) << name;
    }
}

TYPED_TEST(Headers, absent_from_an_rpc_report_are_an_array_without_elements)
{
    for (auto const &payload : {TypeParam::empty_payload(), TypeParam::with(""), TypeParam::with("headers { }")})
        EXPECT_EQ(this->from_report("request_id { id: 7 }" + payload), this->printed(7, "[]")) << payload;
}

TYPED_TEST(Headers, of_an_rpc_report_without_a_request_id_belong_to_request_0)
{
    EXPECT_EQ(this->from_report(TypeParam::with("headers { elements { } }")),
              this->printed(0, "[undefined => undefined]"));
}

TYPED_TEST(Headers, of_an_rpc_report_keep_repeated_names_and_values_that_are_not_strings)
{
    EXPECT_EQ(this->from_report("request_id { id: 7 }" +
                                TypeParam::with("headers { elements { string_key: 'A' value { long_value: 1 } } "
                                                "elements { string_key: 'A' } }")),
              this->printed(7, R"(["A" => 1, "A" => undefined])"));
}

TYPED_TEST(Headers, are_split_at_the_first_colon_and_space_of_a_line)
{
    struct Case {
        std::string line;
        std::string headers;
    };
    Case const cases[] = {
        {"A: b", R"(["A" => "b"])"},
        {"A: b: c", R"(["A" => "b: c"])"},
        {"A:b", R"(["A:b" => undefined])"},
        {"A:  b", R"(["A" => " b"])"},
        {" A : b", R"([" A " => "b"])"},
        {"A: ", R"(["A" => ""])"},
        {": b", R"(["" => "b"])"},
        {": ", R"(["" => ""])"},
        {"", R"(["" => undefined])"},
        {"A:", R"(["A:" => undefined])"},
        {"A:b: c", R"(["A:b" => "c"])"},
        {"A :b", R"(["A :b" => undefined])"},
        {"a: B", R"(["a" => "B"])"},
        {"A: b\r\n", R"(["A" => "b\r\n"])"},
        {"\xff\0: \xfe\0"s, R"(["\xff\x00" => "\xfe\x00"])"},
        {"HTTP/1.1 200 OK", R"(["HTTP/1.1 200 OK" => undefined])"},
    };
    for (auto const &[line, headers] : cases)
        EXPECT_EQ(this->from_lines({line}), headers) << testing::PrintToString(line);
}

TYPED_TEST(Headers, of_no_lines_are_an_array_without_elements)
{
    typename TestFixture::Record const record(this->message({}), RequestId(7));

    ASSERT_TRUE(record.headers());
    EXPECT_TRUE(record.headers()->elements().empty());
    EXPECT_EQ(record.request_id().id(), 7U);
}

TYPED_TEST(Headers, with_the_same_name_stay_separate_and_in_order)
{
    EXPECT_EQ(this->from_lines({"A: 2", "B: 1", "A: 1", "A: 2"}),
              R"(["A" => "2", "B" => "1", "A" => "1", "A" => "2"])");
}

TYPED_TEST(Headers, are_the_same_in_both_dialects)
{
    auto const rpc = this->from_report("request_id { id: 7 }" + TypeParam::with(R"pb(
        headers {
            elements { string_key: "A" value { string_value: "b\377" } }
            elements { string_key: "A" value { string_value: "" } }
        })pb"));

    EXPECT_EQ(rpc, to_text(typename TestFixture::Record(this->message({"A: b\377", "A: "}), RequestId(7))));
}

TYPED_TEST(Headers, of_short_lines_take_two_allocations_a_line)
{
    auto const message = this->message({"A: b", "C: d", "E: f", "G"});
    constexpr std::size_t record_and_array_and_elements = 3;
    constexpr std::size_t keys_and_values = 8;

    EXPECT_EQ(test::allocations_of([&] { delete new typename TestFixture::Record(message, RequestId(7)); }),
              record_and_array_and_elements + keys_and_values);
}

TYPED_TEST(Headers, round_trip_through_a_qvariant)
{
    using Handle = TypeParam::Handle;
    Handle const record(new TestFixture::Record(this->message({"A: b"}), RequestId(7)));

    EXPECT_EQ(QVariant::fromValue(record).template value<Handle>(), record);
}

} // namespace
} // namespace tarnwick::data::php::headers_test
