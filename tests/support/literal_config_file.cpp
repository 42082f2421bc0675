#include "support/literal_config_file.h"

#include <tarnwick/pexception.h>
#include <tarnwick/qstring_format.h>

#include <fmt/format.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QRegularExpression>
#include <QtCore/QtEnvironmentVariables>

namespace tarnwick::test {

LiteralConfigFile::LiteralConfigFile(QString const &file, QString const &name)
    : LiteralConfigFile(nullptr, file)
{
    if (!name.isEmpty())
        prefix_ = QString(u"%1.").arg(name);
}

LiteralConfigFile::LiteralConfigFile(LiteralConfigFile const *parent, QString const &file)
    : parent_(parent)
{
    QFileInfo const info(file);
    path_ = info.path();
    file_path_ = info.filePath();
    canonical_file_path_ = info.canonicalFilePath();
}

void LiteralConfigFile::load()
{
    line_no_ = 0;
    QFile file(file_path_);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        throw PException(fmt::format("{}", file.errorString()));
    while (!file.atEnd()) {
        QByteArray const line = file.readLine().trimmed();
        ++line_no_;
        if (line.isEmpty() || line.at(0) == ';' || line.at(0) == '#')
            continue;
        process_directive(QString::fromUtf8(line));
    }
}

void LiteralConfigFile::process_directive(QString const &line)
{
    qsizetype const equals = line.indexOf(u'=');
    if (line.isEmpty() || equals <= 0)
        throw PException(fmt::format("invalid line at {}:{}", file_path_, line_no_));
    QString key = line.left(equals).trimmed();
    if (key.isEmpty())
        throw PException(fmt::format("empty key at {}:{}", file_path_, line_no_));
    QString value = line.mid(equals + 1).trimmed();

    static QRegularExpression const reference(QString(uR"(^\$\{([a-zA-Z_][a-zA-Z0-9_.]*)(:-(.*))?\}$)"));
    auto const match = reference.match(value);
    if (match.hasMatch()) {
        std::optional<QString> fallback;
        if (!match.captured(3).isEmpty())
            fallback = match.captured(3);
        auto const found = get_var(match.captured(1), fallback);
        if (!found)
            return;
        value = *found;
    }
    value = unescaped(value);
    if (key == QString(u"include")) {
        include_file(value);
        return;
    }
    if (auto const start = prefix()) {
        if (key.indexOf(*start, 0, Qt::CaseSensitive) != 0)
            return;
        key.remove(0, start->size());
    }
    values_.insert(key, value);
}

std::optional<QString> LiteralConfigFile::prefix() const
{
    for (auto const *file = this; file != nullptr; file = file->parent_) {
        if (file->prefix_)
            return file->prefix_;
    }
    return std::nullopt;
}

std::optional<QString> LiteralConfigFile::get_var(QString const &name, std::optional<QString> const &fallback) const
{
    auto const start = prefix();
    if (!start || name.startsWith(*start, Qt::CaseSensitive)) {
        QString const key = start ? name.mid(start->size()) : name;
        if (!values_.isEmpty() && values_.contains(key))
            return values_.value(key);
        if (parent_ != nullptr && !parent_->values_.isEmpty() && parent_->values_.contains(key))
            return parent_->values_.value(key);
    }
    QByteArray const variable = qgetenv(name.toUtf8().constData());
    if (!variable.isEmpty())
        return QString::fromUtf8(variable);
    return fallback;
}

QString LiteralConfigFile::unescaped(QString const &value) const
{
    if (value.isEmpty())
        return value;
    if (value.at(0) != u'"' && value.at(0) != u'\'')
        return value;
    if (value.size() > 1 && value.at(value.size() - 1) == value.at(0))
        return value.mid(1, value.size() - 2);
    throw PException(fmt::format("unterminated string literal at {}:{}", file_path_, line_no_));
}

void LiteralConfigFile::include_file(QString const &include)
{
    QString target = include;
    if (QDir::isRelativePath(target))
        target = path_ + QString(u"/") + include;
    QFileInfo const info(target);
    if (!QRegularExpression(QString(uR"((\?|\*))")).match(info.fileName()).hasMatch()) {
        include_one(include, info.canonicalFilePath(), info.filePath());
        return;
    }
    QDir dir(info.path(), info.fileName());
    dir.setFilter(QDir::Files);
    dir.setSorting(QDir::Name);
    for (auto const &entry : dir.entryInfoList())
        include_one(entry.filePath(), entry.canonicalFilePath(), entry.filePath());
}

void LiteralConfigFile::include_one(QString const &name, QString const &canonical, QString const &file)
{
    for (auto const *above = parent_; above != nullptr; above = above->parent_) {
        if (above->canonical_file_path_ == canonical)
            throw PException(fmt::format("recursive include='{}' at {}:{}", name, file_path_, line_no_));
    }
    LiteralConfigFile child(this, file);
    try {
        child.load();
    } catch (PException const &error) {
        throw PException(fmt::format("include='{}' at {}:{}\n\t{}", name, file_path_, line_no_, error.what()));
    }
    values_.unite(child.values_);
}

} // namespace tarnwick::test
