#pragma once

// What the sources of ConfigFile share. Not installed.

#include <tarnwick/pconfig_observer.h>
#include <tarnwick/pconfigfile.h>

#include <QtCore/QString>
#include <QtCore/QStringView>

#include <optional>

namespace PelorinPHPX {

/// What a reference stands for, and where that was found.
struct ConfigFile::Resolved {
    std::optional<QString> value;
    ConfigObserver::Source source;
};

/// False for most values, at less cost than to look closer: ConfigFile::is_var decides.
inline bool may_be_reference(QStringView value)
{
    return value.startsWith(u"${");
}

} // namespace PelorinPHPX
