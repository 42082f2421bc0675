#include <tarnwick/tarnwick_utils.h>

#include <tarnwick/data/reading.h>
#include <tarnwick/log.h>
#include <tarnwick/messages.h>
#include <tarnwick/qstring_format.h>

#include <pelorin/protobuf/PelorinPHP/zval.pb.h>
#include <tarnwick/rpc/php/v1/zval.pb.h>

#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QMetaType>
#include <QtCore/QString>
#include <QtCore/QTimeZone>
#include <QtCore/QVariant>

#include <string_view>

namespace PelorinPHPX {
namespace {

using ProtobufZVal = tarnwick::messages::protobuf_php::ZVal;
using RpcZVal = tarnwick::messages::rpc_php::ZVal;
using tarnwick::data::text;
using tarnwick::data::view;

constexpr tarnwick::Log utils_log{"libs/tarnwick/tarnwick_utils"};

constexpr int nanos_per_millisecond = 1'000'000;

QByteArray compact(QJsonObject const &object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

QByteArray compact(QJsonArray const &array)
{
    return QJsonDocument(array).toJson(QJsonDocument::Compact);
}

// Element by element: for a nested value without a JSON form, Qt's result can differ from QVariant's own conversion.
QByteArray json_of(QList<QVariant> const &values)
{
    QJsonArray array;
    for (auto const &value : values)
        array.append(value.toJsonValue());
    return compact(array);
}

QByteArray json_of(QMap<QString, QVariant> const &values)
{
    QJsonObject object;
    for (auto const &[key, value] : values.asKeyValueRange())
        object.insert(key, value.toJsonValue());
    return compact(object);
}

// Senders of the protobuf dialect treat texts as C strings.
std::string_view view_to_nul(QByteArray const &bytes)
{
    return bytes.constData();
}

void set_time(google::protobuf::Timestamp &time, QDateTime const &value)
{
    time.set_seconds(value.toSecsSinceEpoch());
    time.set_nanos(value.time().msec() * nanos_per_millisecond);
}

/// Writes one value into a message of the protobuf dialect, which is not cleared.
class ProtobufWriter {
public:
    explicit ProtobufWriter(ProtobufZVal &message)
        : message_(message)
    {
    }

    void boolean(bool value)
    {
        message_.set_type(ProtobufZVal::TYPE_BOOL);
        message_.set_bool_value(value);
    }
    void integer(qlonglong value)
    {
        message_.set_type(ProtobufZVal::TYPE_LONG);
        message_.set_long_value(value);
    }
    void real(double value)
    {
        message_.set_type(ProtobufZVal::TYPE_DOUBLE);
        message_.set_double_value(value);
    }
    void string(QByteArray const &utf8)
    {
        message_.set_type(ProtobufZVal::TYPE_STRING);
        message_.set_string_value(view_to_nul(utf8));
    }
    void json(QByteArray const &text)
    {
        message_.set_type(ProtobufZVal::TYPE_JSON);
        message_.set_json_value(view_to_nul(text));
    }
    void time(QDateTime const &value)
    {
        message_.set_type(ProtobufZVal::TYPE_TIMESTAMP);
        set_time(*message_.mutable_timestamp_value(), value);
    }
    // Not TYPE_NULL. The member that was set stays, but readers ignore it under this type.
    void unsupported() { message_.set_type(ProtobufZVal::TYPE_NONE); }

private:
    ProtobufZVal &message_;
};

/// Clears a message of the rpc dialect and writes one value into it.
class RpcWriter {
public:
    explicit RpcWriter(RpcZVal &message)
        : message_(message)
    {
        message_.Clear();
    }

    void boolean(bool value) { message_.set_bool_value(value); }
    void integer(qlonglong value) { message_.set_long_value(value); }
    void real(double value) { message_.set_double_value(value); }
    void string(QByteArray const &utf8) { message_.set_string_value(view(utf8)); }
    void json(QByteArray const &text) { message_.set_json_value(view(text)); }
    void time(QDateTime const &value) { set_time(*message_.mutable_timestamp_value(), value); }
    void unsupported() { message_.set_null_value(google::protobuf::NULL_VALUE); }

private:
    RpcZVal &message_;
};

/// Selects the kind of value by the meta type.
template <class Writer>
void write(Writer writer, QVariant const &value)
{
    switch (value.typeId()) {
    case QMetaType::Bool:
        writer.boolean(value.toBool());
        break;
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
        writer.integer(value.toLongLong());
        break;
    case QMetaType::Double:
        writer.real(value.toDouble());
        break;
    case QMetaType::QString:
        writer.string(value.toString().toUtf8());
        break;
    case QMetaType::QVariantMap:
        writer.json(compact(value.toJsonObject()));
        break;
    case QMetaType::QVariantList:
        writer.json(compact(value.toJsonArray()));
        break;
    case QMetaType::QDateTime:
        writer.time(value.toDateTime());
        break;
    default:
        writer.unsupported();
        break;
    }
}

QVariant variant_of_json(std::string const &json)
{
    auto const document = QJsonDocument::fromJson(QByteArray::fromStdString(json));
    if (document.isObject())
        return document.object().toVariantMap();
    if (document.isArray())
        return document.array().toVariantList();
    return {};
}

QVariant variant_of_time(google::protobuf::Timestamp const &time)
{
    auto const whole_seconds = QDateTime::fromSecsSinceEpoch(time.seconds(), QTimeZone::utc());
    return whole_seconds.addMSecs(time.nanos() / nanos_per_millisecond);
}

QString resolved_path(QString const &path)
{
    auto canonical = QFileInfo(path).canonicalFilePath();
    return canonical.isEmpty() ? QDir::cleanPath(path) : canonical;
}

} // namespace

void to_protobuf_zval(ProtobufZVal &message, QVariant const &value)
{
    write(ProtobufWriter(message), value);
}

void to_protobuf_zval(ProtobufZVal &message, QList<QVariant> const &values)
{
    ProtobufWriter(message).json(json_of(values));
}

void to_protobuf_zval(ProtobufZVal &message, QMap<QString, QVariant> const &values)
{
    ProtobufWriter(message).json(json_of(values));
}

void to_protobuf_zval(RpcZVal &message, QVariant const &value)
{
    write(RpcWriter(message), value);
}

void to_protobuf_zval(RpcZVal &message, QList<QVariant> const &values)
{
    RpcWriter(message).json(json_of(values));
}

void to_protobuf_zval(RpcZVal &message, QMap<QString, QVariant> const &values)
{
    RpcWriter(message).json(json_of(values));
}

// The type selects the member; one that is not set reads as its default.
QVariant qvariant_from_protobuf_zval(ProtobufZVal const &message)
{
    switch (message.type()) {
    case ProtobufZVal::TYPE_BOOL:
        return message.bool_value();
    case ProtobufZVal::TYPE_LONG:
        return QVariant::fromValue<qlonglong>(message.long_value());
    case ProtobufZVal::TYPE_DOUBLE:
        return message.double_value();
    case ProtobufZVal::TYPE_STRING:
        return text(message.string_value());
    case ProtobufZVal::TYPE_JSON:
        return variant_of_json(message.json_value());
    case ProtobufZVal::TYPE_TIMESTAMP:
        return variant_of_time(message.timestamp_value());
    default:
        return {};
    }
}

QVariant qvariant_from_protobuf_zval(RpcZVal const &message)
{
    switch (message.value_case()) {
    case RpcZVal::kBoolValue:
        return message.bool_value();
    case RpcZVal::kLongValue:
        return QVariant::fromValue<qlonglong>(message.long_value());
    case RpcZVal::kDoubleValue:
        return message.double_value();
    case RpcZVal::kStringValue:
        return text(message.string_value());
    case RpcZVal::kJsonValue:
        return variant_of_json(message.json_value());
    case RpcZVal::kTimestampValue:
        return variant_of_time(message.timestamp_value());
    default:
        return {};
    }
}

bool check_obsolete_db_path(QString const &current, QString const &expected)
{
    if (current.isEmpty())
        return true;
    auto const current_path = resolved_path(current);
    auto const expected_path = resolved_path(expected);
    utils_log(PLogger::Level::info, "Current path: '{}', expected path: '{}'", current_path, expected_path);
    return current_path == expected_path;
}

} // namespace PelorinPHPX
