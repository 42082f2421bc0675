#pragma once

// Payloads of PHP values. The four classes contain handles of one another, so one header defines all of them.
// `pelorin_array.h`, `pelorin_object.h` and `pelorin_resource.h` only include it.

#include <tarnwick/data/description.h>
#include <tarnwick/data/php/zval_handles.h>
#include <tarnwick/data/time_pair.h>
#include <tarnwick/export.h>

#include <QtCore/QByteArray>
#include <QtCore/QSharedData>
#include <QtCore/QString>

#include <cstdint>
#include <string>
#include <utility>

namespace pelorin::protobuf::PelorinPHP {
class PelorinArray;
class ZVal;
} // namespace pelorin::protobuf::PelorinPHP
namespace tarnwick::rpc::php::v1 {
class PelorinArray;
class PelorinObject;
class PelorinResource;
class ZVal;
} // namespace tarnwick::rpc::php::v1

namespace tarnwick::data::php::detail {

/// A PHP value. In the rpc dialect the member that is set selects the kind. In the protobuf dialect `type` selects it;
/// if another member is set, the content is the default. Only the rpc dialect sends arrays, objects and resources.
///
/// | Kind        | Content                                    | rpc | protobuf |
/// |-------------|--------------------------------------------|-----|----------|
/// | `undefined` | none: the message has no value             | any other case | any other type |
/// | `null`      | none: PHP's null                           | 1   | 1        |
/// | `bool_`     | `bool`                                     | 2   | 2        |
/// | `long_`     | `std::int64_t`                             | 3   | 4        |
/// | `double_`   | `double`                                   | 4   | 5        |
/// | `string`    | `std::string`, PHP's bytes, not decoded    | 5   | 3        |
/// | `array`     | `PelorinArray`, never null                 | 6   | never    |
/// | `object`    | `PelorinObject`, never null                | 7   | never    |
/// | `resource`  | `PelorinResource`, never null              | 8   | never    |
/// | `json`      | `QByteArray`, JSON text, neither parsed nor checked | 9 | 6 |
/// | `timestamp` | `TimePair`                                 | 10  | 7        |
///
/// `<tarnwick/data/php/make_values.h>` has a factory for each kind.
///
/// The library does not limit nesting. All operations on values recurse, including the release of the last handle. A
/// program that nests values itself must limit their depth. With a stack of 8 MiB an optimised build releases about
/// 170,000 nested values; with one of 256 KiB, about 5,000. Construction from messages takes four times as much stack.
///
/// Messages: `<tarnwick/rpc/php/v1/zval.pb.h>` and `<pelorin/protobuf/PelorinPHP/zval.pb.h>`.
class TARNWICK_EXPORT ZVal : public QSharedData {
public:
    using undefined_t = php::ZVal::undefined_t;
    using null_t = php::ZVal::null_t;
    using Value = php::ZVal::Value;
    using Kind = php::ZVal::Kind;

    /// Constructs a value of kind `undefined`.
    ZVal() noexcept;
    explicit ZVal(rpc::php::v1::ZVal const &message);
    explicit ZVal(pelorin::protobuf::PelorinPHP::ZVal const &message);

    /// Constructs a value from its content.
    ///
    /// REQUIRES: a handle in `value` is not null.
    inline explicit ZVal(Value value) noexcept;
    /// Constructs the content in place: `ZVal(std::in_place_type<std::string>, "bytes")`.
    ///
    /// REQUIRES: a handle constructed from `arguments` is not null.
    template <class Content, class... Arguments>
    explicit ZVal(std::in_place_type_t<Content> type, Arguments &&...arguments)
        : value_(type, std::forward<Arguments>(arguments)...)
    {
    }
    /// Constructs an array without elements. Objects and resources cannot be constructed without arguments.
    inline explicit ZVal(std::in_place_type_t<php::PelorinArray> type);
    explicit ZVal(std::in_place_type_t<php::PelorinObject> type) = delete;
    explicit ZVal(std::in_place_type_t<php::PelorinResource> type) = delete;
    Q_DISABLE_COPY_MOVE(ZVal)

    [[nodiscard]] Value const &value() const noexcept { return value_; }
    [[nodiscard]] Kind kind() const noexcept { return static_cast<Kind>(value_.index()); }

    /// Writes the value into a message of the rpc dialect, which is not cleared first. Kinds `undefined` and `null`
    /// write nothing. An array appends its elements to an array that the message already has.
    void to_protobuf(rpc::php::v1::ZVal &message) const;

private:
    Value value_;
};

/// A PHP array: keys and values in PHP's order, which is the message's order. Keys are neither indexed nor checked: two
/// elements with the same key remain two elements.
///
/// | Part of an element | Meaning             | Kinds in messages                                                 |
/// |--------------------|---------------------|-------------------------------------------------------------------|
/// | `first`            | the key, never null | `long_` or `string` as sent, even of digits; `undefined` if none  |
/// | `second`           | the value, never null | any; `undefined` if none                                        |
///
/// Messages: `<tarnwick/rpc/php/v1/zval.pb.h>` and `<pelorin/protobuf/PelorinPHP/zval.pb.h>`.
class TARNWICK_EXPORT PelorinArray : public QSharedData {
public:
    using Elements = php::PelorinArray::Elements;

    PelorinArray() noexcept;
    explicit PelorinArray(rpc::php::v1::PelorinArray const &message);
    explicit PelorinArray(pelorin::protobuf::PelorinPHP::PelorinArray const &message);
    /// Constructs an array of these elements.
    ///
    /// REQUIRES: no handle in `elements` is null.
    explicit PelorinArray(Elements elements) noexcept
        : elements_(std::move(elements))
    {
    }
    Q_DISABLE_COPY_MOVE(PelorinArray)

