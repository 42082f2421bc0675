#pragma once

// Not installed.

#include <QtCore/QByteArray>
#include <QtCore/QByteArrayView>
#include <QtCore/QFile>
#include <QtCore/QString>
#include <QtCore/QUtf8StringView>

#include <cstdint>
#include <limits>

namespace PelorinPHPX {

/// The number of the next line. It stays at the largest number that there is.
constexpr std::int32_t next_line_no(std::int32_t line_no) noexcept
{
    return line_no == std::numeric_limits<std::int32_t>::max() ? line_no : line_no + 1;
}

/// The lines of an open file, as QFile::readLine() gives them, and their text, as QString::fromUtf8() does: in buffers
/// that serve all lines, instead of fresh ones each.
class LineReader {
public:
    explicit LineReader(QFile &file)
        : file_(file)
    {
    }

    /// Stays until the next call. Can be empty before the end, as a file that ends in a carriage return shows.
    QByteArrayView next()
    {
        if (buffer_.capacity() > kept)
            buffer_ = QByteArray();
        if (text_.capacity() > kept)
            text_ = QString();
        qsizetype size = 0;
        qint64 count = 0;
        do {
            buffer_.resizeForOverwrite(size + piece + 1);
            count = file_.readLine(buffer_.data() + size, piece + 1);
            if (count > 0)
                size += count;
        } while (count == piece && buffer_[size - 1] != '\n');
        is_stuck_ = size == 0 && !file_.atEnd();
        return QByteArrayView(buffer_).first(size);
    }

    /// Stays until the next call of next().
    QString const &decoded(QByteArrayView line) { return text_.assign(QUtf8StringView(line)); }

    /// Whether the file gives nothing more, though it is not at its end.
    [[nodiscard]] bool is_stuck() const { return is_stuck_; }

private:
    // What QFile takes out of its own buffer at once: in text mode it makes a difference to carriage returns where one
    // piece ends and the next begins.
    static constexpr qsizetype piece = 16'384;
    static constexpr qsizetype kept = 1'048'576; ///< no long line takes memory for the rest of the file

    QFile &file_;
    QByteArray buffer_;
    QString text_;
    bool is_stuck_ = false;
};

} // namespace PelorinPHPX
