#include <pcommon/plogger.h>

#include <array>
#include <atomic>
#include <chrono>
#include <climits>
#include <cstdint>
#include <future>
#include <ios>
#include <latch>
#include <map>
#include <memory>
#include <ostream>
#include <sstream>
#include <streambuf>
#include <string>
#include <string_view>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace tarnwick::test::plogger_test {
namespace {

static_assert(std::is_same_v<std::underlying_type_t<PLogger::Level>, std::int8_t>);
static_assert(static_cast<int>(PLogger::Level::info) == 3);
static_assert(static_cast<int>(PLogger::Level::debug) == 5);
static_assert(!std::is_copy_constructible_v<PLogger> && !std::is_copy_assignable_v<PLogger>);
static_assert(!std::is_default_constructible_v<PLogger>);

// Read before any test could change them.
std::int8_t const level_at_start = PLogger::instance().level();
std::ostream *const output_at_start = PLogger::instance().output();

class PLoggerTest : public testing::Test {
protected:
    ~PLoggerTest() override
    {
        logger.set_output(nullptr);
        logger.set_level(level_at_start);
    }

    PLogger &logger = PLogger::instance();
};

// Counts how it is used and stores what it is given.
class CountingBuffer : public std::streambuf {
public:
    std::string text;
    int writes = 0;
    int flushes = 0;

protected:
    std::streamsize xsputn(char const *data, std::streamsize size) override
    {
        ++writes;
        text.append(data, static_cast<std::size_t>(size));
        return size;
    }

    int_type overflow(int_type character) override
    {
        ++writes;
        text += traits_type::to_char_type(character);
        return character;
    }

