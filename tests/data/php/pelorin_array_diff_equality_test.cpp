#include <tarnwick/data/php/pelorin_array.h>

#include "support/allocations.h"
#include "support/php_values.h"
#include "support/plain_key_difference.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <new>
#include <random>
#include <string>
#include <utility>
#include <variant>
#include <vector>

// Large arrays are compared by an index. The result must be that of linear searches.

namespace tarnwick::data::php::pelorin_array_diff_equality_test {
namespace {

using namespace Qt::StringLiterals;
using test::notation;
using test::PhpElements;

/// Whether two differences have the same keys and values of the compared arrays, and new values at the same places.
bool same_difference(detail::PelorinArray const &left, detail::PelorinArray const &right)
{
    auto const &a = left.elements();
    auto const &b = right.elements();
    if (a.size() != b.size())
        return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (a[i].first != b[i].first)
            return false;
        if (a[i].second == b[i].second)
            continue;
        auto const *nested_a = std::get_if<PelorinArray>(&a[i].second->value());
        auto const *nested_b = std::get_if<PelorinArray>(&b[i].second->value());
        if (nested_a == nullptr || nested_b == nullptr || a[i].second->ref.loadRelaxed() != 1 ||
            b[i].second->ref.loadRelaxed() != 1 || !same_difference(**nested_a, **nested_b))
            return false;
    }
    return true;
}

/// Expects the difference of linear searches, in both directions.
void expect_plain_difference(PelorinArray const &a, PelorinArray const &b)
{
    EXPECT_TRUE(same_difference(*a->diff_keys(*b), *test::plain_key_difference(*a, *b)))
        << notation(*a) << notation(*b);
    EXPECT_TRUE(same_difference(*b->diff_keys(*a), *test::plain_key_difference(*b, *a)))
        << notation(*b) << notation(*a);
}

/// Two arrays whose keys are often equal, of all kinds, with duplicates, keys that equal nothing, and nested arrays.
class RandomArrays {
public:
    explicit RandomArrays(std::uint32_t seed)
        : random_(seed)
    {
    }

    PelorinArray array(int depth = 0)
    {
        PhpElements elements;
        for (auto left = below(3) == 0 ? below(50) : below(10); left > 0; --left)
            elements.emplace_back(key(), value(depth));
        return php_elements(std::move(elements));
    }

private:
    unsigned below(unsigned limit) { return static_cast<unsigned>(random_() % limit); }

    ZVal value(int depth)
    {
        if (depth == 2 || below(10) != 0)
            return below(2) == 0 ? php_null() : php_long(1);
        return php_array(array(depth + 1));
    }

    ZVal key()
    {
        // Keys with handles are equal only if they share them.
        static auto const shared = php_elements({{php_long(1), php_null()}});
        static auto const part = php_long(2);
        auto const few = below(3);
        switch (below(40)) {
        case 0:
            return php_undefined();
        case 1:
            return php_null();
        case 2:
            return php_bool(few == 0);
        case 3:
            return php_double(few == 0 ? 0.0 : few == 1 ? -0.0 : 1.5);
        case 4:
            return php_double(std::numeric_limits<double>::quiet_NaN());
        case 5:
            return few == 0 ? php_array(shared) : few == 1 ? php_array(shared->elements()) : php_array({});
        case 6:
            return php_object(PelorinObject(new detail::PelorinObject(few == 0 ? u"A"_s : u"B"_s, shared, part)));
        case 7:
            return php_resource(PelorinResource(new detail::PelorinResource(few == 0 ? u"a"_s : u"b"_s, part)));
        case 8:
            return php_json(few == 0 ? "[1]" : few == 1 ? "1" : "");
        case 9:
            return php_timestamp({few, 1});
        case 10:
            return php_timestamp({1, static_cast<std::int32_t>(few)});
        case 11: {
            static auto const valueless = test::php_valueless();
            return valueless;
        }
        case 12:
            return php_string({"a\0b", few});
        default:
            return below(2) == 0 ? php_long(below(30)) : php_string(std::to_string(below(30)));
        }
    }

