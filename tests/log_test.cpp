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

namespace tarnwick::test::log_test {
namespace {

using Lines = std::vector<std::string>;

constexpr Log log{"libs/part/source"};

TEST(Log, names_the_line_of_the_call)
{
    LogLines const out(5);
    int const line = __LINE__ + 1;
    log(PLogger::Level::info, "one");
    log(PLogger::Level::debug, "{} and {}",
        // The log reports the first line of the call.
        QString(u"Größe"), 2);
    EXPECT_EQ(out.lines(), (Lines{"3 libs/part/source:" + std::to_string(line) + " one",
                                  "5 libs/part/source:" + std::to_string(line + 1) + " Größe and 2"}));
}

TEST(Log, does_not_format_messages_below_the_level)
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

TEST(Log, reports_a_message_that_cannot_be_formatted)
{
    LogLines const out(5);
    int const line = __LINE__ + 1;
    EXPECT_NO_THROW(log(PLogger::Level::debug, "{} {}", 1));
    EXPECT_EQ(out.lines(),
              (Lines{"5 libs/part/source:" + std::to_string(line) + " Failed to format message: argument not found"}));
}

TEST(Log, propagates_exceptions_that_are_not_format_errors)
{
    LogLines const out(5);
    EXPECT_THROW(log(PLogger::Level::info, "{}", Unprintable()), std::domain_error);
    EXPECT_EQ(out.lines(), Lines());
}

/// Throws an `Exception` on the first write, as a stream of a program may.
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

/// Expects `Expected` from logging to a stream that throws `Thrown`. Returns what was written.
template <class Thrown, class Expected>
std::string log_to_throwing_stream()
{
    FailingBuffer<Thrown> buffer;
    std::ostream stream(&buffer);
    stream.exceptions(std::ios::badbit);
    auto &logger = PLogger::instance();
    logger.set_output(&stream);
    EXPECT_THROW(log(PLogger::Level::info, "m"), Expected);
    logger.set_output(nullptr);
    return buffer.text;
}

TEST(Log, propagates_exceptions_of_the_stream)
{
    EXPECT_EQ((log_to_throwing_stream<std::runtime_error, std::runtime_error>()), "");
}

TEST(Log, handles_a_format_error_of_the_stream_as_its_own)
{
    // The line that reports the format error meets a stream that is bad by now, whose refusal is no format error.
    log_to_throwing_stream<fmt::format_error, std::ios::failure>();
}

} // namespace
} // namespace tarnwick::test::log_test
