#pragma once

#include <pcommon/plogger.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace tarnwick::test {

/// Collects the lines that are logged during its lifetime.
class LogLines {
public:
    explicit LogLines(std::int8_t level)
    {
        PLogger::instance().set_level(level);
        PLogger::instance().set_output(&stream_);
    }
    ~LogLines()
    {
        PLogger::instance().set_output(nullptr);
        PLogger::instance().set_level(before_);
    }
    LogLines(LogLines const &) = delete;
    LogLines &operator=(LogLines const &) = delete;

    [[nodiscard]] std::vector<std::string> lines() const
    {
        std::vector<std::string> lines;
        std::istringstream text(stream_.str());
        for (std::string line; std::getline(text, line);)
            lines.push_back(line);
        return lines;
    }

private:
    std::ostringstream stream_;
    std::int8_t before_ = PLogger::instance().level();
};

/// `FILE:LINE` of the one line of a source that has this text in it, the file as the log names it.
inline std::string place_in_source(std::string const &stem, std::string const &text)
{
    std::ifstream source(TARNWICK_SOURCES "/" + stem + ".cpp");
    int number = 0;
    int found = 0;
    for (std::string line; std::getline(source, line);) {
        ++number;
        if (line.find(text) != std::string::npos) {
            EXPECT_EQ(found, 0) << text << " is more than once in " << stem;
            found = number;
        }
    }
    EXPECT_NE(found, 0) << text << " is missing from " << stem;
    return stem + ":" + std::to_string(found);
}

} // namespace tarnwick::test
