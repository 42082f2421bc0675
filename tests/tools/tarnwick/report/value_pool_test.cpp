#include "report/value_pool.h"

#include <gmock/gmock.h>

#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::program::value_pool_test {
namespace {

using testing::ElementsAre;

std::string const text = R"("a text of more than thirty-two bytes")";

/// Returns the blocks of a pool with these values.
std::vector<std::string> blocks_of(std::vector<std::string> const &values)
{
    std::vector<std::string> blocks;
    ValuePool pool([&](std::string_view block) { blocks.emplace_back(block); });
    for (auto const &value : values)
        pool.add(value);
    pool.finish();
    return blocks;
}

TEST(ValuePool, stores_a_text_of_several_values_once)
{
    EXPECT_THAT(blocks_of({"[1," + text + "]", R"({"a":)" + text + "}"}),
                ElementsAre("[" + text + R"(,[1,{"$":0}],{"a":{"$":0}}])"));
}

TEST(ValuePool, returns_the_number_of_an_equal_value)
{
    ValuePool pool([](std::string_view) {});
    EXPECT_EQ(pool.add(text), 0U);
    EXPECT_EQ(pool.add("[1," + text + "]"), 1U);
    EXPECT_EQ(pool.add(text), 0U);
    EXPECT_EQ(pool.add("[1," + text + "]"), 1U);
    EXPECT_EQ(pool.add("[2," + text + "]"), 2U);
}

TEST(ValuePool, keeps_short_values_in_their_place)
{
    std::string const value = R"({"a":[true,null,-1.5e3,"x"],"b":{}})";
    EXPECT_THAT(blocks_of({R"({"a":[],"b":"\"]}"})"}), ElementsAre(R"([{"a":[],"b":"\"]}"}])"));
    EXPECT_THAT(blocks_of({value}), ElementsAre("[" + value + "]"));
}

TEST(ValuePool, keeps_values_with_a_time_in_their_place)
{
    std::string const time = R"({"seconds":1795266300,"nanos":489851021})";
    EXPECT_THAT(blocks_of({R"([{"time":)" + time + R"(,"text":)" + text + "}]"}),
                ElementsAre("[" + text + R"(,[{"time":)" + time + R"(,"text":{"$":0}}]])"));
    std::string const quoted = R"("a text with \"nanos\": and more bytes")";
    EXPECT_THAT(blocks_of({"[" + quoted + "]"}), ElementsAre("[" + quoted + R"(,[{"$":0}]])"));
}

TEST(ValuePool, reads_escapes_and_brackets_in_texts)
{
    std::string const odd = R"("\\\" ]},{[: \\ and more than thirty-two bytes")";
    EXPECT_THAT(blocks_of({R"({"]}":)" + odd + R"(,"b":1})"}), ElementsAre("[" + odd + R"(,{"]}":{"$":0},"b":1}])"));
}

TEST(ValuePool, begins_a_block_when_one_is_full)
{
    std::vector<std::string> blocks;
    ValuePool pool([&](std::string_view block) { blocks.emplace_back(block); });
    auto const large = [](char character) { return '"' + std::string(ValuePool::block_size, character) + '"'; };
    pool.add(large('a'));
    pool.add(text);
    pool.add(large('b'));
    pool.add(large('a'));
    pool.finish();
    EXPECT_THAT(blocks, ElementsAre("[" + large('a') + "]", "[" + text + "," + large('b') + "]"));
    EXPECT_THAT(pool.starts(), ElementsAre(0U, 1U));
}

TEST(ValuePool, has_no_block_without_values)
{
    EXPECT_THAT(blocks_of({}), testing::IsEmpty());
}

} // namespace
} // namespace tarnwick::program::value_pool_test
