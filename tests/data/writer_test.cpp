#include <tarnwick/data/writer.h>

#include <tarnwick/data/text_writer.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <string_view>

namespace tarnwick::data::writer_test {
namespace {

// NOLINTBEGIN(bugprone-derived-method-shadowing-base-method): the point of these classes
struct WithoutChunk : TextWriter {
    void chunk(std::string_view) = delete;
};

struct WithoutUnsigned : TextWriter {
    void integer(std::int64_t);
    void integer(std::uint64_t) = delete;
};
// NOLINTEND(bugprone-derived-method-shadowing-base-method)

TEST(Writer, is_a_class_with_every_operation)
{
    EXPECT_TRUE(Writer<TextWriter>);
    EXPECT_FALSE(Writer<WithoutChunk>);
    EXPECT_FALSE(Writer<WithoutUnsigned>);
}

} // namespace
} // namespace tarnwick::data::writer_test
