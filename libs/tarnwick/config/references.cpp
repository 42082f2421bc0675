// ConfigFile: references and quotes in values.

#include <tarnwick/config/resolved.h>
#include <tarnwick/pconfigfile.h>
#include <tarnwick/pexception.h>
#include <tarnwick/qstring_format.h>

#include <fmt/format.h>

#include <QtCore/QRegularExpression>
#include <QtCore/QtEnvironmentVariables>

#include <utility>

namespace PelorinPHPX {

bool ConfigFile::is_var(QString const &value, QString &name, std::optional<QString> &default_value) const
{
    static QRegularExpression const reference(QStringLiteral(R"(^\$\{([a-zA-Z_][a-zA-Z0-9_.]*)(:-(.*))?\}$)"));
    auto const match = reference.match(value);
    if (!match.hasMatch())
        return false;
    name = match.captured(1);
    if (auto text = match.captured(3); !text.isEmpty())
        default_value = std::move(text);
    return true;
}

std::optional<QString> ConfigFile::get_var(QString const &name, std::optional<QString> const &default_value) const
{
    return resolved(name, default_value).value;
}

ConfigFile::Resolved ConfigFile::resolved(QString const &name, std::optional<QString> const &default_value) const
{
    using Source = ConfigObserver::Source;
    QString const *const prefix = effective_prefix();
    // A table has only keys of its prefix, so other names are not looked up.
    if (prefix == nullptr || name.startsWith(*prefix)) {
        auto const key = prefix == nullptr ? name : name.sliced(prefix->size());
        if (auto found = this->value(key))
            return {std::move(found), Source::file};
        // Only the direct parent: values further up are not visible, although the prefix is.
        if (parent_ != nullptr) {
            if (auto found = parent_->value(key))
                return {std::move(found), Source::parent};
        }
    }
    if (auto const found = qgetenv(name.toUtf8().constData()); !found.isEmpty())
        return {QString::fromUtf8(found), Source::environment};
    return {default_value, Source::default_value};
}

QString ConfigFile::unescaped(QString const &value) const
{
    return unquoted(value).toString();
}

QStringView ConfigFile::unquoted(QStringView value) const
{
    if (value.isEmpty() || (value.front() != u'"' && value.front() != u'\''))
        return value;
    if (value.size() < 2 || value.back() != value.front())
        throw PException(fmt::format("unterminated string literal at {}:{}", file_path_, line_no_));
    return value.sliced(1, value.size() - 2);
}

} // namespace PelorinPHPX