    [[nodiscard]] Elements const &elements() const noexcept { return elements_; }

    /// Returns what `other` has and this array lacks, compared by key, in the order of `other`:
    ///
    /// An element whose key this array lacks is in the result as a whole. If both arrays have the key and both values
    /// are arrays, the result has the difference of those arrays, unless it is empty. Other values under a common key
    /// are not compared. If a key repeats in this array, its first element counts. Keys of different kinds differ: 5 is
    /// not "5".
    ///
    /// The result shares the payloads of `other` and is never null.
    ///
    /// Cost: linear in the size of both arrays with all that they nest. Arrays of more than 16 elements take memory for
    /// an index until the call returns. Keys from the network cannot make the index slow.
    [[nodiscard]] php::PelorinArray diff_keys(PelorinArray const &other) const;

    /// Appends the elements to a message of the rpc dialect. A key that is neither `long_` nor `string` is left unset.
    /// The value is present even if it writes nothing.
    void to_protobuf(rpc::php::v1::PelorinArray &message) const;

private:
    Elements elements_;
};

/// A PHP object. Only the rpc dialect sends objects.
///
/// | Accessor       | Meaning                                      | Absent in the message                 |
/// |----------------|----------------------------------------------|---------------------------------------|
/// | `class_name()` | name of the class                            | empty                                 |
/// | `properties()` | the properties as a PHP array                | an array without elements, never null |
/// | `value()`      | one further value that the sender attached   | kind `undefined`, never null          |
///
/// Messages: `<tarnwick/rpc/php/v1/zval.pb.h>`.
class TARNWICK_EXPORT PelorinObject : public QSharedData {
public:
    explicit PelorinObject(rpc::php::v1::PelorinObject const &message);
    /// Constructs an object of these parts.
    ///
    /// REQUIRES: neither handle is null.
    PelorinObject(QString class_name, php::PelorinArray properties, php::ZVal value) noexcept
        : class_name_(std::move(class_name))
        , properties_(std::move(properties))
        , value_(std::move(value))
    {
    }
    Q_DISABLE_COPY_MOVE(PelorinObject)

    [[nodiscard]] QString const &class_name() const noexcept { return class_name_; }
    [[nodiscard]] php::PelorinArray const &properties() const noexcept { return properties_; }
    [[nodiscard]] php::ZVal const &value() const noexcept { return value_; }

    /// Writes the object into a message of the rpc dialect: the class name always, the properties if there are any, the
    /// value unless it is `undefined`.
    void to_protobuf(rpc::php::v1::PelorinObject &message) const;

private:
    QString class_name_;
    php::PelorinArray properties_;
    php::ZVal value_;
};

/// A PHP resource. Only the rpc dialect sends resources.
///
/// | Accessor      | Meaning                                    | Absent in the message        |
/// |---------------|--------------------------------------------|------------------------------|
/// | `type_name()` | name of the resource's type                | empty                        |
/// | `value()`     | one further value that the sender attached | kind `undefined`, never null |
///
/// Messages: `<tarnwick/rpc/php/v1/zval.pb.h>`.
class TARNWICK_EXPORT PelorinResource : public QSharedData {
public:
    explicit PelorinResource(rpc::php::v1::PelorinResource const &message);
    /// Constructs a resource of these parts.
    ///
    /// REQUIRES: `value` is not null.
    PelorinResource(QString type_name, php::ZVal value) noexcept
        : type_name_(std::move(type_name))
        , value_(std::move(value))
    {
    }
    Q_DISABLE_COPY_MOVE(PelorinResource)

    [[nodiscard]] QString const &type_name() const noexcept { return type_name_; }
    [[nodiscard]] php::ZVal const &value() const noexcept { return value_; }

    /// Writes the resource into a message of the rpc dialect: the type name always, the value unless it is `undefined`.
    void to_protobuf(rpc::php::v1::PelorinResource &message) const;

private:
    QString type_name_;
    php::ZVal value_;
};

// Defined here because they need the complete payloads.

inline ZVal::ZVal(Value value) noexcept
    : value_(std::move(value))
{
}

inline ZVal::ZVal(std::in_place_type_t<php::PelorinArray> type)
    : value_(type, new PelorinArray)
{
}

} // namespace tarnwick::data::php::detail

template <>
struct tarnwick::data::Description<tarnwick::data::php::detail::PelorinObject> {
    using Record = php::detail::PelorinObject;
    static constexpr std::string_view name = "php.PelorinObject";
    using Sources = std::tuple<From<rpc::php::v1::PelorinObject>>;
    static constexpr std::tuple fields{
        Field{"class_name", &Record::class_name},
        Field{"properties", &Record::properties},
        Field{"value", &Record::value},
    };
};

template <>
struct tarnwick::data::Description<tarnwick::data::php::detail::PelorinResource> {
    using Record = php::detail::PelorinResource;
    static constexpr std::string_view name = "php.PelorinResource";
    using Sources = std::tuple<From<rpc::php::v1::PelorinResource>>;
    static constexpr std::tuple fields{
        Field{"type_name", &Record::type_name},
        Field{"value", &Record::value},
    };
};

Q_DECLARE_METATYPE(tarnwick::data::php::ZVal)
Q_DECLARE_METATYPE(tarnwick::data::php::PelorinArray)
Q_DECLARE_METATYPE(tarnwick::data::php::PelorinObject)
Q_DECLARE_METATYPE(tarnwick::data::php::PelorinResource)
