#include "config/key_tracker.h"

#include <tarnwick/qstring_format.h>

#include <fmt/format.h>

namespace tarnwick::program {

using PelorinPHPX::ConfigFile;

void KeyTracker::opened(ConfigFile const &file)
{
    LineTracker::opened(file);
    if (file.parent() == nullptr)
        prefix_ = file.prefix().value_or(QString());
}

void KeyTracker::unresolved(ConfigFile const &file, QStringView key, QString const & /*name*/)
{
    if (auto &lines = lines_of(file, key.toString()); lines.unresolved.size() < 2)
        lines.unresolved.push_back(place_of(file).line);
}

void KeyTracker::outside_prefix(ConfigFile const &file, QStringView key, QString const & /*prefix*/)
{
    lines_of(file, key.toString()).last_outside = place_of(file).line;
}

void KeyTracker::added(ConfigFile const &file, QString const &key, QString const & /*value*/)
{
    auto &lines = lines_of(file, prefix_ + key);
    lines.last_set = place_of(file).line;
    if (!lines.first_set)
        lines.first_set = lines.last_set;
}

KeyTracker::Lines &KeyTracker::lines_of(ConfigFile const &file, QString const &key)
{
    auto &lines = lines_[key];
    if (!lines.first)
        lines.first = place_of(file).line;
    return lines;
}

KeyTracker::UnresolvedReference KeyTracker::unresolved_reference(ConfigFile const &file, QString const &name) const
{
    auto const found = lines_.constFind(name);
    return {name, place_of(file).line, found == lines_.cend() ? std::nullopt : found->last_set};
}

std::string KeyTracker::reason(UnresolvedReference const &reference) const
{
    return fmt::format("it refers to '{}', {}", reference.name, explanation(reference));
}

std::string KeyTracker::explanation(UnresolvedReference const &reference) const
{
    auto const lines = lines_.value(reference.name);
    // An included file passes its values to the including file. So an earlier line is out of reach only if neither of
    // the two searched files has its value.
    if (reference.earlier)
        return fmt::format("which is set at {}: a reference can only use keys from its own file and the file that "
                           "includes it",
                           location_text(*reference.earlier));
    if (lines.first_set)
        return fmt::format("which is set only later, at {}", location_text(*lines.first_set));
    if (lines.last_outside)
        return fmt::format("which is set at {}, but outside the prefix '{}'", location_text(*lines.last_outside),
                           prefix_);
    for (auto const &line : lines.unresolved) {
        if (line.number != reference.line.number || line.file != reference.line.file)
            return fmt::format("which is dropped at {}", location_text(line));
    }
    if (auto const prefixed = lines_.value(prefix_ + reference.name).first; !prefix_.isEmpty() && prefixed)
        return fmt::format("which is outside the prefix '{}'; did you mean '{}{}', set at {}?", prefix_, prefix_,
                           reference.name, location_text(*prefixed));
    return "which is set in no file, and unset or empty in the environment";
}

} // namespace tarnwick::program
