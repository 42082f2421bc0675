#pragma once

#include "support/php_values.h"
#include "support/workload.h"

#include <tarnwick/data/php/superglobals.h>

#include <pelorin/protobuf/Monitor/superglobals.pb.h>
#include <tarnwick/rpc/php/v1/notify_request.pb.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <tuple>
#include <utility>

// The superglobals of a request: 8 groups of 15 entries, of which one in five is a number and the rest are texts.

namespace tarnwick::bench {

struct Superglobals {
    static constexpr char const *name = "superglobals";
    static constexpr std::size_t rounds = 16;
    static constexpr int groups = 8;
    static constexpr int usual_entries = 120;
    using Record = data::php::Superglobals;
    using Payload = data::php::detail::Superglobals;

    static int entries_of_group(int group, int entries)
    {
        return entries * (group + 1) / groups - entries * group / groups;
    }
    static std::string group_name(int group) { return numbered("_GROUP", group); }
    static std::string key(int entry) { return numbered("HTTP_X_ENTRY_", entry); }
    static bool is_number(int entry) { return entry % 5 == 0; }
    static std::string text(int number)
    {
        return numbered("a value of some length, as headers and variables have them, ", number);
    }

    static std::size_t read(Record const &record) { return bench::read(*record->values()); }

    template <class Tree>
    static Tree::Document tree_of_report(Tree::Object values)
    {
        auto report = report_object<Tree>();
        Tree::template put<"values">(report, std::move(values));
        return Tree::document(std::move(report));
    }
};

struct SuperglobalsRpc : Superglobals, RpcReport<rpc::php::v1::NotifyRequest> {
    static Messages messages(int number, int entries = usual_entries)
    {
        auto message = new_message(number);
        auto &array = *message.mutable_rinit()->mutable_superglobals();
        for (int i = 0; i < groups; ++i) {
            auto &outer = *array.add_elements();
            outer.set_string_key(group_name(i));
            auto &inner = *outer.mutable_value()->mutable_array_value();
            for (int entry = 0; entry < entries_of_group(i, entries); ++entry) {
                auto &element = *inner.add_elements();
                element.set_string_key(key(entry));
                if (is_number(entry))
                    element.mutable_value()->set_long_value(number + entry);
                else
                    element.mutable_value()->set_string_value(text(number + entry));
            }
        }
        return {std::move(message)};
    }

    static Record build(Message const &message) { return Record(new Payload(message, Record::init_t())); }

    static void floor(Floor &floor, Message const &message)
    {
        floor.block(sizeof(Payload));
        floor_array(floor, message.rinit().superglobals());
    }

    template <class Tree>
    static Tree::Document tree(Message const &message)
    {
        return tree_of_report<Tree>(tree_of<Tree>(message.rinit().superglobals()));
    }
};

struct SuperglobalsProtobuf : Superglobals, ProtobufReport<pelorin::protobuf::Monitor::Superglobals> {
    using Value = pelorin::protobuf::PelorinPHP::ZVal;

    static Messages messages(int number, int entries = usual_entries)
    {
        Message message;
        for (int i = 0; i < groups; ++i) {
            auto &group = *message.add_groups();
            group.set_name(group_name(i));
            for (int entry = 0; entry < entries_of_group(i, entries); ++entry) {
                auto &element = *group.add_entries();
                element.set_key(key(entry));
                auto &value = *element.mutable_value();
                if (is_number(entry)) {
                    value.set_type(Value::TYPE_LONG);
                    value.set_long_value(number + entry);
                } else {
                    value.set_type(Value::TYPE_STRING);
                    value.set_string_value(text(number + entry));
                }
            }
        }
        return {std::move(message)};
    }

    static Record build(Message const &message) { return Record(new Payload(message, data::php::RequestId(7))); }

    static void floor(Floor &floor, Message const &message)
    {
        floor.block(sizeof(Payload));
        floor_groups(floor, message, value_of);
    }

    template <class Tree>
    static Tree::Document tree(Message const &message)
    {
        return tree_of_report<Tree>(tree_of_groups<Tree>(message, value_of));
    }

    static constexpr auto value_of = [](auto const &entry) { return &entry.value(); };
};

} // namespace tarnwick::bench
