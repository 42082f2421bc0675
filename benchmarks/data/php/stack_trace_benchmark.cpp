#include "support/record_benchmark.h"
#include "support/stack_traces.h"

#include <tarnwick/data/php/stack_trace.h>

#include <pelorin/protobuf/PelorinPHP/stack_trace.pb.h>
#include <tarnwick/rpc/php/v1/function.pb.h>

#include <QtCore/QCborArray>
#include <QtCore/QCborMap>
#include <QtCore/QCborValue>
#include <QtCore/QVariantList>
#include <QtCore/QVariantMap>

#include <nlohmann/json.hpp>

#include <cstddef>
#include <cstdint>
#include <string>

namespace tarnwick::data::php {
namespace {

using bench::fill;
using ProtobufTrace = pelorin::protobuf::PelorinPHP::StackTrace;
using RpcTrace = rpc::php::v1::StackTrace;

/// A walk over all frames and arguments that touches each.
std::size_t read(StackTrace const &trace)
{
    std::size_t sum = 0;
    for (auto const &frame : trace.frames()) {
        sum += static_cast<std::size_t>(frame.name().size());
        if (frame.location())
            sum += frame.location()->line();
        for (auto const &[key, value] : frame.args()->elements())
            sum += value->value().index();
    }
    return sum;
}

QVariantList variant_of(RpcTrace const &message)
{
    QVariantList list;
    for (auto const &frame : message.frames()) {
        auto const &function = frame.function();
        QVariantList arguments;
        for (auto const &element : function.arguments().elements())
            arguments.append(element.value().has_long_value()
                                 ? QVariant::fromValue<qlonglong>(element.value().long_value())
                                 : QVariant(QString::fromStdString(element.value().string_value())));
        QVariantMap map;
        map.insert(QStringLiteral("name"), QString::fromStdString(function.name()));
        map.insert(QStringLiteral("file"), QString::fromStdString(function.location().file()));
        map.insert(QStringLiteral("line"), function.location().line());
        map.insert(QStringLiteral("frame"), frame.frame_number());
        map.insert(QStringLiteral("args"), arguments);
        list.append(map);
    }
    return list;
}

QCborValue cbor_of(RpcTrace const &message)
{
    QCborArray list;
    for (auto const &frame : message.frames()) {
        auto const &function = frame.function();
        QCborArray arguments;
        for (auto const &element : function.arguments().elements())
            arguments.append(element.value().has_long_value()
                                 ? QCborValue(static_cast<qint64>(element.value().long_value()))
                                 : QCborValue(QByteArray::fromStdString(element.value().string_value())));
        QCborMap map;
        map.insert(QStringLiteral("name"), QString::fromStdString(function.name()));
        map.insert(QStringLiteral("file"), QString::fromStdString(function.location().file()));
        map.insert(QStringLiteral("line"), static_cast<qint64>(function.location().line()));
        map.insert(QStringLiteral("frame"), static_cast<qint64>(frame.frame_number()));
        map.insert(QStringLiteral("args"), arguments);
        list.append(map);
    }
    return list;
}

nlohmann::json json_of(RpcTrace const &message)
{
    auto list = nlohmann::json::array();
    for (auto const &frame : message.frames()) {
        auto const &function = frame.function();
        auto arguments = nlohmann::json::array();
        for (auto const &element : function.arguments().elements()) {
            if (element.value().has_long_value())
                arguments.push_back(element.value().long_value());
            else
                arguments.push_back(element.value().string_value());
        }
        list.push_back({{"name", function.name()},
                        {"file", function.location().file()},
                        {"line", function.location().line()},
                        {"frame", frame.frame_number()},
                        {"args", std::move(arguments)}});
    }
    return list;
}

[[maybe_unused]] bool const registered = [] {
    auto const from_rpc = [](RpcTrace const &message) { return StackTrace(message); };
    auto const from_protobuf = [](ProtobufTrace const &message) { return StackTrace(message); };
    bench::add_record<RpcTrace>("StackTrace/rpc", fill, from_rpc);
    bench::add_read<RpcTrace>("StackTrace/rpc", fill, from_rpc, read);
    bench::add_record<ProtobufTrace>("StackTrace/protobuf", fill, from_protobuf);
    bench::add_read<ProtobufTrace>("StackTrace/protobuf", fill, from_protobuf, read);
    bench::add_alternative<RpcTrace>("StackTrace/as_QVariantList", fill, variant_of);
    bench::add_alternative<RpcTrace>("StackTrace/as_QCborValue", fill, cbor_of);
    bench::add_alternative<RpcTrace>("StackTrace/as_nlohmann_json", fill, json_of);
    return true;
}();

} // namespace
} // namespace tarnwick::data::php
