#include <tarnwick/data/php/pelorin_array.h>

#include "support/allocations.h"
#include "support/php_values.h"
#include "support/table.h"
#include "support/textproto.h"

#include <tarnwick/rpc/php/v1/zval.pb.h>

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

namespace tarnwick::data::php::pelorin_array_diff_test {
namespace {

using test::notation;
using test::PhpElements;
using test::PhpKind;
using namespace Qt::StringLiterals;

constexpr auto from_rpc = test::record_from_text<ZVal, rpc::php::v1::ZVal>;

std::string diff(PhpElements own, PhpElements other)
{
    return notation(*php_elements(std::move(own))->diff_keys(*php_elements(std::move(other))));
}

/// Whether a key of one array is found in another.
bool same_key(ZVal const &left, ZVal const &right)
{
    auto const own = php_elements({{left, php_long(1)}});
    auto const other = php_elements({{right, php_long(2)}});
    return own->diff_keys(*other)->elements().empty();
}

TEST(DiffKeys, of_an_empty_array_has_all_elements_in_order)
{
    EXPECT_EQ(diff({}, {{php_string("b"), php_long(1)},
                        {php_long(9), php_array({{php_long(1), php_array({})}})},
                        {php_string("a"), php_null()}}),
              "[string 'b' => long 1, long 9 => [long 1 => []], string 'a' => null]");
}

TEST(DiffKeys, of_another_array_with_an_empty_one_is_empty)
{
    EXPECT_EQ(diff({{php_long(1), php_long(1)}, {php_undefined(), php_array({})}}, {}), "[]");
    EXPECT_EQ(diff({}, {}), "[]");
}

TEST(DiffKeys, equal_arrays_have_no_difference)
{
    auto const elements = [] {
        return PhpElements{{php_long(1), php_long(1)},
                           {php_string("k"), php_array({{php_string("n"), php_array({{php_long(1), php_null()}})}})},
                           {php_undefined(), php_null()}};
    };
    EXPECT_EQ(diff(elements(), elements()), "[]");

    auto const same = php_elements(elements());
    EXPECT_EQ(notation(*same->diff_keys(*same)), "[]");
}

TEST(DiffKeys, is_not_symmetric)
{
    auto const a = [] {
        return PhpElements{{php_string("both"), php_long(1)},
                           {php_string("a"), php_long(2)},
                           {php_long(1), php_array({{php_string("only a"), php_null()}})}};
    };
    auto const b = [] {
        return PhpElements{{php_string("b"), php_long(3)},
                           {php_string("both"), php_long(4)},
                           {php_long(1), php_array({{php_string("only b"), php_null()}})}};
    };
    EXPECT_EQ(diff(a(), b()), "[string 'b' => long 3, long 1 => [string 'only b' => null]]");
    EXPECT_EQ(diff(b(), a()), "[string 'a' => long 2, long 1 => [string 'only a' => null]]");
}

TEST(DiffKeys, ignores_changed_values)
{
    EXPECT_EQ(diff({{php_long(1), php_long(1)}, {php_long(2), php_string("a")}},
                   {{php_long(1), php_long(2)}, {php_long(2), php_null()}}),
              "[]");
}

TEST(DiffKeys, ignores_an_array_against_another_kind)
{
    EXPECT_EQ(diff({{php_long(1), php_long(1)}}, {{php_long(1), php_array({{php_long(2), php_null()}})}}), "[]");
    EXPECT_EQ(diff({{php_long(1), php_array({{php_long(2), php_null()}})}}, {{php_long(1), php_long(1)}}), "[]");
    EXPECT_EQ(diff({{php_long(1), php_array({{php_long(2), php_null()}})}}, {{php_long(1), test::php_valueless()}}),
              "[]");
}

TEST(DiffKeys, does_not_compare_properties_of_objects)
{
    EXPECT_EQ(diff({{php_long(1), from_rpc("object_value { }")}},
                   {{php_long(1), from_rpc("object_value { properties { elements { long_key: 5 } } }")}}),
              "[]");
}

TEST(DiffKeys, new_keys_three_levels_down_have_only_the_path_to_them)
{
    auto const own = php_elements(
        {{php_string("1"),
          php_array({{php_string("2"), php_array({{php_string("3"), php_array({})}, {php_string("x"), php_long(1)}})},
                     {php_string("x"), php_long(1)}})},
         {php_string("x"), php_long(1)}});
    auto const other = php_elements(
        {{php_string("x"), php_long(2)},
         {php_string("1"),
          php_array(
              {{php_string("x"), php_long(2)},
               {php_string("2"), php_array({{php_string("x"), php_long(2)},
                                            {php_string("3"), php_array({{php_string("new b"), php_array({})},
                                                                         {php_string("new a"), php_long(7)}})}})}})}});

    EXPECT_EQ(notation(*own->diff_keys(*other)),
              "[string '1' => [string '2' => [string '3' => [string 'new b' => [], string 'new a' => long 7]]]]");
    EXPECT_EQ(notation(*other->diff_keys(*own)), "[]");
}

TEST(DiffKeys, an_empty_nested_difference_is_omitted)
{
    EXPECT_EQ(diff({{php_long(1), php_array({{php_long(2), php_array({})}})}},
                   {{php_long(1), php_array({{php_long(2), php_array({})}})}, {php_long(3), php_null()}}),
              "[long 3 => null]");
    EXPECT_EQ(diff({{php_long(1), php_array({{php_long(2), php_null()}})}}, {{php_long(1), php_array({})}}), "[]");
}

TEST(DiffKeys, an_empty_array_under_a_new_key_is_reported)
{
    EXPECT_EQ(diff({{php_long(1), php_array({})}}, {{php_long(2), php_array({})}}), "[long 2 => []]");
}

TEST(DiffKeys, a_new_key_that_occurs_twice_is_reported_twice)
{
    EXPECT_EQ(diff({{php_long(1), php_null()}},
                   {{php_string("k"), php_long(2)}, {php_long(1), php_null()}, {php_string("k"), php_long(1)}}),
              "[string 'k' => long 2, string 'k' => long 1]");
}

TEST(DiffKeys, a_common_key_that_the_other_has_twice_is_compared_twice)
{
    EXPECT_EQ(diff({{php_string("k"), php_array({{php_long(1), php_null()}})}},
                   {{php_string("k"), php_array({{php_long(1), php_null()}, {php_long(2), php_null()}})},
                    {php_string("k"), php_array({{php_long(3), php_null()}})}}),
              "[string 'k' => [long 2 => null], string 'k' => [long 3 => null]]");
}

TEST(DiffKeys, the_first_of_two_own_elements_with_the_key_is_compared)
{
    EXPECT_EQ(diff({{php_string("k"), php_array({{php_long(1), php_null()}})},
                    {php_string("k"), php_array({{php_long(2), php_null()}})}},
                   {{php_string("k"), php_array({{php_long(1), php_null()}, {php_long(2), php_null()}})}}),
              "[string 'k' => [long 2 => null]]");
    // The search stops there even if that element is no array.
    EXPECT_EQ(diff({{php_string("k"), php_long(1)}, {php_string("k"), php_array({})}},
                   {{php_string("k"), php_array({{php_long(1), php_null()}})}}),
              "[]");
}

TEST(DiffKeys, the_order_is_that_of_the_other_array)
{
    EXPECT_EQ(diff({{php_long(2), php_array({})}, {php_long(1), php_array({})}},
                   {{php_long(3), php_null()},
                    {php_long(1), php_array({{php_long(9), php_null()}, {php_long(8), php_null()}})},
                    {php_string("a"), php_null()},
                    {php_long(2), php_array({{php_long(7), php_null()}})}}),
              "[long 3 => null, long 1 => [long 9 => null, long 8 => null], string 'a' => null, "
              "long 2 => [long 7 => null]]");
}

// Payloads of the result.

TEST(DiffKeys, shares_keys_and_values_of_the_other_array)
{
    auto const own = php_elements({{php_string("common"), php_null()}});
    auto const other = php_elements({{php_string("common"), php_null()},
                                     {php_string("scalar"), php_long(1)},
                                     {php_string("array"), php_array({{php_long(1), php_long(2)}})}});
    {
        auto const result = own->diff_keys(*other);

        EXPECT_EQ(result->ref.loadRelaxed(), 1);
        ASSERT_EQ(result->elements().size(), 2U);
        for (std::size_t i = 0; i < 2; ++i) {
            auto const &[key, value] = result->elements()[i];
            EXPECT_EQ(key.get(), other->elements()[i + 1].first.get());
            EXPECT_EQ(value.get(), other->elements()[i + 1].second.get());
            EXPECT_EQ(key->ref.loadRelaxed(), 2);
            EXPECT_EQ(value->ref.loadRelaxed(), 2);
        }
        EXPECT_EQ(std::get<PelorinArray>(result->elements()[1].second->value())->ref.loadRelaxed(), 1);
        EXPECT_EQ(other->elements()[0].first->ref.loadRelaxed(), 1);
        EXPECT_EQ(own->elements()[0].first->ref.loadRelaxed(), 1);
    }
    for (auto const &[key, value] : other->elements()) {
        EXPECT_EQ(key->ref.loadRelaxed(), 1);
        EXPECT_EQ(value->ref.loadRelaxed(), 1);
    }
}

TEST(DiffKeys, allocates_one_value_and_one_array_for_a_nested_difference)
{
    auto const own = php_elements({{php_string("k"), php_array({{php_long(1), php_null()}})}});
    auto const other =
        php_elements({{php_string("k"), php_array({{php_long(1), php_null()}, {php_long(2), php_long(3)}})}});
    auto const &other_value = other->elements()[0].second;
    auto const &other_array = std::get<PelorinArray>(other_value->value());

    PelorinArray result;
    auto const blocks = test::allocations_of([&] { result = own->diff_keys(*other); });

    auto const &[key, value] = result->elements().at(0);
    auto const &array = std::get<PelorinArray>(value->value());
    EXPECT_EQ(key.get(), other->elements()[0].first.get());
    EXPECT_NE(value.get(), other_value.get());
    EXPECT_NE(array.get(), other_array.get());
    EXPECT_EQ(value->ref.loadRelaxed(), 1);
    EXPECT_EQ(array->ref.loadRelaxed(), 1);
    EXPECT_EQ(array->elements().at(0).first.get(), other_array->elements()[1].first.get());
    EXPECT_EQ(array->elements().at(0).second.get(), other_array->elements()[1].second.get());
    EXPECT_EQ(key->ref.loadRelaxed(), 2);
    EXPECT_EQ(array->elements().at(0).first->ref.loadRelaxed(), 2);
    EXPECT_EQ(other_value->ref.loadRelaxed(), 1);
    // The nested array with its elements, the value around it, the result with its elements.
    EXPECT_EQ(blocks, 5U);
}

TEST(DiffKeys, the_result_outlives_both_arrays)
{
    PelorinArray result;
    {
        auto const own = php_elements({{php_string("k"), php_array({})}});
        auto const other = php_elements({{php_string("k"), php_array({{php_long(1), php_string("v")}})},
                                         {php_string("n"), php_array({{php_long(2), php_null()}})}});
        result = own->diff_keys(*other);
    }
    EXPECT_EQ(notation(*result), "[string 'k' => [long 1 => string 'v'], string 'n' => [long 2 => null]]");
    EXPECT_EQ(test::null_handles(*result), 0U);
}

TEST(DiffKeys, without_a_difference_allocates_only_a_new_array)
{
    auto const own = php_elements({{php_long(1), php_null()}, {php_long(2), php_null()}});
    auto const empty = php_elements({});
    PelorinArray first;
    PelorinArray second;

    EXPECT_EQ(test::allocations_of([&] { first = own->diff_keys(*own); }), 1U);
    EXPECT_EQ(test::allocations_of([&] { second = own->diff_keys(*empty); }), 1U);
    ASSERT_TRUE(first && second);
    EXPECT_NE(first.get(), second.get());
    EXPECT_NE(second.get(), empty.get());
    EXPECT_EQ(first->ref.loadRelaxed(), 1);
}

TEST(DiffKeys, changes_neither_array)
{
    auto const own = php_elements({{php_long(1), php_array({{php_long(2), php_null()}})}});
    auto const other = php_elements({{php_long(1), php_array({{php_long(3), php_null()}})}, {php_long(4), php_null()}});
    auto const own_before = notation(*own);
    auto const other_before = notation(*other);
    auto const result = own->diff_keys(*other);

    EXPECT_EQ(notation(*own), own_before);
    EXPECT_EQ(notation(*other), other_before);
}

// Equality of keys.

struct KeyCase {
    char const *name;
    ZVal (*left)();
    ZVal (*right)();
    bool equal;
};

ZVal object()
{
    return from_rpc("object_value { class_name: 'C' properties { elements { long_key: 1 } } value { long_value: 5 } }");
}

ZVal resource()
{
    return from_rpc("resource_value { type_name: 'r' value { long_value: 5 } }");
}

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

KeyCase const key_cases[] = {
    {"undefined", [] { return php_undefined(); }, [] { return php_undefined(); }, true},
    {"null", [] { return php_null(); }, [] { return php_null(); }, true},
    {"bool_true", [] { return php_bool(true); }, [] { return php_bool(true); }, true},
    {"bool_false", [] { return php_bool(false); }, [] { return php_bool(false); }, true},
    {"bools_differ", [] { return php_bool(true); }, [] { return php_bool(false); }, false},
    {"long", [] { return php_long(-5); }, [] { return php_long(-5); }, true},
    {"longs_differ", [] { return php_long(5); }, [] { return php_long(6); }, false},
    {"longs_differ_in_their_high_half", [] { return php_long(5); }, [] { return php_long((1LL << 32) + 5); }, false},
    {"double", [] { return php_double(2.5); }, [] { return php_double(2.5); }, true},
    {"doubles_differ", [] { return php_double(2.5); }, [] { return php_double(2.25); }, false},
    {"double_0_and_minus_0", [] { return php_double(0.0); }, [] { return php_double(-0.0); }, true},
    {"double_nan", [] { return php_double(nan); }, [] { return php_double(nan); }, false},
    {"double_nan_and_number", [] { return php_double(nan); }, [] { return php_double(2.5); }, false},
    {"double_infinity", [] { return php_double(std::numeric_limits<double>::infinity()); },
     [] { return php_double(std::numeric_limits<double>::infinity()); }, true},
    {"string", [] { return php_string("a\xff"); }, [] { return php_string("a\xff"); }, true},
    {"string_empty", [] { return php_string(""); }, [] { return php_string(""); }, true},
    {"strings_differ_in_case", [] { return php_string("a"); }, [] { return php_string("A"); }, false},
    {"strings_differ_in_length", [] { return php_string("a"); }, [] { return php_string("ab"); }, false},
    {"strings_differ_after_a_nul", [] { return php_string({"a\0b", 3}); }, [] { return php_string({"a\0c", 3}); },
     false},
    {"strings_differ_by_a_nul", [] { return php_string("a"); }, [] { return php_string({"a\0", 2}); }, false},
    {"strings_that_are_the_same_number", [] { return php_string("5"); }, [] { return php_string("05"); }, false},
    {"strings_that_are_the_same_text", [] { return php_string("\xc3\xa9"); }, [] { return php_string("e\xcc\x81"); },
     false},
    {"arrays_without_elements", [] { return php_array({}); }, [] { return php_array({}); }, true},
    {"arrays_with_the_same_content", [] { return php_array({{php_long(1), php_long(2)}}); },
     [] { return php_array({{php_long(1), php_long(2)}}); }, false},
    {"array_with_elements_and_without", [] { return php_array({{php_long(1), php_long(2)}}); },
     [] { return php_array({}); }, false},
    {"objects_with_the_same_content", object, object, false},
    {"objects_with_nothing", [] { return from_rpc("object_value { }"); }, [] { return from_rpc("object_value { }"); },
     false},
    {"resources_with_the_same_content", resource, resource, false},
    {"resources_with_nothing", [] { return from_rpc("resource_value { }"); },
     [] { return from_rpc("resource_value { }"); }, false},
    {"json", [] { return php_json("{\"a\":1}"); }, [] { return php_json("{\"a\":1}"); }, true},
    {"json_empty", [] { return php_json({}); }, [] { return php_json(""); }, true},
    {"json_differs_in_blanks", [] { return php_json("[1]"); }, [] { return php_json("[1] "); }, false},
    {"json_differs_after_a_nul", [] { return php_json({"a\0b", 3}); }, [] { return php_json({"a\0c", 3}); }, false},
    {"json_differs_in_case", [] { return php_json("a"); }, [] { return php_json("A"); }, false},
    {"timestamp", [] { return php_timestamp({5, 6}); }, [] { return php_timestamp({5, 6}); }, true},
    {"timestamps_differ_in_seconds", [] { return php_timestamp({5, 6}); }, [] { return php_timestamp({4, 6}); }, false},
    {"timestamps_differ_in_nanos", [] { return php_timestamp({5, 6}); }, [] { return php_timestamp({5, 7}); }, false},
    {"timestamps_that_are_the_same_time", [] { return php_timestamp({5, 0}); },
     [] { return php_timestamp({4, 1'000'000'000}); }, false},
    {"valueless", test::php_valueless, test::php_valueless, false},
    {"valueless_and_undefined", test::php_valueless, [] { return php_undefined(); }, false},
};

class DiffKeysEquality : public test::TableTest<KeyCase> {};

TEST_P(DiffKeysEquality, of_keys)
{
    auto const left = GetParam().left();
    auto const right = GetParam().right();
    EXPECT_EQ(same_key(left, right), GetParam().equal);
    EXPECT_EQ(same_key(right, left), GetParam().equal);
}

INSTANTIATE_TEST_SUITE_P(Cases, DiffKeysEquality, test::rows(key_cases), test::by_name);

TEST(DiffKeysEquality, every_kind_but_nan_equals_itself_and_no_other_kind)
{
    // Kinds that have a zero are zero, so that only the kinds differ.
    std::vector<ZVal> const keys{
        php_undefined(),
        php_null(),
        php_bool(false),
        php_long(0),
        php_double(0.0),
        php_string(""),
        php_array({}),
        from_rpc("object_value { }"),
        from_rpc("resource_value { }"),
        php_json(""),
        php_timestamp({}),
    };
    ASSERT_EQ(keys.size(), std::variant_size_v<detail::ZVal::Value>);
    for (std::size_t left = 0; left < keys.size(); ++left) {
        ASSERT_EQ(keys[left]->value().index(), left);
        for (std::size_t right = 0; right < keys.size(); ++right)
            EXPECT_EQ(same_key(keys[left], keys[right]), left == right) << left << " and " << right;
    }
}

TEST(DiffKeysEquality, the_integer_5_and_the_string_5_are_different_keys)
{
    EXPECT_EQ(diff({{php_long(5), php_null()}}, {{php_string("5"), php_null()}}), "[string '5' => null]");
    EXPECT_EQ(diff({{php_string("5"), php_null()}}, {{php_long(5), php_null()}}), "[long 5 => null]");
}

TEST(DiffKeysEquality, two_elements_without_a_key_have_equal_keys)
{
    EXPECT_EQ(diff({{php_undefined(), php_array({{php_long(1), php_null()}})}},
                   {{php_undefined(), php_array({{php_long(2), php_null()}})}, {php_undefined(), php_long(1)}}),
              "[undefined => [long 2 => null]]");
}

TEST(DiffKeysEquality, of_arrays_is_the_identity_of_their_keys_and_values)
{
    auto const a = php_long(1);
    auto const b = php_string("b");
    auto const c = php_array({});
    auto const array = [](PhpElements elements) { return php_array(std::move(elements)); };

    EXPECT_TRUE(same_key(array({{a, b}}), array({{a, b}})));
    EXPECT_TRUE(same_key(array({{a, b}, {b, c}}), array({{a, b}, {b, c}})));
    EXPECT_FALSE(same_key(array({{a, b}}), array({{a, c}})));
    EXPECT_FALSE(same_key(array({{a, b}}), array({{c, b}})));
    EXPECT_FALSE(same_key(array({{a, b}}), array({{php_long(1), b}})));
    EXPECT_FALSE(same_key(array({{a, b}}), array({{a, php_string("b")}})));
    EXPECT_FALSE(same_key(array({{a, b}}), array({{a, b}, {b, c}})));
    EXPECT_FALSE(same_key(array({{a, b}, {b, c}}), array({{b, c}, {a, b}})));
    EXPECT_FALSE(same_key(array({{a, b}, {b, c}}), array({{a, b}, {b, a}})));
}

TEST(DiffKeysEquality, of_arrays_does_not_need_the_same_array)
{
    auto const payload = php_elements({{php_long(1), php_null()}});
    auto const twin = php_elements(payload->elements());

    ASSERT_NE(payload.get(), twin.get());
    EXPECT_TRUE(same_key(php_array(payload), php_array(payload)));
    EXPECT_TRUE(same_key(php_array(payload), php_array(twin)));
}

TEST(DiffKeysEquality, of_objects_and_resources_is_the_identity_of_their_parts)
{
    auto const an_object = object();
    auto const a_resource = resource();

    EXPECT_TRUE(same_key(an_object, an_object));
    EXPECT_TRUE(same_key(a_resource, a_resource));
    // Another value of the same object.
    EXPECT_TRUE(same_key(an_object, php_object(std::get<PelorinObject>(an_object->value()))));
    EXPECT_TRUE(same_key(a_resource, php_resource(std::get<PelorinResource>(a_resource->value()))));
    // Another class or type, and other parts.
    EXPECT_FALSE(same_key(an_object, from_rpc("object_value { class_name: 'D' }")));
    EXPECT_FALSE(same_key(a_resource, from_rpc("resource_value { type_name: 's' }")));
}

struct PartCase {
    char const *name;
    QString class_name;
    PelorinArray properties;
    ZVal value;
    bool equal;
};

TEST(DiffKeysEquality, of_objects_needs_each_of_the_three_parts)
{
    auto const properties = php_elements({{php_long(1), php_null()}});
    auto const value = php_long(5);
    auto const key = [](QString const &class_name, PelorinArray const &array, ZVal const &further) {
        return php_object(PelorinObject(new detail::PelorinObject(class_name, array, further)));
    };
    PartCase const cases[] = {
        {"no_part_differs", u"C"_s, properties, value, true},
        {"another_class", u"D"_s, properties, value, false},
        {"a_class_of_other_case", u"c"_s, properties, value, false},
        {"properties_of_the_same_content", u"C"_s, php_elements({{php_long(1), php_null()}}), value, false},
        {"a_value_of_the_same_content", u"C"_s, properties, php_long(5), false},
    };
    auto const own = key(u"C"_s, properties, value);
    for (auto const &row : cases) {
        SCOPED_TRACE(row.name);
        auto const other = key(row.class_name, row.properties, row.value);
        EXPECT_EQ(same_key(own, other), row.equal);
        EXPECT_EQ(same_key(other, own), row.equal);
    }
}

TEST(DiffKeysEquality, of_resources_needs_each_of_the_two_parts)
{
    auto const value = php_long(5);
    auto const key = [](QString const &type_name, ZVal const &further) {
        return php_resource(PelorinResource(new detail::PelorinResource(type_name, further)));
    };
    PartCase const cases[] = {
        {"no_part_differs", u"stream"_s, {}, value, true},
        {"another_type", u"curl"_s, {}, value, false},
        {"a_value_of_the_same_content", u"stream"_s, {}, php_long(5), false},
    };
    auto const own = key(u"stream"_s, value);
    for (auto const &row : cases) {
        SCOPED_TRACE(row.name);
        auto const other = key(row.class_name, row.value);
        EXPECT_EQ(same_key(own, other), row.equal);
        EXPECT_EQ(same_key(other, own), row.equal);
    }
}

TEST(DiffKeysEquality, a_key_that_equals_nothing_does_not_even_equal_itself)
{
    auto const not_a_number = php_double(nan);
    auto const lost = test::php_valueless();
    auto const array = php_elements({{not_a_number, php_long(1)}, {lost, php_long(2)}});

    EXPECT_FALSE(same_key(not_a_number, not_a_number));
    EXPECT_FALSE(same_key(lost, lost));
    EXPECT_EQ(notation(*array->diff_keys(*array)), "[double nan => long 1, valueless => long 2]");
}

} // namespace
} // namespace tarnwick::data::php::pelorin_array_diff_test
