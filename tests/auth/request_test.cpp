#include <tarnwick/auth/request.h>

#include "auth/expect_printed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <type_traits>
#include <vector>

namespace PelorinPHPX::Auth::request_test {
namespace {

using namespace Qt::StringLiterals;

static_assert(std::is_same_v<decltype(RequestData::kind), std::uint8_t>);

Request filled()
{
    Request request(new RequestData);
    request->kind = 255;
    request->text_1 = u"a"_s;
    request->text_2 = u""_s;
    request->optional_text = u"c"_s;
    return request;
}

TEST(Request, is_empty_by_default)
{
    RequestData const request;
    EXPECT_EQ(request.ref.loadRelaxed(), 0);
    EXPECT_EQ(request.kind, 0);
    EXPECT_TRUE(request.text_1.isNull());
    EXPECT_TRUE(request.text_2.isNull());
    EXPECT_FALSE(request.optional_text);
}

TEST(Request, destroys_the_last_text_first)
{
    RequestData const request;
    std::vector<void const *> const fields{&request.ref, &request.kind, &request.text_1, &request.text_2,
                                           &request.optional_text};
    EXPECT_TRUE(std::ranges::is_sorted(fields));
}

TEST(Request, prints_every_field)
{
    auto const *const printed = R"(auth.Request{kind: 255, text_1: "a", text_2: "", optional_text: "c"})";
    tarnwick::test::expect_printed(filled(), printed);
}

TEST(Request, prints_absent_fields)
{
    EXPECT_EQ(fmt::format("{}", Request(new RequestData)),
              "auth.Request{kind: 0, text_1: null, text_2: null, optional_text: none}");
}

} // namespace
} // namespace PelorinPHPX::Auth::request_test
