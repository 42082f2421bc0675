#pragma once

#include <QtCore/QStringView>

#include <string>
#include <vector>

namespace tarnwick::program {

/// Returns warnings about text in a value that looks like a comment or a reference. The value has no quotes: quotes
/// show that the text is intended.
std::vector<std::string> value_warnings(QStringView value);
/// Returns the same warnings about the name of an include, in which `;` separates patterns.
std::vector<std::string> pattern_warnings(QStringView name);

} // namespace tarnwick::program
