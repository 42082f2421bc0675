#include "capture/input_file.h"

#include "tools/tarnwick/support/files.h"
#include "tools/tarnwick/support/interruptions.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <string>

namespace tarnwick::program::input_file_test {
namespace {

std::string path_of(test::Descriptor const &descriptor)
{
    return fmt::format("/dev/fd/{}", int(descriptor));
}

TEST(InputFile, position_counts_taken_bytes)
{
    test::TemporaryFile const file("abcdef");
    InputFile input(file.name());
    EXPECT_EQ(input.size(), 6U);
    EXPECT_EQ(input.position(), 0U);
    EXPECT_FALSE(input.at_end());
    EXPECT_EQ(input.take(4), "abcd");
    EXPECT_EQ(input.position(), 4U);
    EXPECT_EQ(input.take(100), "ef");
    EXPECT_TRUE(input.at_end());
    EXPECT_EQ(input.take(1), "");
    EXPECT_EQ(input.position(), 6U);
    EXPECT_EQ(input.problem(), "");
}

TEST(InputFile, pipe_has_size_0)
{
    test::Pipe const pipe;
    test::write_all(pipe.writer, "abc");
    EXPECT_EQ(InputFile(path_of(pipe.reader)).size(), 0U);
}

TEST(InputFile, calls_back_only_before_waiting)
{
    test::Pipe const pipe;
    int waits = 0;
    InputFile input(path_of(pipe.reader), [&] {
        ++waits;
        test::write_all(pipe.writer, "later");
    });
    test::write_all(pipe.writer, "now");
    EXPECT_EQ(input.take(100), "now");
    EXPECT_EQ(waits, 0);
    EXPECT_EQ(input.take(100), "later");
    EXPECT_EQ(waits, 1);
}

TEST(InputFile, calls_back_while_it_waits_for_a_followed_pipe)
{
    test::Pipe const pipe;
    int waits = 0;
    auto const write_at_third_call = [&] {
        if (++waits == 3)
            test::write_all(pipe.writer, "later");
    };
    InputFile input(path_of(pipe.reader), write_at_third_call, AtEnd::follow);
    EXPECT_EQ(input.take(100), "later");
    EXPECT_EQ(waits, 3);
}

TEST(InputFile, never_waits_for_a_regular_file)
{
    test::TemporaryFile const file("abc");
    InputFile input(file.name(), [] { ADD_FAILURE() << "it waits"; });
    EXPECT_EQ(input.take(100), "abc");
    EXPECT_TRUE(input.at_end());
}

TEST(InputFile, continues_after_an_interrupted_wait)
{
    test::Pipe const pipe;
    InputFile input(path_of(pipe.reader));
    test::Interruptions const interruptions([&] { test::write_all(pipe.writer, "late"); });
    EXPECT_EQ(input.take(100), "late");
    EXPECT_EQ(input.problem(), "");
}

} // namespace
} // namespace tarnwick::program::input_file_test
