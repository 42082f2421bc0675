#pragma once

#include "config/line_tracker.h"

#include <QtCore/QHash>
#include <QtCore/QString>

#include <optional>
#include <string>
#include <vector>

namespace tarnwick::program {

/// Keeps the lines that set keys, to explain why a reference found none of them.
class ConfigSettings : public LineTracker {
public:
    void opened(PelorinPHPX::ConfigFile const &file) override;
    void unresolved(PelorinPHPX::ConfigFile const &file, QStringView key, QString const &name) override;
    void outside_prefix(PelorinPHPX::ConfigFile const &file, QStringView key, QString const &prefix) override;
    void added(PelorinPHPX::ConfigFile const &file, QString const &key, QString const &value) override;

protected:
    /// A reference that found nothing.
    struct Miss {
        QString name;
        ConfigPlace::Line line;                   ///< of the reference
        std::optional<ConfigPlace::Line> earlier; ///< that set the name before, out of reach
    };

    /// Empty where there is none.
    [[nodiscard]] QString const &prefix() const { return prefix_; }
    [[nodiscard]] Miss miss(PelorinPHPX::ConfigFile const &file, QString const &name) const;
    /// Why the reference found nothing, once the files are read: "it refers to 'a', which is ...".
    [[nodiscard]] std::string reason(Miss const &miss) const;

private:
    /// The lines with a key: those that a reason can name, so that it costs the same however many there are.
    struct Lines {
        std::optional<ConfigPlace::Line> first;
        std::optional<ConfigPlace::Line> first_set;
        std::optional<ConfigPlace::Line> last_set;
        std::optional<ConfigPlace::Line> last_outside;
        std::vector<ConfigPlace::Line> unresolved; ///< the first two: one of them can be the reference itself
    };

    Lines &lines_of(PelorinPHPX::ConfigFile const &file, QString const &key);
    [[nodiscard]] std::string where(Miss const &miss) const;

    QString prefix_;
    QHash<QString, Lines> lines_; ///< by whole key
};

} // namespace tarnwick::program
