#pragma once

#include <tarnwick/data/description.h>
#include <tarnwick/export.h>

#include <QtCore/QMetaType>
#include <QtCore/QString>

namespace pelorin::protobuf::Glimmet {
class Error;
}
namespace tarnwick::rpc::php::v1 {
class Exception;
}

namespace tarnwick::data::php {

/// The fields specific to an uncaught PHP exception. The report that contains it has the message, the location and the
/// stack trace.
///
/// | Accessor           | Meaning                                              | rpc              | protobuf         |
/// |--------------------|------------------------------------------------------|------------------|------------------|
/// | `exception_name()` | first text, in the field of an error's name          | empty when unset | empty when unset |
/// | `exception_text()` | second text                                          | empty when unset | empty when unset |
///
/// Messages: `<tarnwick/rpc/php/v1/error.pb.h>` and `<pelorin/protobuf/Glimmet/error.pb.h>`.
class TARNWICK_EXPORT Exception {
public:
    Exception() noexcept = default;
    explicit Exception(rpc::php::v1::Exception const &message);
    explicit Exception(pelorin::protobuf::Glimmet::Error const &message);

    [[nodiscard]] QString const &exception_name() const noexcept { return exception_name_; }
    [[nodiscard]] QString const &exception_text() const noexcept { return exception_text_; }

private:
    QString exception_name_;
    QString exception_text_;
};

} // namespace tarnwick::data::php

template <>
struct tarnwick::data::Description<tarnwick::data::php::Exception> {
    using Record = php::Exception;
    static constexpr std::string_view name = "php.Exception";
    using Sources = std::tuple<From<rpc::php::v1::Exception>, From<pelorin::protobuf::Glimmet::Error>>;
    static constexpr std::tuple fields{
        Field{"exception_name", &Record::exception_name},
        Field{"exception_text", &Record::exception_text},
    };
};

Q_DECLARE_TYPEINFO(tarnwick::data::php::Exception, Q_RELOCATABLE_TYPE);
Q_DECLARE_METATYPE(tarnwick::data::php::Exception)
