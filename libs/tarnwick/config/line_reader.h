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

/// Returns the number of the next line. It saturates at the largest number.
constexpr std::int32_t next_line_no(std::int32_t line_no) noexcept
{
    return line_no == std::numeric_limits<std::int32_t>::max() ? line_no : line_no + 1;
}

/// Reads the lines of an open file. The bytes equal those of QFile::readLine(), the text that of QString::fromUtf8().
/// All lines share one pair of buffers, so most lines need no allocation.
class LineReader {
public:
    explicit LineReader(QFile &file)
        : file_(file)
    {
    }

    /// Returns the next line; it is valid until the next call. A line can be empty before the end of the file, for
    /// example if the file ends in a carriage return.
    QByteArrayView next()
    {
        if (buffer_.capacity() > max_kept_capacity)
            buffer_ = QByteArray();
        if (text_.capacity() > max_kept_capacity)
            text_ = QString();
        qsizetype size = 0;
        qint64 count = 0;
        do {
            buffer_.resizeForOverwrite(size + read_size + 1);
            count = file_.readLine(buffer_.data() + size, read_size + 1);
            if (count > 0)
                size += count;
        } while (count == read_size && buffer_[size - 1] != '\n');
        is_stuck_ = size == 0 && !file_.atEnd();
        return QByteArrayView(buffer_).first(size);
    }

    /// Decodes a line; the text is valid until the next call of next().
    QString const &decoded(QByteArrayView line) { return text_.assign(QUtf8StringView(line)); }

    /// Returns whether the last call read nothing although the file is not at its end.
    [[nodiscard]] bool is_stuck() const { return is_stuck_; }

private:
    // The amount that QFile::readLine() reads at once. In text mode a carriage return at the end of a read is treated
    // differently, so reads must end at the same places.
    static constexpr qsizetype read_size = 16'384;
    static constexpr qsizetype max_kept_capacity = 1'048'576; ///< larger buffers are freed before the next line

    QFile &file_;
    QByteArray buffer_;
    QString text_;
    bool is_stuck_ = false;
};

} // namespace PelorinPHPX
