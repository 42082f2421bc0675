#pragma once

#include <tarnwick/data/description.h>
#include <tarnwick/data/php/source_location.h>
#include <tarnwick/data/php/zval.h>
#include <tarnwick/export.h>

#include <QtCore/QMetaType>
#include <QtCore/QString>

#include <cstdint>
#include <optional>

namespace pelorin::protobuf::Monitor {
class FunctionData;
}
namespace pelorin::protobuf::PelorinPHP {
class StackTraceFrame;
}
namespace tarnwick::rpc::php::v1 {
class Function;
class StackTraceFrame;
} // namespace tarnwick::rpc::php::v1

namespace tarnwick::data::php {

/// One call of a PHP function. Copies share the arguments and values. A moved-from object can only be assigned to or
/// destroyed.
///
/// | Accessor         | Meaning                              | rpc                          | protobuf                |
/// |------------------|--------------------------------------|------------------------------|-------------------------|
/// | `name()`         | name of the function as sent         | may be empty                 | may be empty            |
/// | `args()`         | arguments as a PHP array, never null | no elements when absent      | no elements when absent |
/// | `call_value()`   | one further value of the call        | by presence, even if empty   | never sent: absent      |
/// | `location()`     | source location of the call          | by presence, even if no file | absent when no file     |
/// | `frame_number()` | number of a stack frame              | 0 if the call is not a frame | the same                |
///
/// Messages: `<tarnwick/rpc/php/v1/function.pb.h>`, `<pelorin/protobuf/Monitor/function_data.pb.h>` and
/// `<pelorin/protobuf/PelorinPHP/stack_trace.pb.h>`.
class TARNWICK_EXPORT Function {
public:
    explicit Function(pelorin::protobuf::Monitor::FunctionData const &message);
    explicit Function(pelorin::protobuf::PelorinPHP::StackTraceFrame const &message);
    explicit Function(rpc::php::v1::Function const &message);
    explicit Function(rpc::php::v1::StackTraceFrame const &message);

    Function(Function const &other);
    Function(Function &&other) noexcept;
    Function &operator=(Function const &other);
    Function &operator=(Function &&other) noexcept;
    ~Function();

    [[nodiscard]] QString const &name() const noexcept { return name_; }
    [[nodiscard]] PelorinArray const &args() const noexcept { return args_; }
    [[nodiscard]] std::optional<ZVal> const &call_value() const noexcept { return call_value_; }
    [[nodiscard]] std::optional<SourceLocation> const &location() const noexcept { return location_; }
    [[nodiscard]] std::uint32_t frame_number() const noexcept { return frame_number_; }

private:
    QString name_;
    PelorinArray args_;
    std::optional<ZVal> call_value_;
    std::optional<SourceLocation> location_;
    std::uint32_t frame_number_ = 0;
};

} // namespace tarnwick::data::php

template <>
struct tarnwick::data::Description<tarnwick::data::php::Function> {
    using Record = php::Function;
    static constexpr std::string_view name = "php.Function";
    using Sources = std::tuple<From<rpc::php::v1::Function>, From<rpc::php::v1::StackTraceFrame>,
                               From<pelorin::protobuf::Monitor::FunctionData>,
                               From<pelorin::protobuf::PelorinPHP::StackTraceFrame>>;
    static constexpr std::tuple fields{
        Field{"name", &Record::name},
        Field{"args", &Record::args},
        Field{"call_value", &Record::call_value},
        Field{"location", &Record::location},
        Field{"frame_number", &Record::frame_number},
    };
};

Q_DECLARE_TYPEINFO(tarnwick::data::php::Function, Q_RELOCATABLE_TYPE);
Q_DECLARE_METATYPE(tarnwick::data::php::Function)
