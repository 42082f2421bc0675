#pragma once

#include "config/key_tracker.h"
#include "config/place.h"
#include "config/raw_lines.h"

#include <QtCore/QSet>
#include <QtCore/QString>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::program {

/// Returns why the reader finds a file empty that may have content, as the end of a sentence that starts with the file.
/// Nothing for a file that the reader reads whole, and for one that it cannot open.
std::optional<std::string_view> unreadable_reason(QString const &file);

/// Observer that records the files, and warnings about text that the reader drops silently or that is misleading.
class ConfigWarnings final : public KeyTracker {
public:
    struct Warning {
        ConfigPlace place;
        std::string text;
    };

    /// The file names as in messages, in the order of opening.
    [[nodiscard]] std::vector<QString> const &files() const { return files_; }
    /// Returns the warnings in the order of reading.
    [[nodiscard]] std::vector<Warning> warnings() const;

    void opened(PelorinPHPX::ConfigFile const &file) override;
    void directive(PelorinPHPX::ConfigFile const &file, QStringView line) override;
    void unresolved(PelorinPHPX::ConfigFile const &file, QStringView key, QString const &name) override;
    void outside_prefix(PelorinPHPX::ConfigFile const &file, QStringView key, QString const &prefix) override;
    void added(PelorinPHPX::ConfigFile const &file, QString const &key, QString const &value) override;
    void matched(PelorinPHPX::ConfigFile const &file, QString const &include, QString const &folder,
                 qsizetype files) override;
    void merged(PelorinPHPX::ConfigFile const &file, PelorinPHPX::ConfigFile const &included) override;

private:
    struct Note {
        ConfigPlace place;
        std::string text;
        QString outside = {}; ///< the dropped key, if it is outside the prefix
        // NOLINTNEXTLINE(readability-redundant-member-init): rows leave it out
        std::optional<UnresolvedReference> unresolved = {}; ///< completes the text once all files are read
    };

    void warn(PelorinPHPX::ConfigFile const &file, std::string text);
    void warn_all(PelorinPHPX::ConfigFile const &file, std::vector<std::string> &&texts);
    void warn_of_lost_comments(PelorinPHPX::ConfigFile const &file);
    [[nodiscard]] std::string full_text(Note const &note) const;
    [[nodiscard]] std::optional<Warning> unused_prefix() const;

    std::vector<QString> files_;
    std::vector<Note> notes_;
    std::vector<RawLines> raw_lines_; ///< of the open files, the root first
    QSet<QString> keys_;
    bool uses_prefix_ = false;
};

} // namespace tarnwick::program
