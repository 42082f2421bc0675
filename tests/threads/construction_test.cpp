// Records that threads build at the same time from the same messages, and values that threads share.

#include "threads/records.h"
#include "threads/threads.h"

#include <tarnwick/data/php/make_values.h>
#include <tarnwick/data/print.h>
#include <tarnwick/tarnwick_utils.h>

#include <tarnwick/rpc/php/v1/zval.pb.h>

#include <gtest/gtest.h>

#include <QtCore/QVariant>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace tarnwick::test::construction_test {
namespace {

TEST(Construction, from_shared_messages_on_all_threads_is_correct)
{
    constexpr std::uint32_t shapes = 12;
    struct Row {
        std::function<Record()> construct;
        std::string text;
    };
    std::vector<Row> rows;
    for (std::uint32_t shape = 0; shape < shapes; ++shape) {
        for (auto const &construct : constructors(shape))
            rows.push_back({construct, text_of(construct())});
    }
    std::atomic<std::size_t> built = 0;
    std::atomic<std::size_t> different = 0;
    on_threads([&](std::size_t thread) {
        auto order = rows;
        std::ranges::shuffle(order, std::mt19937(static_cast<unsigned int>(thread)));
        for (auto const &[construct, text] : order) {
            ++built;
            different += text_of(construct()) != text;
        }
    });
    EXPECT_EQ(built, threads * rows.size());
    EXPECT_EQ(different, 0U);
}

// In a process of its own, which has built no record before.
TEST(ConstructionDeathTest, on_all_threads_may_be_the_first_use)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            // The test, not the library, needs descriptors to fill messages.
            auto const all = constructors(1, Source::bytes);
            std::vector<std::string> texts(threads);
            on_threads([&](std::size_t thread) {
                for (auto const &construct : all)
                    texts[thread] += text_of(construct()) + '\n';
                rpc::php::v1::ZVal value;
                PelorinPHPX::to_protobuf_zval(value, QVariant(QList<QVariant>{1, QStringLiteral("b")}));
                texts[thread] += PelorinPHPX::qvariant_from_protobuf_zval(value).toString().toStdString();
            });
            bool const same = std::ranges::all_of(texts, [&](auto const &text) { return text == texts.front(); });
            // NOLINTNEXTLINE(concurrency-mt-unsafe): the other threads have ended
            std::exit(same && texts.front().size() > 1'000 ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

/// Arrays nested three levels deep. Their keys are the numbers below 10 that `divisor` does not divide.
data::php::PelorinArray tree(int divisor, int depth = 3)
{
    using namespace data::php;
    detail::PelorinArray::Elements elements;
    for (std::int64_t key = 0; key < 10; ++key) {
        if (key % divisor != 0)
            elements.emplace_back(php_long(key), depth > 1 ? php_array(tree(divisor, depth - 1)) : php_long(key));
    }
    return php_elements(std::move(elements));
}

TEST(Values, are_compared_and_written_while_other_threads_release_them)
{
    auto const own = tree(2);
    auto const other = tree(3);
    auto const difference = data::to_text(own->diff_keys(*other));
    rpc::php::v1::PelorinArray written;
    other->to_protobuf(written);
    auto const bytes = written.SerializeAsString();

    std::atomic<std::size_t> different = 0;
    on_threads([&](std::size_t) {
        std::vector<data::php::PelorinArray> differences;
        for (int round = 0; round < 20; ++round) {
            differences.push_back(own->diff_keys(*other)); // shares the values of the other
            rpc::php::v1::PelorinArray target;
            other->to_protobuf(target);
            different += target.SerializeAsString() != bytes;
            different += data::to_text(differences.front()) != difference;
            if (round % 3 == 0)
                differences.clear();
        }
    });
    EXPECT_EQ(different, 0U);
    EXPECT_FALSE(bytes.empty());
    for (auto const &[key, value] : other->elements()) {
        EXPECT_EQ(key->ref.loadRelaxed(), 1);
        EXPECT_EQ(value->ref.loadRelaxed(), 1);
    }
}

} // namespace
} // namespace tarnwick::test::construction_test
