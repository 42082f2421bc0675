#pragma once

#include "config_place.h"
#include "config_trail.h"

#include <QtCore/QSet>
#include <QtCore/QString>

#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::program {

/// Why the reader sees nothing in a file, though there is something in it or may be; empty where it sees all.
std::string_view why_unseen(QString const &file);

/// Notes which files are read and what the reader passes over without a word.
class ConfigCheck final : public ConfigTrail {
public:
    struct Warning {
        ConfigPlace place;
        std::string text;
    };

    /// By their names in messages, in the order in which they are opened.
    [[nodiscard]] std::vector<QString> const &files() const { return files_; }
    /// In the order in which the lines are read.
    [[nodiscard]] std::vector<Warning> warnings() const;

    void opened(PelorinPHPX::ConfigFile const &file) override;
    void unresolved(PelorinPHPX::ConfigFile const &file, QStringView key, QString const &name) override;
    void outside_prefix(PelorinPHPX::ConfigFile const &file, QStringView key, QString const &prefix) override;
    void added(PelorinPHPX::ConfigFile const &file, QString const &key, QString const &value) override;
    void matched(PelorinPHPX::ConfigFile const &file, QString const &include, QString const &folder,
                 qsizetype files) override;

private:
    struct Note {
        ConfigPlace place;
        std::string text;
        QString key; ///< where one outside the prefix is what the text tells of
    };

    std::vector<QString> files_;
    std::vector<Note> notes_;
    QString prefix_;
    QSet<QString> keys_;
};

} // namespace tarnwick::program
