#include "print/json_parts.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace tarnwick::program::json_parts_test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// Returns the parts, each as its name, a space and its value.
std::vector<std::string> parts(std::string_view json)
{
    std::vector<std::string> found;
    for (auto const &[name, value] : json_parts(json))
        found.push_back(std::string(name) + ' ' + std::string(value));
    return found;
}

TEST(JsonParts, are_the_members_of_an_object_and_the_elements_of_a_list)
{
    EXPECT_THAT(parts(R"({"a":1,"b":null,"c":{"d":[2,3]}})"), ElementsAre("a 1", "b null", R"(c {"d":[2,3]})"));
    EXPECT_THAT(parts(R"([18446744073709551615,[],{}])"), ElementsAre(" 18446744073709551615", " []", " {}"));
}

TEST(JsonParts, of_an_empty_value_or_a_scalar_are_none)
{
    for (auto const *json : {"{}", "[]", "1", "null", R"("[1,2]")", ""})
        EXPECT_THAT(parts(json), IsEmpty()) << json;
}

TEST(JsonParts, can_be_strings_with_brackets_commas_and_escaped_quotes)
{
    EXPECT_THAT(parts(R"(["a,b","]","\"","\\","\\\",[",1])"),
                ElementsAre(R"( "a,b")", R"( "]")", R"( "\"")", R"( "\\")", R"( "\\\",[")", " 1"));
    EXPECT_THAT(parts(R"({"a":"}","b":["{"]})"), ElementsAre(R"(a "}")", R"(b ["{"])"));
}

} // namespace
} // namespace tarnwick::program::json_parts_test
