#pragma once

#include <QtCore/QMultiHash>
#include <QtCore/QString>

#include <optional>

namespace tarnwick::test {

/// A simple and slow reader of configuration files. The library's reader must agree with it.
class LiteralConfigFile {
public:
    LiteralConfigFile(QString const &file, QString const &name);
    LiteralConfigFile(LiteralConfigFile const *parent, QString const &file);

    void load();
    [[nodiscard]] QMultiHash<QString, QString> const &values() const { return values_; }
    [[nodiscard]] int line_no() const { return line_no_; }

private:
    void process_directive(QString const &line);
    [[nodiscard]] std::optional<QString> prefix() const;
    [[nodiscard]] std::optional<QString> get_var(QString const &name, std::optional<QString> const &fallback) const;
    [[nodiscard]] QString unescaped(QString const &value) const;
    void include_file(QString const &include);
    void include_one(QString const &name, QString const &canonical, QString const &file);

    LiteralConfigFile const *parent_ = nullptr;
    QString path_;
    QString file_path_;
    QString canonical_file_path_;
    std::optional<QString> prefix_;
    int line_no_ = 0;
    QMultiHash<QString, QString> values_;
};

} // namespace tarnwick::test
