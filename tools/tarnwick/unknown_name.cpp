#include "unknown_name.h"

#include "config/key_guess.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <QtCore/QString>
#include <QtCore/QStringList>

namespace tarnwick::program {

std::invalid_argument unknown_name(std::string_view what, std::string_view name, std::vector<std::string> const &known,
                                   IfNoneIsNear if_none_is_near)
{
    QStringList names;
    for (auto const &other : known)
        names << QString::fromStdString(other);
    auto const nearest =
        nearest_key(QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size())), QString(), names);
    auto const hint = nearest ? fmt::format("; did you mean '{}'?", nearest->toStdString())
                      : if_none_is_near == IfNoneIsNear::list
                          ? fmt::format("; the names are {}", fmt::join(known, ", "))
                          : "";
    return std::invalid_argument(fmt::format("{} '{}'{}", what, name, hint));
}

} // namespace tarnwick::program