    int sync() override
    {
        ++flushes;
        return 0;
    }
};

TEST_F(PLoggerTest, starts_at_level_three_without_output)
{
    EXPECT_EQ(level_at_start, 3);
    EXPECT_EQ(output_at_start, nullptr);
}

TEST_F(PLoggerTest, is_one_object)
{
    EXPECT_EQ(&PLogger::instance(), &PLogger::instance());
}

TEST_F(PLoggerTest, level_is_the_one_that_was_set)
{
    for (int const level : {-128, -1, 0, 2, 3, 5, 127}) {
        logger.set_level(static_cast<std::int8_t>(level));
        EXPECT_EQ(logger.level(), level);
    }
}

TEST_F(PLoggerTest, output_is_the_one_that_was_set)
{
    std::ostringstream stream;
    logger.set_output(&stream);
    EXPECT_EQ(logger.output(), &stream);
    logger.set_output(nullptr);
    EXPECT_EQ(logger.output(), nullptr);
}

struct LineRow {
    char const *name;
    int level;
    char const *file;
    int line;
    std::string_view message;
    std::string_view expected;
};

class PLoggerLine : public PLoggerTest, public testing::WithParamInterface<LineRow> {};

TEST_P(PLoggerLine, is_level_place_and_message)
{
    LineRow const &row = GetParam();
    std::ostringstream stream;
    logger.set_output(&stream);
    logger.println(static_cast<PLogger::Level>(row.level), row.file, row.line, row.message);
    EXPECT_EQ(stream.view(), row.expected);
}

using namespace std::string_view_literals;

INSTANTIATE_TEST_SUITE_P(
    Lines, PLoggerLine,
    testing::Values(LineRow{"LevelThree", 3, "libs/a/b", 17, "hello"sv, "3 libs/a/b:17 hello\n"sv},
                    LineRow{"LevelFive", 5, "libs/a/b", 1, "key = 'value'"sv, "5 libs/a/b:1 key = 'value'\n"sv},
                    LineRow{"OtherLevels", 127, "f", 2, "m"sv, "127 f:2 m\n"sv},
                    LineRow{"NegativeLevel", -1, "f", 2, "m"sv, "-1 f:2 m\n"sv},
                    LineRow{"EmptyMessage", 3, "f", 2, ""sv, "3 f:2 \n"sv},
                    LineRow{"MessageWithoutAddress", 3, "f", 2, std::string_view(), "3 f:2 \n"sv},
                    LineRow{"EmptyFile", 3, "", 0, "m"sv, "3 :0 m\n"sv},
                    LineRow{"LargestLineNumber", 3, "f", INT_MAX, "m"sv, "3 f:2147483647 m\n"sv},
                    LineRow{"Utf8", 3, "f", 2, "Größe \xF0\x9F\x98\x80"sv, "3 f:2 Größe \xF0\x9F\x98\x80\n"sv},
                    LineRow{"EmbeddedNul", 3, "f", 2, "a\0b"sv, "3 f:2 a\0b\n"sv},
                    LineRow{"PartOfALongerText", 3, "f", 2, "message and more"sv.substr(0, 7), "3 f:2 message\n"sv}),
    [](auto const &row) { return row.param.name; });

TEST_F(PLoggerTest, writes_nothing_without_output)
{
    CountingBuffer buffer;
    std::ostream stream(&buffer);
    logger.set_output(&stream);
    logger.set_output(nullptr);
    logger.println(PLogger::Level::info, "f", 1, "m");
    EXPECT_EQ(buffer.writes, 0);
    EXPECT_EQ(buffer.flushes, 0);
}

TEST_F(PLoggerTest, leaves_the_level_to_its_callers)
{
    std::ostringstream stream;
    logger.set_output(&stream);
    logger.set_level(-128);
    logger.println(PLogger::Level::debug, "f", 1, "m");
    EXPECT_EQ(stream.view(), "5 f:1 m\n");
}

TEST_F(PLoggerTest, writes_a_line_in_one_piece_and_flushes_it)
{
    for (std::size_t const size : {std::size_t{0}, std::size_t{10}, std::size_t{100'000}}) {
        CountingBuffer buffer;
        std::ostream stream(&buffer);
        logger.set_output(&stream);
        logger.println(PLogger::Level::info, "f", 1, std::string(size, 'x'));
        EXPECT_EQ(buffer.writes, 1);
        EXPECT_EQ(buffer.flushes, 1);
        EXPECT_EQ(buffer.text, "3 f:1 " + std::string(size, 'x') + "\n");
        logger.set_output(nullptr);
    }
}

TEST_F(PLoggerTest, ignores_the_formatting_state_of_the_stream)
{
    std::ostringstream stream;
    stream << std::hex << std::showbase;
    stream.width(40);
    logger.set_output(&stream);
    logger.println(PLogger::Level::info, "f", 255, "m");
    EXPECT_EQ(stream.view(), "3 f:255 m\n");
}

class FailingBuffer : public std::streambuf {
protected:
    std::streamsize xsputn(char const *, std::streamsize) override { return 0; }
};

TEST_F(PLoggerTest, passes_on_the_exception_of_a_stream_and_can_be_used_on)
{
    FailingBuffer buffer;
    std::ostream broken(&buffer);
    broken.exceptions(std::ios::badbit);
    logger.set_output(&broken);
    EXPECT_THROW(logger.println(PLogger::Level::info, "f", 1, "lost"), std::ios::failure);

    // In a thread of its own, so that a lock that is never released makes the test fail instead of hang.
    std::ostringstream stream;
    std::promise<void> written;
    std::thread([&] {
        logger.set_output(&stream);
        logger.println(PLogger::Level::info, "f", 2, "m");
        written.set_value();
    }).detach();
    ASSERT_EQ(written.get_future().wait_for(std::chrono::seconds(20)), std::future_status::ready);
    EXPECT_EQ(stream.view(), "3 f:2 m\n");
}

// Writes characters one by one and yields between them, so that the output of unsynchronised writers is mixed.
class SlowBuffer : public std::streambuf {
public:
    std::string text;

protected:
    std::streamsize xsputn(char const *data, std::streamsize size) override
    {
        for (char const character : std::string_view(data, static_cast<std::size_t>(size))) {
            text += character;
            std::this_thread::yield();
        }
        return size;
    }
};

TEST_F(PLoggerTest, lines_of_several_threads_do_not_mix)
{
    constexpr int threads = 4;
    constexpr int lines = 200;
    SlowBuffer buffer;
    std::ostream stream(&buffer);
    logger.set_output(&stream);

    std::latch start(threads);
    std::vector<std::jthread> writers;
    writers.reserve(threads);
    for (int thread = 0; thread < threads; ++thread)
        writers.emplace_back([&, thread] {
            std::string const message(20, static_cast<char>('a' + thread));
            start.arrive_and_wait();
            for (int line = 0; line < lines; ++line)
                logger.println(PLogger::Level::info, "f", line, message);
        });
    writers.clear();
    logger.set_output(nullptr);

    // Each thread's lines are whole and in the thread's own order.
    std::map<std::string, int> next;
    std::istringstream written(buffer.text);
    for (std::string line; std::getline(written, line);) {
        std::string const message = line.substr(line.rfind(' ') + 1);
        ASSERT_EQ(line, "3 f:" + std::to_string(next[message]++) + " " + message);
    }
    ASSERT_EQ(next.size(), std::size_t{threads});
    for (int thread = 0; thread < threads; ++thread)
        EXPECT_EQ(next[std::string(20, static_cast<char>('a' + thread))], lines);
}

TEST_F(PLoggerTest, level_and_output_may_change_while_others_log)
{
    std::array<std::unique_ptr<std::ostringstream>, 2> streams{std::make_unique<std::ostringstream>(),
                                                               std::make_unique<std::ostringstream>()};
    constexpr int writers_count = 3;
    std::atomic<bool> stop{false};
    std::latch start(writers_count + 1);
    std::vector<std::jthread> writers;
    writers.reserve(writers_count);
    for (int writer = 0; writer < writers_count; ++writer)
        writers.emplace_back([&] {
            start.arrive_and_wait();
            while (!stop)
                if (logger.level() >= 3 && logger.output() != nullptr)
                    logger.println(PLogger::Level::info, "f", 1, "m");
        });
    start.arrive_and_wait();
    for (int round = 0; round < 2'000; ++round) {
        logger.set_level(static_cast<std::int8_t>(round % 7));
        logger.set_output(round % 3 == 2 ? nullptr : streams[static_cast<std::size_t>(round % 3)].get());
    }
    stop = true;
    writers.clear();
    logger.set_output(nullptr);
    for (auto const &stream : streams) {
        std::istringstream written(stream->str());
        for (std::string line; std::getline(written, line);)
            ASSERT_EQ(line, "3 f:1 m");
    }
}

// Stays inside a write until it is let go.
class StuckBuffer : public std::streambuf {
public:
    std::latch entered{1};
    std::latch let_go{1};

protected:
    std::streamsize xsputn(char const *, std::streamsize size) override
    {
        entered.count_down();
        let_go.wait();
        return size;
    }
};

class PLoggerStuckTest : public PLoggerTest {
protected:
    PLoggerStuckTest()
    {
        logger.set_output(&stream);
        writer = std::jthread([this] { logger.println(PLogger::Level::info, "f", 1, "m"); });
        buffer.entered.wait();
    }

    StuckBuffer buffer;
    std::ostream stream{&buffer};
    std::jthread writer;
};

TEST_F(PLoggerStuckTest, reading_and_the_level_do_not_wait_for_a_line)
{
    auto const done = std::async(std::launch::async, [this] {
        logger.set_level(1);
        return logger.level() == 1 && logger.output() == &stream;
    });
    EXPECT_EQ(done.wait_for(std::chrono::seconds(20)), std::future_status::ready);
    buffer.let_go.count_down();
}

TEST_F(PLoggerStuckTest, taking_the_output_away_waits_for_the_line_being_written)
{
    auto const taken = std::async(std::launch::async, [this] { logger.set_output(nullptr); });
    EXPECT_EQ(taken.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    buffer.let_go.count_down();
    EXPECT_EQ(taken.wait_for(std::chrono::seconds(20)), std::future_status::ready);
}

} // namespace
} // namespace tarnwick::test::plogger_test
