#pragma once

#include <tarnwick/data/php/zval.h>

#include <tarnwick/data/description.h>
#include <tarnwick/data/php/value_handles.h>
#include <tarnwick/export.h>

#include <QtCore/QSharedData>
#include <QtCore/QString>

namespace tarnwick::rpc::php::v1 {
class PelorinObject;
}

namespace tarnwick::data::php::detail {

/// A PHP object. Only the rpc dialect has them.
///
/// | Accessor       | Meaning                                      | Absent in the message                 |
/// |----------------|----------------------------------------------|---------------------------------------|
/// | `class_name()` | name of the class                            | empty                                 |
/// | `properties()` | the properties as a PHP array                | an array without elements, never null |
/// | `value()`      | one further value that the sender attached   | kind `undefined`, never null          |
class TARNWICK_EXPORT PelorinObject : public QSharedData {
public:
    explicit PelorinObject(rpc::php::v1::PelorinObject const &message);
    Q_DISABLE_COPY_MOVE(PelorinObject)

    [[nodiscard]] QString const &class_name() const noexcept { return class_name_; }
    [[nodiscard]] php::PelorinArray const &properties() const noexcept { return properties_; }
    [[nodiscard]] php::ZVal const &value() const noexcept { return value_; }

    /// The class name is always written, properties only if there are any, the value unless it is `undefined`.
    void to_protobuf(rpc::php::v1::PelorinObject &message) const;

private:
    QString class_name_;
    php::PelorinArray properties_;
    php::ZVal value_;
};

} // namespace tarnwick::data::php::detail

template <>
struct tarnwick::data::Description<tarnwick::data::php::detail::PelorinObject> {
    using Record = php::detail::PelorinObject;
    static constexpr std::string_view name = "php.PelorinObject";
    static constexpr std::tuple fields{
        Field{"class_name", &Record::class_name},
        Field{"properties", &Record::properties},
        Field{"value", &Record::value},
    };
};

Q_DECLARE_METATYPE(tarnwick::data::php::PelorinObject)
