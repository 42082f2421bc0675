#pragma once

#include <QtCore/QStringView>

#include <string>
#include <vector>

namespace tarnwick::program {

/// What a person may take for more than text in a value that is just text: a comment, a reference. Empty where there is
/// nothing. The value has no quotes, which would show that its text is meant.
std::vector<std::string> misread_parts(QStringView value);
/// The same of the name of an include, in which `;` separates patterns.
std::vector<std::string> misread_parts_of_patterns(QStringView name);

} // namespace tarnwick::program
