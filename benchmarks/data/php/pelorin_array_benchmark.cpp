#include "support/record_benchmark.h"

#include <tarnwick/data/php/zval.h>

#include <pelorin/protobuf/PelorinPHP/zval.pb.h>
#include <tarnwick/rpc/php/v1/zval.pb.h>

#include <QtCore/QCborArray>
#include <QtCore/QCborMap>
#include <QtCore/QCborValue>
#include <QtCore/QVariantMap>

#include <nlohmann/json.hpp>

#include <cstdint>
#include <string>

// Trees like the superglobals of a request: 8 groups of 15 entries, of which most are texts. The protobuf dialect has no
// arrays in arrays; there the same 120 entries lie in one.

namespace tarnwick::data::php {
namespace {

using ProtobufArray = pelorin::protobuf::PelorinPHP::PelorinArray;
using ProtobufZVal = pelorin::protobuf::PelorinPHP::ZVal;
using RpcArray = rpc::php::v1::PelorinArray;
using RpcZVal = rpc::php::v1::ZVal;

constexpr int groups = 8;
constexpr int entries_of_group = 15;

std::string name(char const *stem, int number)
{
    return stem + std::to_string(number);
}

std::string text(int number)
{
    return "a value of some length, as headers and variables have them, " + std::to_string(number);
}

// One entry in five is a number.
bool is_number(int entry)
{
    return entry % 5 == 0;
}

void fill(RpcArray &message, int number)
{
    for (int group = 0; group < groups; ++group) {
        auto &outer = *message.add_elements();
        outer.set_string_key(name("_GROUP", group));
        auto &inner = *outer.mutable_value()->mutable_array_value();
        for (int entry = 0; entry < entries_of_group; ++entry) {
            auto &element = *inner.add_elements();
            element.set_string_key(name("HTTP_X_ENTRY_", entry));
            if (is_number(entry))
                element.mutable_value()->set_long_value(number + entry);
            else
                element.mutable_value()->set_string_value(text(number + entry));
        }
    }
}

void fill(ProtobufArray &message, int number)
{
    for (int entry = 0; entry < groups * entries_of_group; ++entry) {
        auto &element = *message.add_elements();
        element.set_string_key(name("HTTP_X_ENTRY_", entry));
        if (is_number(entry)) {
            element.mutable_value()->set_type(ProtobufZVal::TYPE_LONG);
            element.mutable_value()->set_long_value(number + entry);
        } else {
            element.mutable_value()->set_type(ProtobufZVal::TYPE_STRING);
            element.mutable_value()->set_string_value(text(number + entry));
        }
    }
}

PelorinArray array_of(RpcArray const &message)
{
    return PelorinArray(new detail::PelorinArray(message));
}

PelorinArray array_of(ProtobufArray const &message)
{
    return PelorinArray(new detail::PelorinArray(message));
}

/// A walk over all keys and values that touches each.
std::size_t read(PelorinArray const &array)
{
    std::size_t sum = 0;
    for (auto const &[key, value] : array->elements()) {
        sum += std::get<std::string>(key->value()).size();
        if (auto const *inner = std::get_if<PelorinArray>(&value->value()))
            sum += read(*inner);
        else if (auto const *bytes = std::get_if<std::string>(&value->value()))
            sum += bytes->size();
        else
            sum += static_cast<std::size_t>(std::get<std::int64_t>(value->value()));
    }
    return sum;
}

QVariantMap variant_of(RpcArray const &message)
{
    QVariantMap map;
    for (auto const &element : message.elements()) {
        auto const key = QString::fromStdString(element.string_key());
        auto const &value = element.value();
        if (value.has_array_value())
            map.insert(key, variant_of(value.array_value()));
        else if (value.has_string_value())
            map.insert(key, QString::fromStdString(value.string_value()));
        else
            map.insert(key, QVariant::fromValue<qlonglong>(value.long_value()));
    }
    return map;
}

QCborValue cbor_of(RpcArray const &message)
{
    QCborMap map;
    for (auto const &element : message.elements()) {
        auto const key = QString::fromStdString(element.string_key());
        auto const &value = element.value();
        if (value.has_array_value())
            map.insert(key, cbor_of(value.array_value()));
        else if (value.has_string_value())
            map.insert(key, QCborValue(QByteArray::fromStdString(value.string_value())));
        else
            map.insert(key, QCborValue(static_cast<qint64>(value.long_value())));
    }
    return map;
}

nlohmann::json json_of(RpcArray const &message)
{
    auto object = nlohmann::json::object();
    for (auto const &element : message.elements()) {
        auto const &value = element.value();
        if (value.has_array_value())
            object[element.string_key()] = json_of(value.array_value());
        else if (value.has_string_value())
            object[element.string_key()] = value.string_value();
        else
            object[element.string_key()] = value.long_value();
    }
    return object;
}

[[maybe_unused]] bool const registered = [] {
    auto const from_rpc = [](RpcArray const &message) { return array_of(message); };
    auto const from_protobuf = [](ProtobufArray const &message) { return array_of(message); };
    auto const read_all = [](PelorinArray const &array) { return read(array); };
    bench::add_record<RpcArray>("PelorinArray/rpc", fill, from_rpc);
    bench::add_read<RpcArray>("PelorinArray/rpc", fill, from_rpc, read_all);
    bench::add_record<ProtobufArray>("PelorinArray/protobuf", fill, from_protobuf);
    bench::add_read<ProtobufArray>("PelorinArray/protobuf", fill, from_protobuf, read_all);
    bench::add_alternative<RpcArray>("PelorinArray/as_QVariantMap", fill, variant_of);
    bench::add_alternative<RpcArray>("PelorinArray/as_QCborValue", fill, cbor_of);
    bench::add_alternative<RpcArray>("PelorinArray/as_nlohmann_json", fill, json_of);
    return true;
}();

} // namespace
} // namespace tarnwick::data::php
