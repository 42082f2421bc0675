#pragma once

// Two things that programs need beside records: the bridge between QVariant and messages that hold a PHP value, by which
// those that hold Qt values fill messages and read them back, and the check of a database path. Callers of the bridge
// include <QtCore/QVariant> themselves, and <QtCore/QVariantList> or <QtCore/QVariantMap> for lists and maps.

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

/// Fills a message with a value. The message may live on an arena. Messages: `<tarnwick/rpc/php/v1/zval.pb.h>` and
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
/// | any other, also invalid: `float`, `QStringList`, `QDate`...  | nothing: the value is lost                    |
///
/// The dialects differ. In the rpc dialect the message is cleared first, and a value that is lost leaves `null_value`.
/// In the protobuf dialect it is not cleared, a value that is lost leaves `type` 0 over the member that was set before,
/// and texts end at their first NUL.
///
/// A `timestamp_value` has the seconds of `QDateTime::toSecsSinceEpoch()`, which truncates toward zero, and the
/// milliseconds of the time of day. So a time before 1970 with milliseconds reads back one second later.
TARNWICK_EXPORT void to_protobuf_zval(pelorin::protobuf::PelorinPHP::ZVal &message, QVariant const &value);
TARNWICK_EXPORT void to_protobuf_zval(tarnwick::rpc::php::v1::ZVal &message, QVariant const &value);

/// The same for a list or map of values, which becomes `json_value` element by element.
TARNWICK_EXPORT void to_protobuf_zval(pelorin::protobuf::PelorinPHP::ZVal &message, QList<QVariant> const &values);
TARNWICK_EXPORT void to_protobuf_zval(pelorin::protobuf::PelorinPHP::ZVal &message,
                                      QMap<QString, QVariant> const &values);
TARNWICK_EXPORT void to_protobuf_zval(tarnwick::rpc::php::v1::ZVal &message, QList<QVariant> const &values);
TARNWICK_EXPORT void to_protobuf_zval(tarnwick::rpc::php::v1::ZVal &message, QMap<QString, QVariant> const &values);

/// The value of a message: `bool`, `long long`, `double`, `QString`, `QVariantMap` or `QVariantList` (parsed JSON), or
/// a `QDateTime` in UTC to the millisecond. Invalid for everything else: null, no value, JSON that is neither an object
/// nor an array, and the arrays, objects and resources of the rpc dialect.
[[nodiscard]] TARNWICK_EXPORT QVariant qvariant_from_protobuf_zval(pelorin::protobuf::PelorinPHP::ZVal const &message);
[[nodiscard]] TARNWICK_EXPORT QVariant qvariant_from_protobuf_zval(tarnwick::rpc::php::v1::ZVal const &message);

/// Whether a configured database path is empty or names the same place as the expected one. Paths that exist are compared
/// by what they lead to, links followed; others by their text, cleaned of `.`, `..` and doubled separators, and a
/// relative one stays relative.
[[nodiscard]] TARNWICK_EXPORT bool check_obsolete_db_path(QString const &current, QString const &expected);

} // namespace PelorinPHPX
