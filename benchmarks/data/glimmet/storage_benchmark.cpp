#include "support/record_benchmark.h"

#include <tarnwick/data/glimmet/storage.h>

#include <pelorin/protobuf/Glimmet/storage.pb.h>
#include <tarnwick/rpc/glimmet/v1/notify_request.pb.h>

#include <cstddef>
#include <cstdint>
#include <string>

// A block of 1,000 values of 60 to 120 bytes in 20 entries.

namespace tarnwick::data::glimmet {
namespace {

using ProtobufStorage = pelorin::protobuf::Glimmet::Storage;
using RpcReport = rpc::glimmet::v1::NotifyRequest;

constexpr int entries = 20;
constexpr int values = 50;

template <class Block>
void fill_block(Block &block, int number)
{
    block.set_name("block " + std::to_string(number));
    for (int i = 0; i < entries; ++i) {
        auto &entry = *block.add_entries();
        entry.set_name("a collector of some name " + std::to_string(i));
        for (int value = 0; value < values; ++value)
            entry.add_values(std::string(static_cast<std::size_t>(60 + (number + value) % 60), '{'));
    }
}

void fill(RpcReport &message, int number)
{
    message.mutable_request_id()->set_id(static_cast<std::uint64_t>(number));
    fill_block(*message.mutable_storage(), number);
}

void fill(ProtobufStorage &message, int number)
{
    fill_block(message, number);
}

/// A walk over all values that touches each.
std::size_t read(Storage const &record)
{
    std::size_t sum = 0;
    for (auto const &entry : record->entries()) {
        sum += static_cast<std::size_t>(entry.name().size());
        for (auto const &value : entry.values())
            sum += static_cast<std::size_t>(value.front());
    }
    return sum;
}

[[maybe_unused]] bool const registered = [] {
    auto const from_rpc = [](RpcReport const &message) { return Storage(new detail::Storage(message)); };
    auto const from_protobuf = [](ProtobufStorage const &message) {
        return Storage(new detail::Storage(message, php::RequestId(7)));
    };
    bench::add_record<RpcReport>("Storage/rpc", fill, from_rpc);
    bench::add_read<RpcReport>("Storage/rpc", fill, from_rpc, read);
    bench::add_record<ProtobufStorage>("Storage/protobuf", fill, from_protobuf);
    bench::add_read<ProtobufStorage>("Storage/protobuf", fill, from_protobuf, read);
    return true;
}();

} // namespace
} // namespace tarnwick::data::glimmet
