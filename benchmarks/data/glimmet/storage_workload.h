#pragma once

#include "support/workload.h"

#include <tarnwick/data/glimmet/storage.h>

#include <pelorin/protobuf/Glimmet/storage.pb.h>
#include <tarnwick/rpc/glimmet/v1/notify_request.pb.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <tuple>
#include <utility>

// A block of 1,000 values of 60 to 120 bytes, 50 in an entry.

namespace tarnwick::bench {

struct Storage {
    static constexpr char const *name = "storage";
    static constexpr int usual_values = 1'000;
    static constexpr int values_of_entry = 50;
    using Record = data::glimmet::Storage;
    using Payload = data::glimmet::detail::Storage;

    template <class Block>
    static void fill(Block &block, int number, int values)
    {
        block.set_name(numbered("block ", number));
        for (int i = 0; i < values; ++i) {
            if (i % values_of_entry == 0)
                block.add_entries()->set_name(numbered("a collector of some name ", i));
            auto const size = static_cast<std::size_t>(60 + (number + i) % 60);
            block.mutable_entries()->rbegin()->add_values(std::string(size, '{'));
        }
    }

    static std::size_t read(Record const &record)
    {
        std::size_t sum = 0;
        for (auto const &entry : record->entries()) {
            sum += static_cast<std::size_t>(entry.name().size());
            for (auto const &value : entry.values())
                sum += static_cast<std::size_t>(value.front());
        }
        return sum;
    }

    template <class Block>
    static void floor_block(Floor &floor, Block const &block)
    {
        floor.block(sizeof(Payload));
        floor.text(block.name());
        floor.list<data::glimmet::detail::StorageEntry>(block.entries_size());
        for (auto const &entry : block.entries()) {
            floor.text(entry.name());
            floor.list<QByteArray>(entry.values_size());
            for (auto const &value : entry.values())
                floor.byte_array(value);
        }
    }
};

struct StorageRpc : Storage, RpcReport<rpc::glimmet::v1::NotifyRequest> {
    static Messages messages(int number, int values = usual_values)
    {
        auto message = new_message(number);
        fill(*message.mutable_storage(), number, values);
        return {std::move(message)};
    }

    static Record build(Message const &message) { return Record(new Payload(message)); }
    static void floor(Floor &floor, Message const &message) { floor_block(floor, message.storage()); }
};

struct StorageProtobuf : Storage, ProtobufReport<pelorin::protobuf::Glimmet::Storage> {
    static Messages messages(int number, int values = usual_values)
    {
        Message message;
        fill(message, number, values);
        return {std::move(message)};
    }

    static Record build(Message const &message) { return Record(new Payload(message, data::php::RequestId(7))); }
    static void floor(Floor &floor, Message const &message) { floor_block(floor, message); }
};

} // namespace tarnwick::bench
