#pragma once

#include "config_place.h"

#include <tarnwick/pconfig_observer.h>
#include <tarnwick/pconfigfile.h>

#include <deque>
#include <optional>

namespace tarnwick::program {

/// Keeps the line that the reader is at. A class that overrides an event below calls the base.
class ConfigTrail : public PelorinPHPX::ConfigObserver {
public:
    ConfigTrail() = default;
    ConfigTrail(ConfigTrail const &) = delete; // places point into it
    ConfigTrail &operator=(ConfigTrail const &) = delete;

    /// The last line that the reader acted on; none before the first.
    [[nodiscard]] std::optional<ConfigPlace> const &place() const { return place_; }

    void opened(PelorinPHPX::ConfigFile const &file) override
    {
        if (auto const *parent = file.parent(); parent != nullptr)
            include_ = &includes_.emplace_back(place_of(*parent).line, include_);
    }
    void directive(PelorinPHPX::ConfigFile const &file, QStringView /*line*/) override { place_ = place_of(file); }
    void merged(PelorinPHPX::ConfigFile const &file, PelorinPHPX::ConfigFile const & /*included*/) override
    {
        include_ = include_->outer;
        place_ = place_of(file);
    }

protected:
    /// The line that the innermost file is at.
    [[nodiscard]] ConfigPlace place_of(PelorinPHPX::ConfigFile const &file) const
    {
        return {{file.file_path(), file.line_no()}, include_};
    }

private:
    std::deque<ConfigPlace::Include> includes_; ///< one for each file but the root
    ConfigPlace::Include const *include_ = nullptr;
    std::optional<ConfigPlace> place_;
};

} // namespace tarnwick::program
