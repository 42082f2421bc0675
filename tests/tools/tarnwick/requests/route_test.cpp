#include "requests/route.h"

#include "support/table.h"

#include <string>

namespace tarnwick::program::route_test {
namespace {

struct Row {
    char const *name;
    std::string uri;
    std::string route;
};

using Route = test::TableTest<Row>;

TEST_P(Route, is_as_listed)
{
    EXPECT_EQ(route_of(GetParam().uri), GetParam().route);
}

Row const cases[] = {
    {"empty", "", ""},
    {"root", "/", "/"},
    {"words", "/api/users.php", "/api/users.php"},
    {"number", "/users/42", "/users/{id}"},
    {"number_zero", "/users/0/", "/users/{id}/"},
    {"number_beside_a_word", "/users/42-ann", "/users/{id}-ann"},
    {"number_before_an_extension", "/photo_12.jpg", "/photo_{id}.jpg"},
    {"date", "/2026/11-22", "/{id}/{id}-{id}"},
    {"number_in_a_word", "/v2/page3/4th", "/v2/page3/4th"},
    {"number_in_a_word_that_is_not_ascii",
     "/caf\xc3\xa9"
     "2",
     "/caf\xc3\xa9"
     "2"},
    {"uuid", "/a/123e4567-e89b-12d3-a456-426614174000/b", "/a/{id}/b"},
    {"uuid_in_capitals", "/123E4567-E89B-12D3-A456-426614174000", "/{id}"},
    {"uuid_of_letters", "/abcdefab-cdef-abcd-efab-cdefabcdefab", "/{id}"},
    {"longer_than_a_uuid", "/abcdefab-cdef-abcd-efab-cdefabcdefabx", "/abcdefab-cdef-abcd-efab-cdefabcdefabx"},
    {"hexadecimal_text", "/0123456789abcdef", "/{id}"},
    {"hexadecimal_digest", "/d41d8cd98f00b204e9800998ecf8427e.css", "/{id}.css"},
    {"short_hexadecimal_text", "/0123456789abcde", "/0123456789abcde"},
    {"word_of_hexadecimal_letters", "/defaced", "/defaced"},
    {"escaped_bytes", "/a%20b/%E9/%31", "/a%20b/%E9/%31"},
    {"number_after_an_escaped_byte", "/a%2012", "/a%20{id}"},
    {"percent_sign", "/50%", "/{id}%"},
    {"query", "/search?q=word&page=2", "/search?page&q"},
    {"order_of_parameters", "/search?page=3&q=x", "/search?page&q"},
    {"repeated_parameter", "/search?tag=a&tag=b", "/search?tag"},
    {"parameter_without_a_value", "/search?all&&x=", "/search?all&x"},
    {"number_in_a_name_of_a_parameter", "/cart?item[12]=1&item[7]=2", "/cart?item[{id}]"},
    {"empty_query", "/search?", "/search"},
    {"question_mark_in_the_query", "/a?b=c?d", "/a?b"},
    {"fragment", "/a/1#top", "/a/{id}"},
    {"absolute_uri", "http://host:8080/a", "http://host:{id}/a"},
    {"placeholder", "/users/{id}", "/users/{id}"},
};
INSTANTIATE_TEST_SUITE_P(Of, Route, test::rows(cases), test::by_name);

} // namespace
} // namespace tarnwick::program::route_test
