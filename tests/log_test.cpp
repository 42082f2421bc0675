#include "support/log_lines.h"

#include <tarnwick/log.h>
#include <tarnwick/qstring_format.h>

#include <QtCore/QString>

#include <gtest/gtest.h>

#include <array>
#include <ios>
#include <ostream>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <utility>
#include <vector>

namespace tarnwick::test {

/// Counts how often it is formatted.
struct Counted {
    int *formatted;
};

struct Unprintable {};

} // namespace tarnwick::test

template <>
struct fmt::formatter<tarnwick::test::Counted> : fmt::formatter<int> {
    template <class Context>
    auto format(tarnwick::test::Counted const &value, Context &context) const
    {
        return fmt::formatter<int>::format(++*value.formatted, context);
    }
};

template <>
struct fmt::formatter<tarnwick::test::Unprintable> : fmt::formatter<int> {
    template <class Context>
    auto format(tarnwick::test::Unprintable const & /*value*/, Context &context) const -> decltype(context.out())
    {
        throw std::domain_error("unprintable");
    }
};

namespace tarnwick::test {
namespace {

using Lines = std::vector<std::string>;

constexpr Log log{"libs/part/source"};

TEST(Log, names_the_line_of_the_call)
{
    LogLines const out(5);
    int const line = __LINE__ + 1;
    log(PLogger::Level::info, "one");
    log(PLogger::Level::debug, "{} and {}",
        // The first line counts.
        QString(u"Größe"), 2);
    EXPECT_EQ(out.lines(), (Lines{"3 libs/part/source:" + std::to_string(line) + " one",
                                  "5 libs/part/source:" + std::to_string(line + 1) + " Größe and 2"}));
}

TEST(Log, formats_nothing_that_is_not_wanted)
{
    int formatted = 0;
    struct Case {
        int level;
        bool is_wanted;
    };
    for (auto const &[level, is_wanted] : std::array{Case{-1, false}, Case{2, false}, Case{3, true}, Case{4, true}}) {
        formatted = 0;
        LogLines const out(static_cast<std::int8_t>(level));
        log(PLogger::Level::info, "{}", Counted{&formatted});
        EXPECT_EQ(formatted, is_wanted ? 1 : 0) << level;
        EXPECT_EQ(out.lines().size(), is_wanted ? 1U : 0U) << level;
    }
    formatted = 0;
    auto &logger = PLogger::instance();
    ASSERT_EQ(logger.output(), nullptr);
    auto const before = logger.level();
    logger.set_level(127);
    log(PLogger::Level::info, "{}", Counted{&formatted});
    logger.set_level(before);
    EXPECT_EQ(formatted, 0) << "without an output";
}

TEST(Log, says_that_a_message_cannot_be_formatted)
{
    LogLines const out(5);
    int const line = __LINE__ + 1;
    EXPECT_NO_THROW(log(PLogger::Level::debug, "{} {}", 1));
    EXPECT_EQ(out.lines(),
              (Lines{"5 libs/part/source:" + std::to_string(line) + " Failed to format message: argument not found"}));
}

TEST(Log, passes_on_what_is_no_format_error)
{
    LogLines const out(5);
    EXPECT_THROW(log(PLogger::Level::info, "{}", Unprintable()), std::domain_error);
    EXPECT_EQ(out.lines(), Lines());
}

/// Throws a given exception at the first writing, as a stream of a program may.
template <class Exception>
class FailingBuffer : public std::streambuf {
public:
    std::string text;

protected:
    std::streamsize xsputn(char const *data, std::streamsize size) override
    {
        if (!std::exchange(failed_, true))
            throw Exception("no writing");
        text.append(data, static_cast<std::size_t>(size));
        return size;
    }

private:
    bool failed_ = false;
};

TEST(Log, passes_on_what_the_stream_throws)
{
    FailingBuffer<std::runtime_error> buffer;
    std::ostream stream(&buffer);
    stream.exceptions(std::ios::badbit);
    auto &logger = PLogger::instance();
    logger.set_output(&stream);
    EXPECT_THROW(log(PLogger::Level::info, "m"), std::runtime_error);
    logger.set_output(nullptr);
    EXPECT_EQ(buffer.text, "");
}

TEST(Log, takes_a_format_error_of_the_stream_for_its_own)
{
    FailingBuffer<fmt::format_error> buffer;
    std::ostream stream(&buffer);
    stream.exceptions(std::ios::badbit);
    auto &logger = PLogger::instance();
    logger.set_output(&stream);
    // The line that tells of it meets a stream that is bad by now, whose refusal is no format error.
    EXPECT_THROW(log(PLogger::Level::info, "m"), std::ios::failure);
    logger.set_output(nullptr);
}

} // namespace
} // namespace tarnwick::test
