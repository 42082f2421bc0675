#include "unknown_name.h"

#include "config/key_guess.h"

#include <fmt/format.h>

#include <QtCore/QString>
#include <QtCore/QStringList>

namespace tarnwick::program {

std::invalid_argument unknown_name(std::string_view what, std::string_view name, std::vector<std::string> const &known)
{
    QStringList names;
    for (auto const &other : known)
        names << QString::fromStdString(other);
    auto const nearest =
        nearest_key(QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size())), QString(), names);
    return std::invalid_argument(fmt::format(
        "{} '{}'{}", what, name, nearest ? fmt::format("; did you mean '{}'?", nearest->toStdString()) : ""));
}

} // namespace tarnwick::program
