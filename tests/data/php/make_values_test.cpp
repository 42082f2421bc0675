#include <tarnwick/data/php/make_values.h>

#include "support/php_values.h"

#include <gtest/gtest.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace tarnwick::data::php::make_values_test {
namespace {

using test::notation;
using test::null_handles;
using namespace Qt::StringLiterals;

template <class T>
concept MakesBool = requires(T value) { php_bool(value); };
static_assert(MakesBool<bool>);
static_assert(!MakesBool<int> && !MakesBool<char const *> && !MakesBool<void *>);

struct ValueCase {
    char const *name;
    ZVal value;
    char const *notation;
};

TEST(MakeValues, has_a_factory_for_each_kind)
{
    PelorinObject const object(new detail::PelorinObject(u"C"_s, php_elements(), php_null()));
    PelorinResource const resource(new detail::PelorinResource(u"stream"_s, php_long(7)));
    // In the order of the kinds.
    std::vector<ValueCase> const cases{
        {"undefined", php_undefined(), "undefined"},
        {"null", php_null(), "null"},
        {"bool", php_bool(true), "true"},
        {"long", php_long(-5), "long -5"},
        {"double", php_double(2), "double 2"},
        {"string", php_string("5"), "string '5'"},
        {"array", php_array({{php_long(1), php_null()}}), "[long 1 => null]"},
        {"object", php_object(object), "object 'C' [] null"},
        {"resource", php_resource(resource), "resource 'stream' long 7"},
        {"json", php_json("[1]"), "json '[1]'"},
        {"timestamp", php_timestamp({5, -6}), "time 5 s -6 ns"},
    };
    ASSERT_EQ(cases.size(), std::variant_size_v<detail::ZVal::Value>);
    for (std::size_t kind = 0; kind < cases.size(); ++kind) {
        SCOPED_TRACE(cases[kind].name);
        EXPECT_EQ(cases[kind].value->value().index(), kind);
        EXPECT_EQ(notation(*cases[kind].value), cases[kind].notation);
        EXPECT_EQ(null_handles(*cases[kind].value), 0U);
        EXPECT_EQ(cases[kind].value->ref.loadRelaxed(), 1);
    }
}

TEST(MakeValues, does_not_choose_the_kind_by_the_type_of_the_argument)
{
    EXPECT_EQ(notation(*php_long('c')), "long 99");
    EXPECT_EQ(notation(*php_double(1)), "double 1");
    EXPECT_EQ(notation(*php_string(QByteArray("x").toStdString())), "string 'x'");
    EXPECT_EQ(notation(*php_json(QByteArray("x"))), "json 'x'");
}

TEST(MakeValues, keeps_all_bytes_of_a_string)
{
    EXPECT_EQ(notation(*php_string(std::string_view("a\0\xff", 3))), "string 'a\\x00\\xff'");
    EXPECT_EQ(notation(*php_string({})), "string ''");
}

TEST(MakeValues, returns_an_empty_array_without_elements)
{
    EXPECT_EQ(notation(*php_array()), "[]");
    EXPECT_EQ(notation(*php_array({})), "[]");
    EXPECT_EQ(notation(*php_elements()), "[]");
}

TEST(MakeValues, shares_the_handles_it_gets)
{
    auto const key = php_string("k");
    auto const elements = php_elements({{key, php_null()}});
    auto const array = php_array(elements);
    EXPECT_EQ(std::get<PelorinArray>(array->value()), elements);
    EXPECT_EQ(elements->elements().front().first, key);
}

} // namespace
} // namespace tarnwick::data::php::make_values_test
