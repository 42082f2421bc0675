#include "print/short_text.h"

#include "print/csv.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace tarnwick::program::short_text_test {
namespace {

TEST(ShortText, of_a_length_of_time_has_three_digits)
{
    struct Case {
        data::TimePair value;
        std::string text;
    };
    Case const cases[] = {
        {{0, 0}, "0 ns"},
        {{0, 999}, "999 ns"},
        {{0, 1000}, "1.00 µs"},
        {{0, 9'994}, "9.99 µs"},
        {{0, 9'996}, "10.0 µs"},
        {{0, 99'960}, "100 µs"},
        {{0, 999'600}, "1.00 ms"},
        {{0, 42'834'034}, "42.8 ms"},
        {{1, 500'000'000}, "1.50 s"},
        {{999, 0}, "999 s"},
        {{86400, 5}, "86400 s"},
        {{-1, 0}, "-1 s, 0 ns"},
        {{0, -5}, "0 s, -5 ns"},
        {{0, 1'000'000'000}, "0 s, 1000000000 ns"},
    };
    for (auto const &[value, text] : cases)
        EXPECT_EQ(short_span_text(value), text);
}

TEST(ShortText, of_a_size_has_three_digits_of_a_decimal_unit)
{
    struct Case {
        std::int64_t bytes;
        std::string text;
    };
    Case const cases[] = {
        {0, "0 B"},
        {999, "999 B"},
        {1000, "1.00 kB"},
        {10'829'664, "10.8 MB"},
        {2'000'000'000, "2.00 GB"},
        {INT64_MAX, "9223372 TB"},
        {-7, "-7 B"},
    };
    for (auto const &[bytes, text] : cases)
        EXPECT_EQ(short_size_text(bytes), text);
}

TEST(ShortText, of_a_point_in_time)
{
    EXPECT_EQ(short_instant_text({1'700'000'000, 582'572'000}), "2023-11-14 22:13:20.582");
    EXPECT_EQ(short_instant_text({0, 0}), "-");
    EXPECT_EQ(short_instant_text({-1, 0}), "-1 s, 0 ns");
    EXPECT_EQ(iso_text({1'700'000'000, 5}), "2023-11-14T22:13:20.000000005Z");
    EXPECT_EQ(iso_text({0, 0}), "0.000000000");
    EXPECT_EQ(iso_text({-1, 0}), "-1.000000000");
}

TEST(ShortText, of_seconds_has_all_digits)
{
    EXPECT_EQ(seconds_text({1, 5}), "1.000000005");
    EXPECT_EQ(seconds_text({-1, 500'000'000}), "-0.500000000");
    EXPECT_EQ(seconds_text({-2, 500'000'000}), "-1.500000000");
    EXPECT_EQ(seconds_text({0, -5}), "0 s, -5 ns");
}

TEST(Csv, quotes_what_separates_cells)
{
    struct Case {
        std::string text;
        std::string cell;
    };
    Case const cases[] = {
        {"", ""},
        {"a b", "a b"},
        {"a,b", "\"a,b\""},
        {"a\"b", "\"a\"\"b\""},
        {"a\nb", "\"a\nb\""},
        {"a\rb", "\"a\rb\""},
    };
    for (auto const &[text, cell] : cases)
        EXPECT_EQ(csv_cell(text), cell);
}

} // namespace
} // namespace tarnwick::program::short_text_test
