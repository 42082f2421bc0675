#include "config/raw_lines.h"

#include <tarnwick/pexception.h>

#include <QtCore/QByteArray>
#include <QtCore/QByteArrayView>
#include <QtCore/QFile>
#include <QtCore/QIODevice>

#include <algorithm>

namespace tarnwick::program {
namespace {

bool is_text(QByteArrayView line)
{
    return !line.isEmpty() && line.front() != '#' && line.front() != ';';
}

RawLines::Line line_of(QByteArrayView bytes)
{
    constexpr QByteArrayView mark("\xEF\xBB\xBF");
    RawLines::Line line;
    line.is_comment = !is_text(bytes);
    line.is_utf8 = bytes.isValidUtf8();
    line.is_marked_comment = bytes.startsWith(mark) && !is_text(bytes.sliced(mark.size()).trimmed());
    line.carriage_returns = std::count(bytes.begin(), bytes.end(), '\r');
    for (qsizetype at = bytes.indexOf('\r'); at >= 0 && !line.hides_text; at = bytes.indexOf('\r', at)) {
        auto const rest = bytes.sliced(at).trimmed();
        line.hides_text = is_text(rest);
        at = rest.data() - bytes.data(); // Skips a run of carriage returns, for linear time.
    }
    return line;
}

} // namespace

RawLines::RawLines(QString const &name)
{
    QFile file(name);
    if (!file.open(QIODevice::ReadOnly)) {
        failure_ = file.errorString().toStdString();
        return;
    }
    for (std::int64_t number = 1; !file.atEnd(); ++number) {
        auto const bytes = file.readLine();
        if (file.error() != QFileDevice::NoError)
            throw PException(file.errorString().toStdString());
        if (bytes.isEmpty())
            return; // The file became shorter.
        if (auto const line = line_of(QByteArrayView(bytes).trimmed());
            !line.is_utf8 || line.is_marked_comment || line.carriage_returns > 0)
            lines_.emplace(number, line);
    }
}

} // namespace tarnwick::program
