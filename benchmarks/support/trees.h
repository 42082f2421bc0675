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

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

// Forms in which a program without records would store a report: trees of well-known libraries, built from the same
// messages by the same code. Each is used in the way that suits it best: known keys are not constructed anew, values
// are moved, and PHP's bytes stay bytes where a tree supports bytes.

namespace tarnwick::bench {

/// A key that is known at compile time.
template <std::size_t size>
struct Key {
    // NOLINTNEXTLINE(google-explicit-constructor): written as a text
    consteval Key(char const (&text)[size]) { std::copy_n(text, size, bytes.begin()); }
    [[nodiscard]] constexpr QLatin1StringView latin1() const { return QLatin1StringView(bytes.data(), size - 1); }

    std::array<char, size> bytes{};
};

struct VariantTree {
    static constexpr char const *name = "QVariantMap";
    using Value = QVariant;
    using Object = QVariantMap;
    using Array = QVariantList;
    using Document = QVariant;

    static Value text(std::string const &text) { return QVariant::fromValue(QString::fromStdString(text)); }
    static Value bytes(std::string const &bytes) { return QVariant::fromValue(QByteArray::fromStdString(bytes)); }
    static Value number(std::int64_t number) { return QVariant::fromValue<qlonglong>(number); }
    template <Key key>
    static void put(Object &object, Value const &value)
    {
        static QString const shared(key.latin1());
        object.insert(shared, value);
    }
    static void put(Object &object, std::string const &key, Value const &value)
    {
        object.insert(QString::fromStdString(key), value);
    }
    static void append(Array &array, Value value) { array.append(std::move(value)); }
    static Document document(Object object) { return QVariant::fromValue(std::move(object)); }
};

/// Common part of Qt's two trees with JSON's types.
template <class TreeValue, class TreeObject>
struct QtTree {
    using Value = TreeValue;
    using Object = TreeObject;

    static Value text(std::string const &text) { return QString::fromStdString(text); }
    static Value number(std::int64_t number) { return static_cast<qint64>(number); }
    template <Key key>
    static void put(Object &object, Value const &value)
    {
        object.insert(key.latin1(), value);
    }
    static void put(Object &object, std::string const &key, Value const &value)
    {
        object.insert(QString::fromStdString(key), value);
    }
};

struct CborTree : QtTree<QCborValue, QCborMap> {
    static constexpr char const *name = "QCborValue";
    using Array = QCborArray;
    using Document = QCborValue;

    static Value bytes(std::string const &bytes) { return QByteArray::fromStdString(bytes); }
    static void append(Array &array, Value value) { array.append(std::move(value)); }
    static Document document(Object object) { return QCborValue(std::move(object)); }
};

struct JsonTree : QtTree<QJsonValue, QJsonObject> {
    static constexpr char const *name = "QJsonDocument";
    using Array = QJsonArray;
    using Document = QJsonDocument;

    static Value bytes(std::string const &bytes) { return text(bytes); }
    static void append(Array &array, Value const &value) { array.append(value); }
    static Document document(Object const &object) { return QJsonDocument(object); }
};

struct NlohmannTree {
    static constexpr char const *name = "nlohmann::json";
    using Value = nlohmann::json;
    using Object = nlohmann::json::object_t;
    using Array = nlohmann::json::array_t;
    using Document = nlohmann::json;

    static Value text(std::string const &text) { return text; }
    static Value bytes(std::string const &bytes) { return bytes; }
    static Value number(std::int64_t number) { return number; }
    template <Key key>
    static void put(Object &object, Value value)
    {
        object.emplace(key.bytes.data(), std::move(value));
    }
    static void put(Object &object, std::string const &key, Value value) { object.emplace(key, std::move(value)); }
    static void append(Array &array, Value value) { array.push_back(std::move(value)); }
    static Document document(Object object) { return Document(std::move(object)); }
};

} // namespace tarnwick::bench
