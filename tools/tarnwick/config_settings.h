#pragma once

#include "config_trail.h"

#include <QtCore/QHash>
#include <QtCore/QString>

#include <cstddef>
#include <string>
#include <vector>

namespace tarnwick::program {

/// Keeps the lines that set keys, to explain why a reference found none of them.
class ConfigSettings : public ConfigTrail {
public:
    void opened(PelorinPHPX::ConfigFile const &file) override;
    void unresolved(PelorinPHPX::ConfigFile const &file, QStringView key, QString const &name) override;
    void outside_prefix(PelorinPHPX::ConfigFile const &file, QStringView key, QString const &prefix) override;
    void added(PelorinPHPX::ConfigFile const &file, QString const &key, QString const &value) override;

protected:
    /// A reference that found nothing.
    struct Miss {
        QString name;
        std::size_t settings = 0; ///< how many lines were read before
    };

    /// Empty where there is none.
    [[nodiscard]] QString const &prefix() const { return prefix_; }
    [[nodiscard]] Miss miss(QString const &name) const { return {name, settings_}; }
    /// Why the reference found nothing, once the files are read: "it refers to 'a', which is ...".
    [[nodiscard]] std::string reason(Miss const &miss) const;

private:
    enum class Outcome { set, outside_prefix, unresolved };
    struct Setting {
        ConfigPlace::Line line;
        std::size_t number; ///< of all
        Outcome outcome;
    };

    void note(PelorinPHPX::ConfigFile const &file, QString const &key, Outcome outcome);
    [[nodiscard]] std::string where(Miss const &miss) const;

    QString prefix_;
    QHash<QString, std::vector<Setting>> lines_; ///< by whole key, in the order of reading
    std::size_t settings_ = 0;
};

} // namespace tarnwick::program
