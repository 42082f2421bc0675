#pragma once

#include "config/place.h"
#include "config/settings.h"

#include <QtCore/QMultiHash>
#include <QtCore/QSet>
#include <QtCore/QString>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarnwick::program {

/// Notes where each value comes from, and what is dropped.
class ConfigOrigins final : public ConfigSettings {
public:
    struct Origin {
        QString value;
        ConfigPlace place;
        std::optional<Reference> reference;
    };
    struct Dropped {
        ConfigPlace place;
        QString text; ///< the whole line
        std::string reason;
    };

    /// The values of a key as the reader's table has them, newest first.
    [[nodiscard]] std::vector<Origin> values(QString const &key) const;
    /// Lines that gave the key no value, though they were meant to or may have been. In the order of reading.
    [[nodiscard]] std::vector<Dropped> dropped(QString const &key) const;

    void opened(PelorinPHPX::ConfigFile const &file) override;
    void unresolved(PelorinPHPX::ConfigFile const &file, QStringView key, QString const &name) override;
    void outside_prefix(PelorinPHPX::ConfigFile const &file, QStringView key, QString const &prefix) override;
    void added(PelorinPHPX::ConfigFile const &file, QString const &key, QString const &value) override;
    void merged(PelorinPHPX::ConfigFile const &file, PelorinPHPX::ConfigFile const &included) override;

private:
    // The same type as the reader's own table, filled and united in the same steps: so the order is the same.
    using Table = QMultiHash<QString, std::shared_ptr<Origin const>>;
    struct Drop {
        QString key;
        Dropped dropped;
        // NOLINTNEXTLINE(readability-redundant-member-init): rows leave it out
        std::optional<Miss> miss = {}; ///< the reason
    };

    std::vector<Table> tables_; ///< of the files that are being read, the root first
    std::vector<Drop> drops_;
};

} // namespace tarnwick::program
