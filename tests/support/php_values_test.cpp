#include "support/php_values.h"

#include <gtest/gtest.h>

namespace tarnwick::test::php_values_test {
namespace {

using namespace data::php;

TEST(PhpValues, null_handles_are_found_at_any_depth)
{
    EXPECT_EQ(null_handles(*php_array({{php_long(1), php_undefined()}})), 0U);
    EXPECT_EQ(null_handles(*php_array({{php_long(1), ZVal()}})), 1U);
    EXPECT_EQ(null_handles(*php_array({{ZVal(), ZVal()}})), 2U);
    EXPECT_EQ(null_handles(*php_array({{php_long(1), php_array({{ZVal(), php_null()}})}})), 1U);
    EXPECT_EQ(null_handles(*php_array(PelorinArray())), 1U);
    EXPECT_EQ(null_handles(*php_object(PelorinObject())), 1U);
    EXPECT_EQ(null_handles(*php_resource(PelorinResource())), 1U);
}

TEST(PhpValues, notation_shows_null_handles_and_valueless_variants)
{
    EXPECT_EQ(notation(*php_array({{php_long(1), ZVal()}})), "[long 1 => NULL HANDLE]");
    EXPECT_EQ(notation(*php_valueless()), "valueless");
}

TEST(PhpValues, notation_distinguishes_kinds_and_bytes)
{
    EXPECT_EQ(notation(*php_array({{php_string("5"), php_long(5)}, {php_long(5), php_double(5.0)}})),
              "[string '5' => long 5, long 5 => double 5]");
    EXPECT_EQ(notation(*php_string({"a\0\xff", 3})), "string 'a\\x00\\xff'");
}

} // namespace
} // namespace tarnwick::test::php_values_test
