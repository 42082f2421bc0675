#include "config/origins.h"

#include "config/key_guess.h"

#include <tarnwick/qstring_format.h>

#include <fmt/format.h>

#include <utility>

namespace tarnwick::program {

using PelorinPHPX::ConfigFile;

std::vector<ConfigOrigins::Origin> ConfigOrigins::values(QString const &key) const
{
    std::vector<Origin> values;
    if (!tables_.empty()) {
        for (auto const &origin : tables_.front().values(key))
            values.push_back(*origin);
    }
    return values;
}

std::vector<ConfigOrigins::Dropped> ConfigOrigins::dropped(QString const &key) const
{
    QSet<QString> const wanted{key};
    std::vector<Dropped> dropped;
    for (auto const &[written, drop, unresolved] : drops_) {
        if (written != prefix() + key &&
            (prefix().isEmpty() || probable_key(written, prefix(), wanted) != prefix() + key))
            continue;
        dropped.push_back(drop);
        if (unresolved)
            dropped.back().reason = reason(*unresolved);
    }
    return dropped;
}

void ConfigOrigins::opened(ConfigFile const &file)
{
    KeyTracker::opened(file);
    tables_.emplace_back();
}

void ConfigOrigins::unresolved(ConfigFile const &file, QStringView key, QString const &name)
{
    KeyTracker::unresolved(file, key, name);
    drops_.push_back({key.toString(), {place_of(file), line(), {}}, unresolved_reference(file, name)});
}

void ConfigOrigins::outside_prefix(ConfigFile const &file, QStringView key, QString const &prefix)
{
    KeyTracker::outside_prefix(file, key, prefix);
    drops_.push_back({key.toString(), {place_of(file), line(), fmt::format("it is outside the prefix '{}'", prefix)}});
}

void ConfigOrigins::added(ConfigFile const &file, QString const &key, QString const &value)
{
    KeyTracker::added(file, key, value);
    tables_.back().insert(key, std::make_shared<Origin const>(Origin{value, place_of(file), reference()}));
}

void ConfigOrigins::merged(ConfigFile const &file, ConfigFile const &included)
{
    KeyTracker::merged(file, included);
    Table const values = std::move(tables_.back());
    tables_.pop_back();
    tables_.back().unite(values);
}

} // namespace tarnwick::program
