#pragma once

// Conversion between QVariant and messages of PHP values, and the check of a database path.
//
// Callers of the conversion include <QtCore/QVariant>, and <QtCore/QVariantList> or <QtCore/QVariantMap> for lists and
// maps.

#include <tarnwick/export.h>

#include <QtCore/QString>
#include <QtCore/QtContainerFwd>

namespace pelorin::protobuf::PelorinPHP {
class ZVal;
}
namespace tarnwick::rpc::php::v1 {
class ZVal;
}

namespace PelorinPHPX {

/// Writes a value into a message, which may be on an arena. Messages: `<tarnwick/rpc/php/v1/zval.pb.h>` and
/// `<pelorin/protobuf/PelorinPHP/zval.pb.h>`.
///
/// | Meta type of the value                                       | Member written                                |
/// |--------------------------------------------------------------|-----------------------------------------------|
/// | `Bool`                                                       | `bool_value`                                  |
/// | `Int`, `UInt`, `LongLong`, `ULongLong` (as `toLongLong()`)   | `long_value`                                  |
/// | `Double`                                                     | `double_value`                                |
/// | `QString`                                                    | `string_value`                                |
/// | `QVariantMap`, `QVariantList`                                | `json_value`, compact, nested by Qt's rules   |
/// | `QDateTime`, to the millisecond, without its time zone       | `timestamp_value`, see below                  |
/// | any other or invalid: `float`, `QStringList`, `QDate`...     | none: unsupported                             |
///
/// The dialects differ. The rpc dialect clears the message first; an unsupported value becomes `null_value`. The
/// protobuf dialect does not clear it; an unsupported value sets `type` to 0 and leaves the previous member set. Its
/// texts end at their first NUL.
///
/// `timestamp_value` has the seconds of `QDateTime::toSecsSinceEpoch()`, which truncates toward zero, and the
/// milliseconds of the time of day. So a time before 1970 with milliseconds reads back one second later.
TARNWICK_EXPORT void to_protobuf_zval(pelorin::protobuf::PelorinPHP::ZVal &message, QVariant const &value);
TARNWICK_EXPORT void to_protobuf_zval(tarnwick::rpc::php::v1::ZVal &message, QVariant const &value);

/// The same for a list or a map, which becomes `json_value` element by element.
TARNWICK_EXPORT void to_protobuf_zval(pelorin::protobuf::PelorinPHP::ZVal &message, QList<QVariant> const &values);
TARNWICK_EXPORT void to_protobuf_zval(pelorin::protobuf::PelorinPHP::ZVal &message,
                                      QMap<QString, QVariant> const &values);
TARNWICK_EXPORT void to_protobuf_zval(tarnwick::rpc::php::v1::ZVal &message, QList<QVariant> const &values);
TARNWICK_EXPORT void to_protobuf_zval(tarnwick::rpc::php::v1::ZVal &message, QMap<QString, QVariant> const &values);

/// Returns the value of a message: `bool`, `long long`, `double`, `QString`, `QVariantMap` or `QVariantList` (parsed
/// JSON), or a `QDateTime` in UTC to the millisecond. Returns an invalid QVariant for everything else: null, no value,
/// JSON that is neither an object nor an array, and arrays, objects and resources of the rpc dialect.
[[nodiscard]] TARNWICK_EXPORT QVariant qvariant_from_protobuf_zval(pelorin::protobuf::PelorinPHP::ZVal const &message);
[[nodiscard]] TARNWICK_EXPORT QVariant qvariant_from_protobuf_zval(tarnwick::rpc::php::v1::ZVal const &message);

/// Returns whether a configured database path is empty or names the same place as the expected path. Existing paths are
/// compared with all links resolved. Other paths are compared as text, without `.`, `..` and repeated separators; a
/// relative path stays relative.
[[nodiscard]] TARNWICK_EXPORT bool check_obsolete_db_path(QString const &current, QString const &expected);

} // namespace PelorinPHPX
