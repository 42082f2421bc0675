#pragma once

#include "config/line_tracker.h"

#include <QtCore/QHash>
#include <QtCore/QString>

#include <optional>
#include <string>
#include <vector>

namespace tarnwick::program {

/// Observer that also records the lines of keys, to explain unresolved references.
class KeyTracker : public LineTracker {
public:
    void opened(PelorinPHPX::ConfigFile const &file) override;
    void unresolved(PelorinPHPX::ConfigFile const &file, QStringView key, QString const &name) override;
    void outside_prefix(PelorinPHPX::ConfigFile const &file, QStringView key, QString const &prefix) override;
    void added(PelorinPHPX::ConfigFile const &file, QString const &key, QString const &value) override;

protected:
    /// A reference without a value.
    struct UnresolvedReference {
        QString name;
        ConfigPlace::Line line;                   ///< of the reference
        std::optional<ConfigPlace::Line> earlier; ///< set the name before, in a file that the reference does not search
    };

    /// The prefix with its dot; empty if there is none.
    [[nodiscard]] QString const &prefix() const { return prefix_; }
    [[nodiscard]] UnresolvedReference unresolved_reference(PelorinPHPX::ConfigFile const &file,
                                                           QString const &name) const;
    /// Explains an unresolved reference: "it refers to 'a', which is ...". Call it when all files are read.
    [[nodiscard]] std::string reason(UnresolvedReference const &reference) const;

private:
    /// The lines with a key that an explanation can name. Constant size, however many lines there are.
    struct Lines {
        std::optional<ConfigPlace::Line> first;
        std::optional<ConfigPlace::Line> first_set;
        std::optional<ConfigPlace::Line> last_set;
        std::optional<ConfigPlace::Line> last_outside;
        std::vector<ConfigPlace::Line> unresolved; ///< at most the first two: one can be the reference itself
    };

    Lines &lines_of(PelorinPHPX::ConfigFile const &file, QString const &key);
    [[nodiscard]] std::string explanation(UnresolvedReference const &reference) const;

    QString prefix_;
    QHash<QString, Lines> lines_; ///< by key with prefix
};

} // namespace tarnwick::program
