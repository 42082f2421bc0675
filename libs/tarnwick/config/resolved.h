#pragma once

// Declarations shared by the sources of ConfigFile. Not installed.

#include <tarnwick/pconfig_observer.h>
#include <tarnwick/pconfigfile.h>

#include <QtCore/QString>
#include <QtCore/QStringView>

#include <optional>

namespace PelorinPHPX {

/// Value of a reference, and where it was found.
struct ConfigFile::Resolved {
    std::optional<QString> value;
    ConfigObserver::Source source;
};

/// Quickly rules out most values as references. ConfigFile::is_var decides about the rest.
inline bool may_be_reference(QStringView value)
{
    return value.startsWith(u"${");
}

} // namespace PelorinPHPX
