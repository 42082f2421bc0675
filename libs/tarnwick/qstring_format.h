#pragma once

#include <fmt/format.h>

#include <QtCore/QString>

#include <string>

/// Formatter of QString: formats its UTF-8 text, with all format specifications of a string.
template <>
struct fmt::formatter<QString> : fmt::formatter<std::string> {
    template <typename Context>
    auto format(QString const &text, Context &context) const
    {
        return fmt::formatter<std::string>::format(text.toUtf8().toStdString(), context);
    }
};
