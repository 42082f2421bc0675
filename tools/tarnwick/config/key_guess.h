#pragma once

#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <optional>

namespace tarnwick::program {

/// Guesses which key was meant by a key that does not start with the prefix. Corrects a missing or misspelt prefix, and
/// prefers a correction whose rest is one of `known`. Returns the key with the prefix; `known` are keys without it.
std::optional<QString> probable_key(QString const &written, QString const &prefix, QSet<QString> const &known);

/// Guesses which of the keys `known` was meant by a key that does not exist. All keys are without the prefix.
std::optional<QString> nearest_key(QString const &written, QString const &prefix, QStringList const &known);

} // namespace tarnwick::program
