// The body of a request and that of a response are records of their own that follow the same rules.

#include <tarnwick/data/php/post_data.h>
#include <tarnwick/data/php/response_body.h>

#include <tarnwick/data/print.h>

#include "support/php_reports.h"
#include "support/textproto.h"

#include <pelorin/protobuf/Glimmet/bodies.pb.h>
#include <tarnwick/rpc/php/v1/notify_request.pb.h>

#include <fmt/format.h>

#include <gtest/gtest.h>

#include <QtCore/QVariant>

#include <string>
#include <type_traits>

namespace tarnwick::data::php::bodies_test {
namespace {

using rpc::php::v1::NotifyRequest;
using namespace Qt::StringLiterals;

// Neither body converts to the other, nor to what they share.
static_assert(!std::is_convertible_v<detail::PostData *, detail::ResponseBody *>);
static_assert(!std::is_convertible_v<detail::ResponseBody *, detail::PostData *>);
static_assert(!std::is_convertible_v<detail::PostData *, detail::Body *>);
static_assert(!std::is_convertible_v<detail::ResponseBody *, detail::Body *>);

struct OfRequest : test::InRequest {
    using Handle = PostData;
    using Message = pelorin::protobuf::Glimmet::RawPostData;
    static constexpr auto name = "php.PostData";
    static constexpr auto field = "post_data";
    static constexpr auto reported = R"(text_0: "posted", number: 6, text_1: "form")";
};

struct OfResponse : test::InResponse {
    using Handle = ResponseBody;
    using Message = pelorin::protobuf::Glimmet::ResponseBody;
    static constexpr auto name = "php.ResponseBody";
    static constexpr auto field = "body";
    static constexpr auto reported = R"(text_0: "<p>", number: 3, text_1: "html")";
};

constexpr auto absent = "text_0: null, number: 0, text_1: null";
constexpr auto empty = R"(text_0: "", number: 0, text_1: "")";

template <class Kind>
class Bodies : public testing::Test {
public:
    using Handle = Kind::Handle;

    static Handle from_report(std::string const &textproto)
    {
        return test::record_from_text<Handle, NotifyRequest>(textproto);
    }

    static std::string payload_of(std::string const &body)
    {
        return Kind::with(std::string(Kind::field) + " {" + body + "}");
    }

    static Handle from_rpc(std::string const &body) { return from_report("request_id { id: 7 }" + payload_of(body)); }

    static Handle from_protobuf(std::string const &body)
    {
        return test::record_from_text<Handle, typename Kind::Message>(body, RequestId(7));
    }

    static std::string printed(int request_id, std::string const &body)
    {
        return fmt::format("{}{{request_id: {}, {}}}", Kind::name, request_id, body);
    }
};

using Kinds = testing::Types<OfRequest, OfResponse>;
TYPED_TEST_SUITE(Bodies, Kinds, );

TYPED_TEST(Bodies, are_read_from_one_kind_of_rpc_report)
{
    for (auto const &[name, message] : test::php_reports()) {
        auto const *const body = name == TypeParam::report ? TypeParam::reported : absent;
        EXPECT_EQ(to_text(typename TypeParam::Handle::Type(message)), this->printed(7, body)) << name;
    }
}

TYPED_TEST(Bodies, absent_from_an_rpc_report_have_null_texts)
{
    for (auto const &payload : {TypeParam::empty_payload(), TypeParam::with("")})
        EXPECT_EQ(to_text(this->from_report("request_id { id: 7 }" + payload)), this->printed(7, absent)) << payload;
}

TYPED_TEST(Bodies, that_are_empty_have_empty_texts)
{
    EXPECT_EQ(to_text(this->from_rpc("")), this->printed(7, empty));
    EXPECT_EQ(to_text(this->from_protobuf("")), this->printed(7, empty));
}

TYPED_TEST(Bodies, of_an_rpc_report_without_a_request_id_belong_to_request_0)
{
    EXPECT_EQ(to_text(this->from_report(this->payload_of("number: 1"))),
              this->printed(0, R"(text_0: "", number: 1, text_1: "")"));
}

TYPED_TEST(Bodies, zero_extend_the_number_of_an_rpc_report)
{
    EXPECT_EQ(this->from_rpc("number: 4294967295")->number(), 4294967295);
}

TYPED_TEST(Bodies, keep_nul_bytes_in_texts)
{
    auto const *const body = R"(text_0: "a\000b" text_1: "\000")";
    for (auto const &record : {this->from_rpc(body), this->from_protobuf(body)}) {
        EXPECT_EQ(record->text_0(), u"a\0b"_s);
        EXPECT_EQ(record->text_1(), u"\0"_s);
    }
}

TYPED_TEST(Bodies, replace_bytes_that_are_not_utf8)
{
    EXPECT_EQ(this->from_rpc(R"(text_0: "a\377\376")")->text_0(), u"a\uFFFD\uFFFD"_s);
    EXPECT_EQ(this->from_protobuf(R"(text_0: "a\377\376")")->text_0(), u"a\uFFFD\uFFFD"_s);
}

TYPED_TEST(Bodies, have_the_same_texts_in_both_dialects)
{
    auto const *const body = R"(text_0: "caf\303\251" text_1: "html")";
    auto const rpc = this->from_rpc(body);

    EXPECT_EQ(rpc->text_0(), u"café"_s);
    EXPECT_EQ(rpc->text_1(), u"html"_s);
    EXPECT_EQ(to_text(rpc), to_text(this->from_protobuf(body)));
}

TYPED_TEST(Bodies, round_trip_through_a_qvariant)
{
    auto const record = this->from_protobuf("text_0: 'a'");

    EXPECT_EQ(QVariant::fromValue(record).template value<typename TypeParam::Handle>(), record);
}

} // namespace
} // namespace tarnwick::data::php::bodies_test
