// What request and response headers have in common: how raw lines are split.

#include <tarnwick/data/php/request_headers.h>
#include <tarnwick/data/php/response_headers.h>

#include <tarnwick/data/print.h>

#include "support/allocations.h"

#include <pelorin/protobuf/Glimmet/headers.pb.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

namespace tarnwick::data::php {
namespace {

using namespace std::string_literals;

struct OfRequest {
    using Record = detail::RequestHeaders;
    using Message = pelorin::protobuf::Glimmet::RequestHeaders;
};

struct OfResponse {
    using Record = detail::ResponseHeaders;
    using Message = pelorin::protobuf::Glimmet::ResponseHeaders;
};

template <class Kind>
class Headers : public testing::Test {
public:
    static Kind::Message message(std::vector<std::string> const &lines)
    {
        typename Kind::Message message;
        for (auto const &line : lines)
            message.add_lines(line);
        return message;
    }

    static std::string from_lines(std::vector<std::string> const &lines)
    {
        return to_text(typename Kind::Record(message(lines), RequestId(7)).headers());
    }
};

using Kinds = testing::Types<OfRequest, OfResponse>;
TYPED_TEST_SUITE(Headers, Kinds, );

TYPED_TEST(Headers, split_a_line_at_its_first_colon_with_a_space_behind_it)
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
    typename TypeParam::Record const record(this->message({}), RequestId(7));

    ASSERT_TRUE(record.headers());
    EXPECT_TRUE(record.headers()->elements().empty());
    EXPECT_EQ(record.request_id().id(), 7U);
}

TYPED_TEST(Headers, of_one_name_stay_apart_in_their_order)
{
    EXPECT_EQ(this->from_lines({"A: 2", "B: 1", "A: 1", "A: 2"}),
              R"(["A" => "2", "B" => "1", "A" => "1", "A" => "2"])");
}

TYPED_TEST(Headers, of_short_lines_take_two_allocations_a_line)
{
    auto const message = this->message({"A: b", "C: d", "E: f", "G"});
    constexpr std::size_t record_and_array_and_elements = 3;
    constexpr std::size_t keys_and_values = 8;

    EXPECT_EQ(test::allocations_of([&] { delete new typename TypeParam::Record(message, RequestId(7)); }),
              record_and_array_and_elements + keys_and_values);
}

} // namespace
} // namespace tarnwick::data::php
