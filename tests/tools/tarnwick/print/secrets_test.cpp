#include "print/secrets.h"

#include <gmock/gmock.h>

#include <fmt/format.h>

#include <algorithm>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::program::secrets_test {
namespace {

using Source = Secrets::Source;

std::string found_in(Secrets &secrets, std::string_view text, TextPlace place = TextPlace::text)
{
    TextRanges ranges;
    secrets.find(text, place, ranges);
    return masked(text, ranges);
}

TEST(Secrets, finds_values_anywhere)
{
    Secrets secrets;
    secrets.add("hunter2-hunter2", Source::key);
    secrets.add("abcdefgh", Source::key);
    EXPECT_EQ(found_in(secrets, "xhunter2-hunter2y abcdefgh"), "x[masked]y [masked]");
    EXPECT_EQ(found_in(secrets, "hunter2-hunter abcdefg"), "hunter2-hunter abcdefg");
    EXPECT_EQ(found_in(secrets, "abcdefghunter2-hunter2"), "[masked]");
    EXPECT_EQ(found_in(secrets, "abcdefgabcdefgh"), "abcdefg[masked]");
}

TEST(Secrets, ignores_values_of_less_than_8_bytes)
{
    Secrets secrets;
    secrets.add("1234567", Source::key);
    secrets.add("", Source::key);
    EXPECT_EQ(found_in(secrets, "a 1234567"), "a 1234567");
}

TEST(Secrets, finds_the_longest_value_and_overlaps)
{
    Secrets secrets;
    secrets.add("abcdefgh", Source::key);
    secrets.add("abcdefghijkl", Source::key);
    secrets.add("fghijklmnop", Source::key);
    EXPECT_EQ(found_in(secrets, "abcdefghijkl-abcdefghij-abcdefghijklmnop"), "[masked]-[masked]ij-[masked]");
}

TEST(Secrets, finds_encoded_values)
{
    Secrets secrets;
    secrets.add("a b/c\"d\xc3\xa4\n1", Source::key);
    EXPECT_EQ(found_in(secrets, "?a+b%2Fc%22d%c3%A4%0A1&x"), "?[masked]&x");
    EXPECT_EQ(found_in(secrets, "a%20b/c\"d\xc3\xa4%0a1"), "[masked]");
    EXPECT_EQ(found_in(secrets, R"({"x":"a b\/c\"d\u00e4\n1"})"), R"({"x":"[masked]"})");
    EXPECT_EQ(found_in(secrets, "%a+b"), "%a+b");
}

TEST(Secrets, keeps_ordinary_values_in_names)
{
    Secrets secrets;
    secrets.add("index.php", Source::data);
    secrets.add("order-4711", Source::data);
    secrets.add("by-a-key-", Source::key);
    std::string const text = "/index.php/order-4711/by-a-key-";
    EXPECT_EQ(found_in(secrets, text, TextPlace::name), "/index.php/[masked]/[masked]");
    EXPECT_EQ(found_in(secrets, text), "/[masked]/[masked]/[masked]");
    secrets.add("index.php", Source::key);
    EXPECT_EQ(found_in(secrets, text, TextPlace::name), "/[masked]/[masked]/[masked]");
    secrets.add("index.php", Source::data);
    EXPECT_EQ(found_in(secrets, text, TextPlace::name), "/[masked]/[masked]/[masked]");
}

TEST(Secrets, masks_the_rest_after_the_start_of_a_long_value)
{
    Secrets secrets;
    std::string const value(Secrets::longest + 100, 'v');
    secrets.add(value, Source::key);
    EXPECT_EQ(found_in(secrets, "a " + value + " b"), "a [masked]");
    EXPECT_EQ(found_in(secrets, "a " + value.substr(0, Secrets::longest - 1) + " b").size(), Secrets::longest + 3);
}

TEST(Secrets, has_room_for_values_of_keys_after_too_many_others)
{
    Secrets secrets;
    for (int i = 0; i < 20'000; ++i)
        secrets.add(fmt::format("{:06}-literal", i), Source::data);
    EXPECT_LE(secrets.size(), Secrets::max_size);
    EXPECT_EQ(found_in(secrets, "000000-literal 019999-literal"), "[masked] 019999-literal");
    secrets.add("the-password", Source::key);
    EXPECT_EQ(found_in(secrets, "the-password"), "[masked]");
    for (int i = 0; i < 20'000; ++i)
        secrets.add(fmt::format("{:06}-password", i), Source::key);
    EXPECT_LE(secrets.size(), Secrets::max_size);
}

TEST(Secrets, agrees_with_a_plain_search)
{
    std::mt19937 random(20261122); // NOLINT(bugprone-random-generator-seed): the same each time
    std::uniform_int_distribution<int> letter('a', 'b');
    auto const random_text = [&](std::size_t size) {
        std::string text(size, '\0');
        std::ranges::generate(text, [&] { return static_cast<char>(letter(random)); });
        return text;
    };
    for (int i = 0; i < 300; ++i) {
        Secrets secrets;
        std::vector<std::string> values;
        TextRanges expected;
        auto const text = random_text(300);
        for (std::size_t size = 8; size < 20; ++size) {
            values.push_back(random_text(size));
            secrets.add(values.back(), Source::key);
            if (size % 3 == 0) // links are built again
                found_in(secrets, text);
        }
        for (auto const &value : values) {
            for (auto at = text.find(value); at != std::string::npos; at = text.find(value, at + 1))
                expected.push_back({at, at + value.size()});
        }
        TextRanges ranges;
        secrets.find(text, TextPlace::text, ranges);
        auto const marks = [&](TextRanges const &list) {
            std::string all(text.size(), '.');
            for (auto const &[begin, end] : list)
                std::fill(all.begin() + static_cast<std::ptrdiff_t>(begin),
                          all.begin() + static_cast<std::ptrdiff_t>(end), '#');
            return all;
        };
        ASSERT_EQ(marks(ranges), marks(expected)) << text;
    }
}

// Quadratic time would be hours.
TEST(Secrets, searches_a_long_text_for_values_with_common_starts)
{
    Secrets secrets;
    for (std::size_t size = 8; size < 260; ++size)
        secrets.add(std::string(size, 'a') + "b", Source::key);
    std::string const text(1'000'000, 'a');
    EXPECT_EQ(found_in(secrets, text), text);
    EXPECT_EQ(found_in(secrets, text + "b"), std::string(1'000'000 - 259, 'a') + std::string(mask_text));
}

TEST(SecretStore, keeps_the_requests_that_were_used_most_recently)
{
    SecretStore store;
    auto const is_kept = [&](std::uint64_t id) { return found_in(store.of(id), "the-password") == mask_text; };
    for (std::uint64_t id = 0; id < SecretStore::max_requests; ++id)
        store.of(id).add("the-password", Source::key);
    EXPECT_TRUE(is_kept(0));
    store.of(SecretStore::max_requests).add("the-password", Source::key);
    EXPECT_TRUE(is_kept(0));
    EXPECT_TRUE(is_kept(2));
    EXPECT_FALSE(is_kept(1));
}

TEST(SecretStore, drops_requests_when_all_are_too_large)
{
    SecretStore store;
    auto const fill = [&](std::uint64_t id) {
        for (int i = 0; i < 10'000; ++i)
            store.of(id).add(fmt::format("{:06}-password", i), Source::key);
    };
    for (std::uint64_t id = 0; id < 100; ++id)
        fill(id);
    std::size_t size = 0;
    std::size_t kept = 0;
    for (std::uint64_t id = 100; id-- > 0;) {
        auto const own = store.of(id).size();
        size += own;
        kept += own > 0 ? 1 : 0;
    }
    EXPECT_LE(size, SecretStore::max_size + Secrets::max_size);
    EXPECT_GT(kept, 5U);
    EXPECT_LT(kept, 100U);
}

} // namespace
} // namespace tarnwick::program::secrets_test
