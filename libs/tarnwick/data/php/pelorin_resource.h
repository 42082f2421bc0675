#pragma once

#include <tarnwick/data/php/zval.h>

#include <tarnwick/data/description.h>
#include <tarnwick/data/php/value_handles.h>
#include <tarnwick/export.h>

#include <QtCore/QSharedData>
#include <QtCore/QString>

namespace tarnwick::rpc::php::v1 {
class PelorinResource;
}

namespace tarnwick::data::php::detail {

/// A PHP resource. Only the rpc dialect has them.
///
/// | Accessor      | Meaning                                    | Absent in the message        |
/// |---------------|--------------------------------------------|------------------------------|
/// | `type_name()` | name of the resource's type                | empty                        |
/// | `value()`     | one further value that the sender attached | kind `undefined`, never null |
class TARNWICK_EXPORT PelorinResource : public QSharedData {
public:
    explicit PelorinResource(rpc::php::v1::PelorinResource const &message);
    Q_DISABLE_COPY_MOVE(PelorinResource)

    [[nodiscard]] QString const &type_name() const noexcept { return type_name_; }
    [[nodiscard]] php::ZVal const &value() const noexcept { return value_; }

    /// The type name is always written, the value unless it is `undefined`.
    void to_protobuf(rpc::php::v1::PelorinResource &message) const;

private:
    QString type_name_;
    php::ZVal value_;
};

} // namespace tarnwick::data::php::detail

template <>
struct tarnwick::data::Description<tarnwick::data::php::detail::PelorinResource> {
    using Record = php::detail::PelorinResource;
    static constexpr std::string_view name = "php.PelorinResource";
    static constexpr std::tuple fields{
        Field{"type_name", &Record::type_name},
        Field{"value", &Record::value},
    };
};

Q_DECLARE_METATYPE(tarnwick::data::php::PelorinResource)
