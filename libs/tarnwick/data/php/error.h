#pragma once

#include <tarnwick/data/description.h>
#include <tarnwick/export.h>

#include <QtCore/QMetaType>
#include <QtCore/QString>

#include <cstdint>

namespace pelorin::protobuf::Glimmet {
class Error;
}
namespace tarnwick::rpc::php::v1 {
class Error;
}

namespace tarnwick::data::php {

/// The fields specific to a PHP error. The report that contains it has the message, the location and the stack trace.
///
/// | Accessor     | Meaning                   | rpc                    | protobuf                          |
/// |--------------|---------------------------|------------------------|-----------------------------------|
/// | `category()` | 1, 2 or 3                 | `none` for any other   | `none` for any other              |
/// | `number()`   | PHP's number of the error | 0 without a type       | as sent, not 0 in a report's error |
/// | `name()`     | PHP's name of the error   | empty without a type   | empty when unset                  |
///
/// Messages: `<tarnwick/rpc/php/v1/error.pb.h>` and `<pelorin/protobuf/Glimmet/error.pb.h>`.
class TARNWICK_EXPORT Error {
public:
    enum class Category : std::uint8_t {
        none = 0,
        category_1 = 1,
        category_2 = 2,
        category_3 = 3,
    };

    Error() noexcept = default;
    explicit Error(rpc::php::v1::Error const &message);
    explicit Error(pelorin::protobuf::Glimmet::Error const &message);

    [[nodiscard]] Category category() const noexcept { return category_; }
    [[nodiscard]] std::int32_t number() const noexcept { return number_; }
    [[nodiscard]] QString const &name() const noexcept { return name_; }

private:
    Category category_ = Category::none;
    std::int32_t number_ = 0;
    QString name_;
};

} // namespace tarnwick::data::php

template <>
struct tarnwick::data::Description<tarnwick::data::php::Error> {
    using Record = php::Error;
    static constexpr std::string_view name = "php.Error";
    using Sources = std::tuple<From<rpc::php::v1::Error>, From<pelorin::protobuf::Glimmet::Error>>;
    static constexpr std::tuple fields{
        Field{"category", &Record::category},
        Field{"number", &Record::number},
        Field{"name", &Record::name},
    };
};

Q_DECLARE_TYPEINFO(tarnwick::data::php::Error, Q_RELOCATABLE_TYPE);
Q_DECLARE_METATYPE(tarnwick::data::php::Error)
