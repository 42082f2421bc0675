#include "config/settings.h"

#include <tarnwick/qstring_format.h>

#include <fmt/format.h>

namespace tarnwick::program {

using PelorinPHPX::ConfigFile;

void ConfigSettings::opened(ConfigFile const &file)
{
    LineTracker::opened(file);
    if (file.parent() == nullptr)
        prefix_ = file.prefix().value_or(QString());
}

void ConfigSettings::unresolved(ConfigFile const &file, QStringView key, QString const & /*name*/)
{
    if (auto &lines = lines_of(file, key.toString()); lines.unresolved.size() < 2)
        lines.unresolved.push_back(place_of(file).line);
}

void ConfigSettings::outside_prefix(ConfigFile const &file, QStringView key, QString const & /*prefix*/)
{
    lines_of(file, key.toString()).last_outside = place_of(file).line;
}

void ConfigSettings::added(ConfigFile const &file, QString const &key, QString const & /*value*/)
{
    auto &lines = lines_of(file, prefix_ + key);
    lines.last_set = place_of(file).line;
    if (!lines.first_set)
        lines.first_set = lines.last_set;
}

ConfigSettings::Lines &ConfigSettings::lines_of(ConfigFile const &file, QString const &key)
{
    auto &lines = lines_[key];
    if (!lines.first)
        lines.first = place_of(file).line;
    return lines;
}

ConfigSettings::Miss ConfigSettings::miss(ConfigFile const &file, QString const &name) const
{
    auto const found = lines_.constFind(name);
    return {name, place_of(file).line, found == lines_.cend() ? std::nullopt : found->last_set};
}

std::string ConfigSettings::reason(Miss const &miss) const
{
    return fmt::format("it refers to '{}', {}", miss.name, where(miss));
}

std::string ConfigSettings::where(Miss const &miss) const
{
    auto const lines = lines_.value(miss.name);
    // What an ended file has set is in the tables of the files that include it: an earlier line is out of reach only
    // where the value is in none of the two tables that are searched.
    if (miss.earlier)
        return fmt::format("which is set at {}: a reference can only use keys from its own file and the file that "
                           "includes it",
                           shown(*miss.earlier));
    if (lines.first_set)
        return fmt::format("which is set only later, at {}", shown(*lines.first_set));
    if (lines.last_outside)
        return fmt::format("which is set at {}, but outside the prefix '{}'", shown(*lines.last_outside), prefix_);
    for (auto const &line : lines.unresolved) {
        if (line.number != miss.line.number || line.file != miss.line.file)
            return fmt::format("which is dropped at {}", shown(line));
    }
    if (auto const prefixed = lines_.value(prefix_ + miss.name).first; !prefix_.isEmpty() && prefixed)
        return fmt::format("which is outside the prefix '{}'; did you mean '{}{}', set at {}?", prefix_, prefix_,
                           miss.name, shown(*prefixed));
    return "which is set in no file, and unset or empty in the environment";
}

} // namespace tarnwick::program
