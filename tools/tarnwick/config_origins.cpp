#include "config_origins.h"

#include "key_guess.h"

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
    for (auto const &[written, drop] : drops_) {
        if (written == prefix_ + key || (!prefix_.isEmpty() && probable_key(written, prefix_, wanted) == prefix_ + key))
            dropped.push_back(drop);
    }
    return dropped;
}

void ConfigOrigins::opened(ConfigFile const &file)
{
    ConfigTrail::opened(file);
    if (file.parent() == nullptr)
        prefix_ = file.prefix().value_or(QString());
    tables_.emplace_back();
}

void ConfigOrigins::directive(ConfigFile const &file, QStringView line)
{
    ConfigTrail::directive(file, line);
    line_ = line.toString();
    reference_.reset();
}

void ConfigOrigins::resolved(ConfigFile const & /*file*/, QString const &name, Source source)
{
    reference_ = Reference{name, source};
}

void ConfigOrigins::unresolved(ConfigFile const &file, QStringView key, QString const &name)
{
    drops_.push_back(
        {key.toString(), {place_of(file), line_, fmt::format("it refers to '{}', which is nowhere", name)}});
}

void ConfigOrigins::outside_prefix(ConfigFile const &file, QStringView key, QString const &prefix)
{
    drops_.push_back({key.toString(), {place_of(file), line_, fmt::format("it is outside the prefix '{}'", prefix)}});
}

void ConfigOrigins::added(ConfigFile const &file, QString const &key, QString const &value)
{
    tables_.back().insert(key, std::make_shared<Origin const>(Origin{value, place_of(file), reference_}));
}

void ConfigOrigins::merged(ConfigFile const &file, ConfigFile const &included)
{
    ConfigTrail::merged(file, included);
    Table const values = std::move(tables_.back());
    tables_.pop_back();
    tables_.back().unite(values);
}

} // namespace tarnwick::program
