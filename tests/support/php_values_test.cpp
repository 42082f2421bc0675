#include "support/php_values.h"

#include <gtest/gtest.h>

namespace tarnwick::test {
namespace {

using data::php::PelorinArray;
using data::php::PelorinObject;
using data::php::PelorinResource;
using data::php::ZVal;

TEST(PhpValues, null_handles_are_found_at_any_depth)
{
    EXPECT_EQ(null_handles(*php_array({{php_long(1), php_undefined()}})), 0U);
    EXPECT_EQ(null_handles(*php_array({{php_long(1), ZVal()}})), 1U);
    EXPECT_EQ(null_handles(*php_array({{ZVal(), ZVal()}})), 2U);
    EXPECT_EQ(null_handles(*php_array({{php_long(1), php_array({{ZVal(), php_null()}})}})), 1U);
    EXPECT_EQ(null_handles(*php_value(PelorinArray())), 1U);
    EXPECT_EQ(null_handles(*php_value(PelorinObject())), 1U);
    EXPECT_EQ(null_handles(*php_value(PelorinResource())), 1U);
}

TEST(PhpValues, notation_tells_null_handles_and_lost_values)
{
    EXPECT_EQ(notation(*php_array({{php_long(1), ZVal()}})), "[long 1 => NULL HANDLE]");
    EXPECT_EQ(notation(*php_valueless()), "valueless");
}

TEST(PhpValues, notation_tells_kinds_and_bytes_apart)
{
    EXPECT_EQ(notation(*php_array({{php_string("5"), php_long(5)}, {php_long(5), php_value(5.0)}})),
              "[string '5' => long 5, long 5 => double 5]");
    EXPECT_EQ(notation(*php_string(std::string("a\0\xff", 3))), "string 'a\\x00\\xff'");
}

} // namespace
} // namespace tarnwick::test
