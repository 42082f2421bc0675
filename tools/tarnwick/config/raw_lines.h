#pragma once

#include <QtCore/QString>

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace tarnwick::program {

/// The lines of a file whose bytes the reader of configuration files does not keep, or does not take for a comment.
class RawLines {
public:
    struct Line {
        bool is_comment = false;
        bool is_utf8 = true;
        bool is_marked_comment = false; ///< a comment, or an empty line, but for a byte-order mark in front of it
        qsizetype carriage_returns = 0; ///< inside the line
        bool continues = false;         ///< after one of them there is text that is no comment
    };
    using Lines = std::map<std::int64_t, Line>; ///< by number, from 1

    RawLines() = default;
    /// Reads the file. Throws `PException` where that fails as it would in the reader.
    explicit RawLines(QString const &file);

    /// Empty where all lines are kept.
    [[nodiscard]] Lines const &lines() const { return lines_; }
    /// Why the file could not be opened.
    [[nodiscard]] std::optional<std::string> const &failure() const { return failure_; }

private:
    Lines lines_;
    std::optional<std::string> failure_;
};

} // namespace tarnwick::program
