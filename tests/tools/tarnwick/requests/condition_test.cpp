#include "requests/condition.h"

#include "support/table.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::program::condition_test {
namespace {

FieldValue const absent;

FieldValue text(std::string_view value)
{
    return value;
}

FieldValue number(long double value)
{
    return value;
}

struct Comparison {
    std::string name;
    std::string condition;
    FieldType type;
    std::vector<FieldValue> fulfil;
    std::vector<FieldValue> fail;
};

std::vector<Comparison> const comparisons{
    {"present", "f", FieldType::text, {text(""), text("x"), number(0), OtherValue()}, {absent}},
    {"absent", "!f", FieldType::text, {absent}, {text(""), number(0), OtherValue()}},
    {"true_boolean", "f", FieldType::boolean, {true}, {false, absent}},
    {"false_boolean", "!f", FieldType::boolean, {false}, {true}},
    {"equal_boolean", "f=true", FieldType::boolean, {true}, {false, absent}},
    {"unequal_boolean", "f!=true", FieldType::boolean, {false}, {true, absent}},
    {"equal_number", "f=5", FieldType::number, {number(5)}, {number(6), number(-5), absent}},
    {"double_equals_sign", "f==5", FieldType::number, {number(5)}, {number(6)}},
    {"unequal_number", "f!=5", FieldType::number, {number(6)}, {number(5), absent}},
    {"less", "f<5", FieldType::number, {number(4)}, {number(5), absent}},
    {"at_most", "f<=5", FieldType::number, {number(5)}, {number(6), absent}},
    {"greater", "f>5", FieldType::number, {number(6)}, {number(5), absent}},
    {"at_least", "f>=5", FieldType::number, {number(5)}, {number(4), absent}},
    {"negative_number", "f<-1.5", FieldType::number, {number(-2)}, {number(-1), number(0)}},
    {"all_digits_of_a_64_bit_number",
     "f=18446744073709551615",
     FieldType::number,
     {number(18446744073709551615ULL)},
     {number(18446744073709551614ULL)}},
    {"decimal_size", "f>=1.5MB", FieldType::number, {number(1'500'000)}, {number(1'499'999)}},
    {"binary_size", "f>=1MiB", FieldType::number, {number(1'048'576)}, {number(1'048'575)}},
    {"exact_fraction_of_a_unit", "f=0.1ms", FieldType::span, {number(100'000)}, {number(100'001), number(99'999)}},
    {"seconds", "f>2s", FieldType::span, {number(2'000'000'001)}, {number(2'000'000'000)}},
    {"minutes", "f=2min", FieldType::span, {number(120e9L)}, {number(2e9L)}},
    {"zero_needs_no_unit", "f>0", FieldType::span, {number(1)}, {number(0)}},
    {"instant_in_utc", "f>=2026-11-22T10:00:00Z", FieldType::instant, {number(1795341600e9L)}, {number(1795341599e9L)}},
    {"instant_without_zone_is_utc",
     "f=2026-11-22T10:00:00.250",
     FieldType::instant,
     {number(1795341600.25e9L)},
     {number(1795341600e9L)}},
    {"instant_of_a_date", "f=1970-01-02", FieldType::instant, {number(86400e9L)}, {number(0)}},
    {"equal_text", "f=/a b", FieldType::text, {text("/a b")}, {text("/a"), text("/A b"), absent}},
    {"unequal_text", "f!=x", FieldType::text, {text("y"), text("")}, {text("x"), absent}},
    {"empty_text", "f=", FieldType::text, {text("")}, {text("x"), absent}},
    {"part_matches", "f~b+c", FieldType::text, {text("abbcd")}, {text("ac"), text("ABC"), absent}},
    {"anchored_pattern", "f~^/api", FieldType::text, {text("/api/x")}, {text("/x/api")}},
    {"operators_in_the_value", "f=a>=b", FieldType::text, {text("a>=b")}, {text("a")}},
    {"nested_field", "a.B.c=1", FieldType::number, {number(1)}, {number(2)}},
};

class Compares : public test::TableTest<Comparison> {};

TEST_P(Compares, values_of_a_field)
{
    Condition condition(GetParam().condition);
    condition.set_type(GetParam().type);
    for (auto const &value : GetParam().fulfil)
        EXPECT_TRUE(condition.holds(value)) << &value - GetParam().fulfil.data();
    for (auto const &value : GetParam().fail)
        EXPECT_FALSE(condition.holds(value)) << &value - GetParam().fail.data();
}

INSTANTIATE_TEST_SUITE_P(Condition, Compares, test::rows(comparisons), test::by_name);

struct Fault {
    std::string condition;
    FieldType type;
    std::string text;
};

TEST(Condition, that_is_wrong_is_refused_with_the_reason)
{
    std::string const form =
        " is not a condition: write FIELD, !FIELD or FIELD OP VALUE, where OP is one of =, !=, <, <=, "
        ">, >=, ~, without spaces";
    std::string const size = "f is a number, optionally with a unit such as kB, MB or MiB, not ";
    std::string const span = "f is a length of time with a unit (ns, us, ms, s, min or h), not ";
    Fault const faults[] = {
        {"", FieldType::number, "''" + form},
        {"=5", FieldType::number, "'=5'" + form},
        {"f = 5", FieldType::number, "'f = 5'" + form},
        {"!f=5", FieldType::number, "'!f=5'" + form},
        {"f|5", FieldType::number, "'f|5'" + form},
        {"f>fast", FieldType::number, size + "'fast'"},
        {"f>", FieldType::number, size + "''"},
        {"f>1.2.3", FieldType::number, size + "'1.2.3'"},
        {"f>5 parsecs", FieldType::number, size + "'5 parsecs'"},
        {"f>200", FieldType::span, span + "'200'"},
        {"f>200MB", FieldType::span, span + "'200MB'"},
        {"f>now", FieldType::instant, "f is a point in time, such as 2026-11-22T10:30:00Z, not 'now'"},
        {"f=1", FieldType::boolean, "f is true or false: write f=true or f=false"},
        {"f>true", FieldType::boolean, "f is true or false: write f=true or f=false"},
        {"f>b", FieldType::text, "f is a text, which cannot be compared with >: use =, != or ~"},
        {"f~(", FieldType::text, "'(' is not a regular expression: missing closing parenthesis"},
        {"f~5", FieldType::number, "f is not a text: ~ is for texts"},
        {"f=5", FieldType::other, "f has no single value: only f (present) and !f (absent) are possible"},
    };
    for (auto const &[text, type, fault] : faults) {
        try {
            Condition condition(text);
            condition.set_type(type);
            ADD_FAILURE() << text << " was accepted";
        } catch (std::invalid_argument const &error) {
            EXPECT_EQ(error.what(), fault);
        }
    }
}

} // namespace
} // namespace tarnwick::program::condition_test
