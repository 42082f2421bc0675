#pragma once

// Not installed.

#include <QtCore/QByteArray>
#include <QtCore/QByteArrayView>
#include <QtCore/QFile>

namespace PelorinPHPX {

/// The lines of an open file, as QFile::readLine() gives them, in one buffer instead of a fresh array each.
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
        auto const before = file_.pos();
        qsizetype size = 0;
        qint64 count = 0;
        do {
            buffer_.resizeForOverwrite(size + piece + 1);
            count = file_.readLine(buffer_.data() + size, piece + 1);
            if (count > 0)
                size += count;
        } while (count == piece && buffer_[size - 1] != '\n');
        is_stuck_ = file_.pos() == before;
        return QByteArrayView(buffer_).first(size);
    }

    /// Whether the file gives nothing more, though it is not at its end.
    [[nodiscard]] bool is_stuck() const { return is_stuck_; }

private:
    // What QFile takes out of its own buffer at once: in text mode it makes a difference to carriage returns where one
    // piece ends and the next begins.
    static constexpr qsizetype piece = 16'384;
    static constexpr qsizetype kept = 1'048'576; ///< no long line takes memory for the rest of the file

    QFile &file_;
    QByteArray buffer_;
    bool is_stuck_ = false;
};

} // namespace PelorinPHPX
