#pragma once

#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <optional>

namespace tarnwick::program {

/// The key that was probably meant by one that does not begin with the prefix, whole: one of `known`, which have no
/// prefix, behind a prefix that is written a little differently or is left out; or, when none of those is there, what
/// the key is behind such a prefix.
std::optional<QString> probable_key(QString const &written, QString const &prefix, QSet<QString> const &known);

/// The key that was probably meant by one that is in no file: one of `known`, which have no prefix.
std::optional<QString> nearest_key(QString const &written, QString const &prefix, QStringList const &known);

} // namespace tarnwick::program
