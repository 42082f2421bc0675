#pragma once

#include "config_place.h"

#include <tarnwick/pconfig_observer.h>

#include <optional>

namespace tarnwick::program {

/// Notes how far the reader has come.
class ConfigTrail : public PelorinPHPX::ConfigObserver {
public:
    /// The line that is, or was last, acted on; none before the first.
    [[nodiscard]] std::optional<ConfigPlace> const &place() const { return place_; }

    void directive(PelorinPHPX::ConfigFile const &file, QStringView /*line*/) override { place_ = place_of(file); }
    void merged(PelorinPHPX::ConfigFile const &file, PelorinPHPX::ConfigFile const & /*included*/) override
    {
        place_ = place_of(file);
    }

private:
    std::optional<ConfigPlace> place_;
};

} // namespace tarnwick::program
