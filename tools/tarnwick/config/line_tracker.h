#pragma once

#include "config/place.h"

#include <tarnwick/pconfig_observer.h>
#include <tarnwick/pconfigfile.h>

#include <QtCore/QString>
#include <QtCore/QStringView>

#include <deque>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tarnwick::program {

/// Escapes control characters.
std::string escaped(QString const &text);
/// Returns FILE:LINE, escaped.
std::string location_text(ConfigPlace::Line const &line);

/// Observer that records the current line of the reader. An overriding event function calls this one first.
class LineTracker : public PelorinPHPX::ConfigObserver {
public:
    struct Reference {
        QString name;
        Source source;
    };

    LineTracker() = default;
    LineTracker(LineTracker const &) = delete; // places point into it
    LineTracker &operator=(LineTracker const &) = delete;

    /// The last line that the reader processed; absent before the first.
    [[nodiscard]] std::optional<ConfigPlace> const &place() const { return place_; }
    /// The text of that line.
    [[nodiscard]] QString const &line() const { return directive_.line; }
    /// The reference on that line; absent if there is none.
    [[nodiscard]] std::optional<Reference> const &reference() const { return directive_.reference; }

    /// Whether a value is on the line itself, without quotes: it is not the value of a reference.
    [[nodiscard]] bool is_bare(QString const &value) const { return !reference() && line().endsWith(value); }

    /// Prints a message if the file is a pipe, because opening it waits for a writer.
    void opening(PelorinPHPX::ConfigFile const &file) override;
    void opened(PelorinPHPX::ConfigFile const &file) override
    {
        if (auto const *parent = file.parent(); parent != nullptr) {
            include_ = &includes_.emplace_back(place_of(*parent).line, include_);
            including_.push_back(directive_);
        }
    }
    void directive(PelorinPHPX::ConfigFile const &file, QStringView line) override
    {
        place_ = place_of(file);
        directive_ = {line.toString(), std::nullopt};
    }
    void resolved(PelorinPHPX::ConfigFile const & /*file*/, QString const &name, Source source) override
    {
        directive_.reference = Reference{name, source};
    }
    void merged(PelorinPHPX::ConfigFile const &file, PelorinPHPX::ConfigFile const & /*included*/) override
    {
        include_ = include_->outer;
        place_ = place_of(file);
        directive_ = std::move(including_.back());
        including_.pop_back();
    }

protected:
    /// Returns the current line of the innermost file.
    [[nodiscard]] ConfigPlace place_of(PelorinPHPX::ConfigFile const &file) const
    {
        return {{file.file_path(), file.line_no()}, include_};
    }

private:
    struct Directive {
        QString line;
        std::optional<Reference> reference;
    };

    std::deque<ConfigPlace::Include> includes_; ///< one for each file but the root
    ConfigPlace::Include const *include_ = nullptr;
    std::optional<ConfigPlace> place_;
    Directive directive_;
    std::vector<Directive> including_; ///< the includes that led to the current file
};

} // namespace tarnwick::program
