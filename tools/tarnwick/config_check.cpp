#include "config_check.h"

#include "key_guess.h"

#include <tarnwick/qstring_format.h>

#include <fmt/format.h>

#include <QtCore/QFileInfo>

namespace tarnwick::program {

using PelorinPHPX::ConfigFile;

std::vector<ConfigCheck::Warning> ConfigCheck::warnings() const
{
    std::vector<Warning> warnings;
    warnings.reserve(notes_.size());
    for (auto const &[place, text, key] : notes_) {
        // Only now are all keys known that it can have been meant to be.
        auto const meant = key.isNull() ? std::nullopt : probable_key(key, prefix_, keys_);
        warnings.push_back({place, meant ? fmt::format("{}; did you mean '{}'?", text, *meant) : text});
    }
    return warnings;
}

void ConfigCheck::opened(ConfigFile const &file)
{
    files_.push_back(file.file_path());
    if (file.parent() != nullptr && !QFileInfo(file.file_path()).isFile())
        notes_.push_back({place_of(*file.parent()),
                          fmt::format("'{}' is no regular file: it is read as empty", file.file_path()),
                          {}});
}

void ConfigCheck::unresolved(ConfigFile const &file, QStringView key, QString const &name)
{
    notes_.push_back({place_of(file),
                      fmt::format("'{}' is dropped: it refers to '{}', which is nowhere", key.toString(), name),
                      {}});
}

void ConfigCheck::outside_prefix(ConfigFile const &file, QStringView key, QString const &prefix)
{
    prefix_ = prefix;
    auto const written = key.toString();
    notes_.push_back(
        {place_of(file), fmt::format("'{}' is dropped: it is outside the prefix '{}'", written, prefix), written});
}

void ConfigCheck::added(ConfigFile const & /*file*/, QString const &key, QString const & /*value*/)
{
    keys_.insert(key);
}

void ConfigCheck::matched_nothing(ConfigFile const &file, QString const &include)
{
    notes_.push_back({place_of(file), fmt::format("no file matches '{}'", include), {}});
}

} // namespace tarnwick::program
