#pragma once

#include "support/floor.h"

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

// A workload describes a kind of report to the programs that measure it. It is a struct of static members:
//
//     name, dialect                     for the page of figures
//     rounds                            number of passes through all reports in a repetition of the benchmarks
//     Messages                          std::tuple of the messages of a report; most reports have one
//     messages(number)                  builds the report with that number; reports differ, as on a server
//     build(message...)                 builds the record or records, in their handles
//     read(built)                       reads every field of them
//     floor(floor, message...)          performs the allocations and conversions that the record cannot avoid
//     tree<Tree>(message...)            builds the same content in another form

namespace tarnwick::bench {

/// The bytes of a report, one string for each message.
using Wire = std::vector<std::string>;

template <class Messages>
Wire wire_of(Messages const &messages)
{
    return std::apply([](auto const &...message) { return Wire{message.SerializeAsString()...}; }, messages);
}

/// Parses a report into a tuple of messages, or of references to messages.
template <class Messages>
void parse(Wire const &wire, Messages &messages)
{
    auto bytes = wire.begin();
    auto const parsed =
        std::apply([&](auto &...message) { return (message.ParseFromString(*bytes++) && ...); }, messages);
    if (!parsed)
        throw std::runtime_error("a report does not parse");
}

template <class Workload, class Messages>
auto build(Messages const &messages)
{
    return std::apply([](auto const &...message) { return Workload::build(message...); }, messages);
}

template <class Workload, class Messages>
void build_floor(Floor &floor, Messages const &messages)
{
    std::apply([&](auto const &...message) { Workload::floor(floor, message...); }, messages);
}

template <class Workload, class Tree, class Messages>
auto build_tree(Messages const &messages)
{
    return std::apply([](auto const &...message) { return Workload::template tree<Tree>(message...); }, messages);
}

inline std::string numbered(char const *stem, int number)
{
    return stem + std::to_string(number);
}

/// A workload whose report is one message of the rpc dialect.
template <class OneMessage>
struct RpcReport {
    static constexpr char const *dialect = "rpc";
    using Message = OneMessage;
    using Messages = std::tuple<Message>;

    /// Returns a message that has only a request id.
    static Message new_message(int request_id)
    {
        Message message;
        message.mutable_request_id()->set_id(static_cast<std::uint64_t>(request_id));
        return message;
    }
};

/// A workload whose report is one message of the protobuf dialect.
template <class OneMessage>
struct ProtobufReport {
    static constexpr char const *dialect = "protobuf";
    using Message = OneMessage;
    using Messages = std::tuple<Message>;
};

/// Returns the object of a report that has only a request id.
template <class Tree>
Tree::Object report_object()
{
    typename Tree::Object report;
    Tree::template put<"request_id">(report, Tree::number(7));
    return report;
}

} // namespace tarnwick::bench
