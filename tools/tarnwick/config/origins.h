#pragma once

#include "config/key_tracker.h"
#include "config/place.h"

#include <QtCore/QMultiHash>
#include <QtCore/QSet>
#include <QtCore/QString>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarnwick::program {

/// Observer that records where each value comes from, and which lines are dropped.
class ConfigOrigins final : public KeyTracker {
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

    /// Returns the values of a key, newest first.
    [[nodiscard]] std::vector<Origin> values(QString const &key) const;
    /// Returns the dropped lines that set the key or were probably meant to, in the order of reading.
    [[nodiscard]] std::vector<Dropped> dropped(QString const &key) const;

    void opened(PelorinPHPX::ConfigFile const &file) override;
    void unresolved(PelorinPHPX::ConfigFile const &file, QStringView key, QString const &name) override;
    void outside_prefix(PelorinPHPX::ConfigFile const &file, QStringView key, QString const &prefix) override;
    void added(PelorinPHPX::ConfigFile const &file, QString const &key, QString const &value) override;
    void merged(PelorinPHPX::ConfigFile const &file, PelorinPHPX::ConfigFile const &included) override;

private:
    // The reader uses the same type and the same operations, so the values have the same order.
    using Table = QMultiHash<QString, std::shared_ptr<Origin const>>;
    struct Drop {
        QString key;
        Dropped dropped;
        // NOLINTNEXTLINE(readability-redundant-member-init): rows leave it out
        std::optional<UnresolvedReference> unresolved = {}; ///< explains why the line was dropped
    };

    std::vector<Table> tables_; ///< of the open files, the root first
    std::vector<Drop> drops_;
};

} // namespace tarnwick::program
