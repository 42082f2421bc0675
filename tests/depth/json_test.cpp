// The bridge reads, writes and releases JSON that is nested as deep as Qt reads it. Qt recurses for each level, which
// takes somewhat less than 512 KiB of stack at the limit.

#include "support/small_stack.h"
#include "support/table.h"

#include <tarnwick/tarnwick_utils.h>

#include <tarnwick/rpc/php/v1/zval.pb.h>

#include <google/protobuf/arena.h>

#include <gtest/gtest.h>

#include <QtCore/QVariant>

#include <string>

namespace tarnwick::test::json_test {
namespace {

using rpc::php::v1::ZVal;

constexpr int deepest = 1024; // Qt's limit of levels
constexpr auto stack = 2 * small_stack;

/// A way to nest values: the text that opens a level, and the text that closes it.
struct Nesting {
    char const *name;
    std::string open;
    std::string close;
};

class JsonDepth : public TableTest<Nesting> {
protected:
    static std::string json(int depth)
    {
        std::string text;
        for (int level = 0; level < depth; ++level)
            text += GetParam().open;
        text += "7";
        for (int level = 0; level < depth; ++level)
            text += GetParam().close;
        return text;
    }

    static ZVal message(int depth)
    {
        ZVal message;
        message.set_json_value(json(depth));
        return message;
    }
};

TEST_P(JsonDepth, up_to_the_limit_of_qt_fits_a_small_stack)
{
    auto const sent = message(deepest);
    std::string written;
    on_small_stack(
        [&] {
            google::protobuf::Arena arena;
            auto &target = *google::protobuf::Arena::Create<ZVal>(&arena);
            PelorinPHPX::to_protobuf_zval(target, PelorinPHPX::qvariant_from_protobuf_zval(sent));
            written = target.json_value();
        },
        stack);
    EXPECT_EQ(written, sent.json_value());
}

TEST_P(JsonDepth, beyond_the_limit_of_qt_is_no_value)
{
    for (auto const depth : {deepest + 1, deepest + 2, 1'000'000}) {
        auto const sent = message(depth);
        bool is_valid = true;
        on_small_stack([&] { is_valid = PelorinPHPX::qvariant_from_protobuf_zval(sent).isValid(); }, stack);
        EXPECT_FALSE(is_valid) << depth;
    }
}

INSTANTIATE_TEST_SUITE_P(Of, JsonDepth,
                         testing::Values(Nesting{"arrays", "[", "]"}, Nesting{"objects", R"({"k":)", "}"}), by_name);

} // namespace
} // namespace tarnwick::test::json_test
