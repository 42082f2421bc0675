#pragma once

// How this library logs: one sequence, and nothing is formatted unless the line is wanted. Not installed.
//
//     constexpr tarnwick::Log log{"libs/tarnwick/pconfigfile"};
//     log(PLogger::Level::info, "Loading configuration file {}", file_path);

#include <pcommon/plogger.h>

#include <fmt/format.h>

#include <source_location>
#include <string_view>

namespace tarnwick {

/// The format string of a log line, and the line number of the call. Compilers differ about a call of several lines: g++
/// reports the line of its opening parenthesis. So a call has its level and its format string on that line.
struct LogMessage {
    // Not explicit: a call gives the bare text.
    constexpr LogMessage(char const *text, std::source_location place = std::source_location::current())
        : format(text)
        , line(static_cast<int>(place.line()))
    {
    }

    std::string_view format;
    int line;
};

/// The log of one source file, which is named by its path without the ending, whatever folder it was built in.
struct Log {
    char const *file;

    template <class... Args>
    void operator()(PLogger::Level level, LogMessage message, Args const &...args) const
    {
        auto const &logger = PLogger::instance();
        if (static_cast<int>(level) > logger.level() || logger.output() == nullptr)
            return;
        try {
            logger.println(level, file, message.line, fmt::vformat(message.format, fmt::make_format_args(args...)));
        } catch (fmt::format_error const &error) {
            logger.println(level, file, message.line, fmt::format("Failed to format message: {}", error.what()));
        }
    }
};

} // namespace tarnwick
