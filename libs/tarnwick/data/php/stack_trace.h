#pragma once

#include <tarnwick/data/php/function.h>
#include <tarnwick/export.h>

#include <QtCore/QList>
#include <QtCore/QMetaType>

#include <google/protobuf/repeated_ptr_field.h>

namespace pelorin::protobuf::PelorinPHP {
class StackTrace;
class StackTraceFrame;
} // namespace pelorin::protobuf::PelorinPHP
namespace tarnwick::rpc::php::v1 {
class StackTrace;
}

namespace tarnwick::data::php {

/// A stack trace: a list of calls, in the order of the message.
///
/// Messages: `<tarnwick/rpc/php/v1/function.pb.h>` and `<pelorin/protobuf/PelorinPHP/stack_trace.pb.h>`.
class TARNWICK_EXPORT StackTrace {
public:
    StackTrace() noexcept = default;
    explicit StackTrace(rpc::php::v1::StackTrace const &message);
    explicit StackTrace(
        google::protobuf::RepeatedPtrField<pelorin::protobuf::PelorinPHP::StackTraceFrame> const &frames);
    explicit StackTrace(pelorin::protobuf::PelorinPHP::StackTrace const &message);

    [[nodiscard]] QList<Function> const &frames() const noexcept { return frames_; }

private:
    QList<Function> frames_;
};

} // namespace tarnwick::data::php

Q_DECLARE_TYPEINFO(tarnwick::data::php::StackTrace, Q_RELOCATABLE_TYPE);
Q_DECLARE_METATYPE(tarnwick::data::php::StackTrace)
