#include "config_settings.h"

#include <tarnwick/qstring_format.h>

#include <fmt/format.h>

#include <algorithm>
#include <ranges>

namespace tarnwick::program {

using PelorinPHPX::ConfigFile;

void ConfigSettings::opened(ConfigFile const &file)
{
    ConfigTrail::opened(file);
    if (file.parent() == nullptr)
        prefix_ = file.prefix().value_or(QString());
}

void ConfigSettings::unresolved(ConfigFile const &file, QStringView key, QString const & /*name*/)
{
    note(file, key.toString(), Outcome::unresolved);
}

void ConfigSettings::outside_prefix(ConfigFile const &file, QStringView key, QString const & /*prefix*/)
{
    note(file, key.toString(), Outcome::outside_prefix);
}

void ConfigSettings::added(ConfigFile const &file, QString const &key, QString const & /*value*/)
{
    note(file, prefix_ + key, Outcome::set);
}

void ConfigSettings::note(ConfigFile const &file, QString const &key, Outcome outcome)
{
    lines_[key].push_back({place_of(file).line, settings_, outcome});
    ++settings_;
}

std::string ConfigSettings::reason(Miss const &miss) const
{
    return fmt::format("it refers to '{}', {}", miss.name, where(miss));
}

std::string ConfigSettings::where(Miss const &miss) const
{
    auto const settings = lines_.value(miss.name);
    auto const is_set = [](Setting const &setting) { return setting.outcome == Outcome::set; };
    auto const is_earlier = [&](Setting const &setting) { return setting.number < miss.settings; };
    // What an ended file has set is in the tables of the files that include it: an earlier line is out of reach only
    // where the value is in none of the two tables that are searched.
    for (auto const &setting : settings | std::views::reverse) {
        if (is_set(setting) && is_earlier(setting))
            return fmt::format("which is set at {}: a reference sees its own file and the one that includes it, but "
                               "none further up",
                               shown(setting.line));
    }
    if (auto const later = std::ranges::find_if(settings, is_set); later != settings.end())
        return fmt::format("which is set only later, at {}", shown(later->line));
    if (!settings.empty() && settings.back().outcome == Outcome::outside_prefix)
        return fmt::format("which is set at {}, but outside the prefix '{}'", shown(settings.back().line), prefix_);
    if (!settings.empty())
        return fmt::format("which is dropped at {}", shown(settings.front().line));
    if (auto const prefixed = lines_.value(prefix_ + miss.name); !prefix_.isEmpty() && !prefixed.empty())
        return fmt::format("which is outside the prefix '{}'; did you mean '{}{}', set at {}?", prefix_, prefix_,
                           miss.name, shown(prefixed.front().line));
    return "which is set in no file, and unset or empty in the environment";
}

} // namespace tarnwick::program
