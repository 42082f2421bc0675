#pragma once

#include "support/floor.h"

#include <cstddef>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

// What a program that measures knows of a kind of report. A workload is a struct of statics:
//
//     name, dialect                     for the page of figures
//     rounds                            how often all reports are gone through in a repetition of the benchmarks
//     Messages                          std::tuple of the messages that a report consists of; most consist of one
//     messages(number)                  the report of that number: reports differ, as those of a server do
//     build(message...)                 the record or records, in their handles
//     read(built)                       a walk that touches everything in them
//     floor(floor, message...)          what the record cannot do without
//     tree<Tree>(message...)            the same content in another form

namespace tarnwick::bench {

/// The bytes of a report, message by message.
using Wire = std::vector<std::string>;

template <class Messages>
Wire wire_of(Messages const &messages)
{
    return std::apply([](auto const &...message) { return Wire{message.SerializeAsString()...}; }, messages);
}

/// Reads a report into a tuple of messages, or of references to messages that lie elsewhere.
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

} // namespace tarnwick::bench
