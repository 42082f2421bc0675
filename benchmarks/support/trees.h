#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QCborArray>
#include <QtCore/QCborMap>
#include <QtCore/QCborValue>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QString>
#include <QtCore/QVariantList>
#include <QtCore/QVariantMap>

#include <nlohmann/json.hpp>

#include <cstdint>
#include <string>
#include <utility>

// What a program without records would hold a report in: trees of well-known libraries, built of the same messages by
// the same code. Each is filled in the way that its own documentation shows.

namespace tarnwick::bench {

struct VariantTree {
    static constexpr char const *name = "QVariantMap";
    using Value = QVariant;
    using Object = QVariantMap;
    using Array = QVariantList;
    using Document = QVariant;

    static Value text(std::string const &bytes) { return QString::fromStdString(bytes); }
    static Value number(std::int64_t number) { return QVariant::fromValue<qlonglong>(number); }
    static void put(Object &object, std::string const &key, Value const &value)
    {
        object.insert(QString::fromStdString(key), value);
    }
    static void append(Array &array, Value const &value) { array.append(value); }
    static Document document(Object object) { return object; }
};

struct CborTree {
    static constexpr char const *name = "QCborValue";
    using Value = QCborValue;
    using Object = QCborMap;
    using Array = QCborArray;
    using Document = QCborValue;

    static Value text(std::string const &bytes) { return QString::fromStdString(bytes); }
    static Value number(std::int64_t number) { return static_cast<qint64>(number); }
    static void put(Object &object, std::string const &key, Value const &value)
    {
        object.insert(QString::fromStdString(key), value);
    }
    static void append(Array &array, Value const &value) { array.append(value); }
    static Document document(Object object) { return object; }
};

struct JsonTree {
    static constexpr char const *name = "QJsonDocument";
    using Value = QJsonValue;
    using Object = QJsonObject;
    using Array = QJsonArray;
    using Document = QJsonDocument;

    static Value text(std::string const &bytes) { return QString::fromStdString(bytes); }
    static Value number(std::int64_t number) { return static_cast<qint64>(number); }
    static void put(Object &object, std::string const &key, Value const &value)
    {
        object.insert(QString::fromStdString(key), value);
    }
    static void append(Array &array, Value const &value) { array.append(value); }
    static Document document(Object const &object) { return QJsonDocument(object); }
};

struct NlohmannTree {
    static constexpr char const *name = "nlohmann::json";
    using Value = nlohmann::json;
    using Object = nlohmann::json::object_t;
    using Array = nlohmann::json::array_t;
    using Document = nlohmann::json;

    static Value text(std::string const &bytes) { return bytes; }
    static Value number(std::int64_t number) { return number; }
    static void put(Object &object, std::string const &key, Value value) { object.emplace(key, std::move(value)); }
    static void append(Array &array, Value value) { array.push_back(std::move(value)); }
    static Document document(Object object) { return object; }
};

} // namespace tarnwick::bench