    std::mt19937 random_;
};

// TARNWICK_ARRAY_PAIRS is the number of pairs; the committed number takes a moment.
TEST(DiffKeysOfRandomArrays, is_that_of_linear_searches)
{
    auto const *const wanted = std::getenv("TARNWICK_ARRAY_PAIRS"); // NOLINT(concurrency-mt-unsafe): no other thread
    auto const pairs = wanted == nullptr ? 1'000 : std::stoi(wanted);
    RandomArrays random(20261123);
    for (int pair = 0; pair < pairs && !testing::Test::HasFailure(); ++pair) {
        SCOPED_TRACE(pair);
        expect_plain_difference(random.array(), random.array());
    }
}

/// An array with `size` keys from `first` on, made by `key`.
template <class Key>
PelorinArray numbered_keys(int first, int size, Key key)
{
    PhpElements elements;
    for (int i = 0; i < size; ++i)
        elements.emplace_back(key(first + i), php_null());
    return php_elements(std::move(elements));
}

TEST(DiffKeysOfLargeArrays, is_that_of_linear_searches_at_every_size)
{
    for (int size = 0; size < 80; ++size) {
        SCOPED_TRACE(size);
        for (int const shift : {0, 1, 40, 80})
            expect_plain_difference(numbered_keys(0, size, php_long), numbered_keys(shift, size, php_long));
    }
}

TEST(DiffKeysOfLargeArrays, duplicates_and_keys_that_equal_nothing_stay_those_of_linear_searches)
{
    auto const nan = [](int) { return php_double(std::numeric_limits<double>::quiet_NaN()); };
    auto const same = [](int) { return php_string("k"); };
    auto const none = [](int) { return php_undefined(); };
    auto const zero = [](int number) { return php_double(number % 2 == 0 ? 0.0 : -0.0); };
    constexpr int many = 100;
    expect_plain_difference(numbered_keys(0, many, nan), numbered_keys(0, many, nan));
    expect_plain_difference(numbered_keys(0, many, same), numbered_keys(0, many, same));
    expect_plain_difference(numbered_keys(0, many, none), numbered_keys(0, many, none));
    expect_plain_difference(numbered_keys(0, many, zero), numbered_keys(1, many, zero));
    expect_plain_difference(numbered_keys(0, many, nan), numbered_keys(0, many, zero));
}

TEST(DiffKeysOfLargeArrays, the_first_of_two_own_elements_with_the_key_is_compared)
{
    auto own = numbered_keys(0, 50, php_long)->elements();
    own.emplace_back(php_string("k"), php_array({{php_long(1), php_null()}}));
    own.emplace_back(php_string("k"), php_array({{php_long(2), php_null()}}));
    auto other = numbered_keys(0, 50, php_long)->elements();
    other.emplace_back(php_string("k"), php_array({{php_long(1), php_null()}, {php_long(2), php_null()}}));
    EXPECT_EQ(notation(*php_elements(std::move(own))->diff_keys(*php_elements(std::move(other)))),
              "[string 'k' => [long 2 => null]]");
}

/// Counts the heap blocks of a difference that is empty: the result, and what the search takes.
std::size_t blocks_of_no_difference(PelorinArray const &own, PelorinArray const &other)
{
    PelorinArray result;
    auto const blocks = test::allocations_of([&] { result = own->diff_keys(*other); });
    EXPECT_EQ(notation(*result), "[]");
    return blocks;
}

TEST(DiffKeysOfLargeArrays, takes_an_index_only_for_many_keys_in_many)
{
    auto const large = numbered_keys(0, 1'000, php_long);
    auto const small = numbered_keys(0, 16, php_long);
    auto const times = [](int number, PelorinArray const &array) {
        PhpElements elements;
        for (int i = 0; i < number; ++i)
            elements.emplace_back(php_long(0), php_array(array));
        return php_elements(std::move(elements));
    };
    EXPECT_EQ(blocks_of_no_difference(small, small), 1U);
    EXPECT_EQ(blocks_of_no_difference(small, numbered_keys(0, 1, php_long)), 1U);
    EXPECT_EQ(blocks_of_no_difference(large, numbered_keys(0, 0, php_long)), 1U);
    // The number of searched keys.
    EXPECT_EQ(blocks_of_no_difference(large, small), 2U);
    // And an index.
    EXPECT_EQ(blocks_of_no_difference(large, numbered_keys(0, 17, php_long)), 3U);
    // Keys that repeat in the other array search the same array each time.
    EXPECT_EQ(blocks_of_no_difference(times(1, large), times(100, small)), 3U);
}

TEST(DiffKeysOfLargeArrays, leaks_nothing_if_any_allocation_fails)
{
    auto const own = numbered_keys(0, 100, php_long);
    auto const other = numbered_keys(50, 100, php_long);
    auto const before = test::live_blocks();
    bool done = false;
    for (std::size_t failing = 1; !done; ++failing) {
        test::FailingAllocations failures(failing, failing);
        try {
            done = own->diff_keys(*other)->elements().size() == 50;
            EXPECT_TRUE(done);
            EXPECT_GT(failing, 3U);
        } catch (std::bad_alloc const &) {
            EXPECT_EQ(failures.stop(), 1U);
        }
        EXPECT_EQ(test::live_blocks(), before) << failing;
    }
}

} // namespace
} // namespace tarnwick::data::php::pelorin_array_diff_equality_test
