#pragma once

// Logging of this library. A line is formatted only if it is wanted. Not installed.
//
//     constexpr tarnwick::Log log{"libs/tarnwick/pconfigfile"};
//     log(PLogger::Level::info, "Loading configuration file {}", file_path);

#include <pcommon/plogger.h>

#include <fmt/format.h>

#include <source_location>
#include <string_view>

namespace tarnwick {

/// Format string of a log line, with the line number of the call. Compilers differ about a call that spans several
/// lines; g++ reports the line of its opening parenthesis. So the level and the format string must be on that line.
struct LogMessage {
    // Not explicit, so that a call can pass a plain string.
    constexpr LogMessage(char const *text, std::source_location place = std::source_location::current())
        : format(text)
        , line(static_cast<int>(place.line()))
    {
    }

    std::string_view format;
    int line;
};

/// Log of one source file. `file` is the path in the repository without the extension, independent of the build folder.
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
