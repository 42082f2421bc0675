// Values nested up to the limit of a report are built, copied, compared, printed, written back and released on a small
// stack. These tests are a program of their own because it must be optimised like the library: at -O0 they need more
// stack.

#include "support/php_values.h"
#include "support/small_stack.h"
#include "support/table.h"

#include <tarnwick/data/php/zval.h>
#include <tarnwick/data/print.h>

#include <tarnwick/rpc/php/v1/zval.pb.h>

#include <google/protobuf/arena.h>
#include <google/protobuf/io/coded_stream.h>

#include <gtest/gtest.h>

#include <QtCore/QDebug>
#include <QtCore/QString>

#include <cstdint>
#include <string>

namespace tarnwick::test::values_test {
namespace {

using namespace data::php;
using RpcValue = rpc::php::v1::ZVal;

/// The program reads reports that nest messages up to this depth.
constexpr int max_depth = 1000;

/// A way to nest values: the number of messages per level, and the function that adds a level.
struct Nesting {
    char const *name;
    int messages;
    RpcValue &(*inside)(RpcValue &outer);
};

class ValuesAtTheLimit : public TableTest<Nesting> {
protected:
    static std::string bytes()
    {
        RpcValue outermost;
        auto *value = &outermost;
        for (int depth = GetParam().messages; depth <= max_depth; depth += GetParam().messages)
            value = &GetParam().inside(*value);
        value->set_long_value(7);
        return outermost.SerializeAsString();
    }

    static RpcValue const &parsed(std::string const &bytes, google::protobuf::Arena &arena)
    {
        auto &message = *google::protobuf::Arena::Create<RpcValue>(&arena);
        google::protobuf::io::CodedInputStream stream(reinterpret_cast<std::uint8_t const *>(bytes.data()),
                                                      static_cast<int>(bytes.size()));
        stream.SetRecursionLimit(max_depth);
        EXPECT_TRUE(message.ParseFromCodedStream(&stream) && stream.ConsumedEntireMessage());
        return message;
    }
};

TEST_P(ValuesAtTheLimit, need_only_a_small_stack)
{
    auto const wire = bytes();
    std::string text;
    QString debugged;
    std::string written;
    on_small_stack([&] {
        google::protobuf::Arena arena;
        data::php::ZVal value(new data::php::detail::ZVal(parsed(wire, arena)));
        auto copy = value;
        value.reset();
        text = data::to_text(*copy);
        QDebug(&debugged) << *copy;
        auto &target = *google::protobuf::Arena::Create<RpcValue>(&arena);
        copy->to_protobuf(target);
        written = target.SerializeAsString();
        EXPECT_EQ(null_handles(*copy), 0U);
        copy.reset(); // the last handle releases the whole tree
    });
    EXPECT_EQ(written, wire);
    EXPECT_NE(text.find('7'), std::string::npos);
    EXPECT_EQ(debugged.trimmed().toStdString(), text);
}

INSTANTIATE_TEST_SUITE_P(
    Of, ValuesAtTheLimit,
    testing::Values(
        Nesting{"arrays", 3,
                [](RpcValue &outer) -> RpcValue & {
                    return *outer.mutable_array_value()->add_elements()->mutable_value();
                }},
        Nesting{"objects", 2,
                [](RpcValue &outer) -> RpcValue & { return *outer.mutable_object_value()->mutable_value(); }},
        Nesting{"properties", 4,
                [](RpcValue &outer) -> RpcValue & {
                    return *outer.mutable_object_value()->mutable_properties()->add_elements()->mutable_value();
                }},
        Nesting{"resources", 2,
                [](RpcValue &outer) -> RpcValue & { return *outer.mutable_resource_value()->mutable_value(); }}),
    by_name);

PelorinArray nested_arrays(int levels, std::int64_t innermost_key)
{
    auto array = php_elements({{php_long(innermost_key), php_null()}});
    for (int level = 1; level < levels; ++level)
        array = php_elements({{php_long(1), php_array(std::move(array))}});
    return array;
}

TEST(ArraysAtTheLimit, are_compared_on_a_small_stack)
{
    constexpr int levels = max_depth / 3;
    auto own = nested_arrays(levels, 1);
    auto other = nested_arrays(levels, 2);
    std::string text;
    auto const expected = data::to_text(other);
    on_small_stack([&] {
        text = data::to_text(own->diff_keys(*other));
        EXPECT_TRUE(own->diff_keys(*own)->elements().empty());
        own.reset();
        other.reset();
    });
    EXPECT_EQ(text, expected);
}

} // namespace
} // namespace tarnwick::test::values_test
