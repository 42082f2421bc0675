#pragma once

#include <QtCore/QString>

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace tarnwick::program {

/// Lines of a file with bytes that the reader of configuration files drops, replaces or misinterprets.
class RawLines {
public:
    struct Line {
        bool is_comment = false;
        bool is_utf8 = true;
        bool is_marked_comment = false; ///< a byte-order mark, then a comment or nothing
        qsizetype carriage_returns = 0; ///< inside the line
        bool hides_text = false;        ///< text that is not a comment follows one of them
    };
    using Lines = std::map<std::int64_t, Line>; ///< by number, from 1

    RawLines() = default;
    /// Reads the file. Throws `PException` on a read error, like the reader.
    explicit RawLines(QString const &file);

    /// The lines with such bytes.
    [[nodiscard]] Lines const &lines() const { return lines_; }
    /// The reason why the file could not be opened.
    [[nodiscard]] std::optional<std::string> const &failure() const { return failure_; }

private:
    Lines lines_;
    std::optional<std::string> failure_;
};

} // namespace tarnwick::program
