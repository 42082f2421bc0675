#pragma once

// Not installed.

#include <tarnwick/config/line_reader.h>
#include <tarnwick/pconfigfile.h>

#include <QtCore/QFile>
#include <QtCore/QMultiHash>
#include <QtCore/QString>

#include <algorithm>

namespace PelorinPHPX {

/// Reserves space in a table while a file is read. The size that the table will need is extrapolated from the part read
/// so far, because each small step of growth rehashes every key. One call grows the table at most 16-fold.
class TableSize {
public:
    explicit TableSize(QFile const &file)
        : file_(file)
    {
    }

    void reserve(QMultiHash<QString, QString> &table)
    {
        if (table.size() < next_)
            return;
        auto const read = static_cast<double>(std::max<qint64>(1, file_.pos()));
        auto const expected = static_cast<double>(table.size()) * static_cast<double>(file_.size()) / read;
        next_ = table.size() * max_growth;
        table.reserve(static_cast<qsizetype>(std::min(expected, static_cast<double>(next_))));
    }

private:
    static constexpr qsizetype max_growth = 16;

    QFile const &file_;
    qsizetype next_ = 64;
};

/// A configuration file that is open for reading.
struct ConfigFile::OpenFile {
    explicit OpenFile(QString const &name)
        : file(name)
    {
    }

    QFile file;
    LineReader lines{file};
    TableSize table_size{file};
};

} // namespace PelorinPHPX
