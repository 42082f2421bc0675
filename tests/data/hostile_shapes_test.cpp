// How much memory a report can take by the shape of its message: for each byte that was sent, the message and its record
// hold no more than so many.

#include <tarnwick/data/glimmet/functions.h>
#include <tarnwick/data/glimmet/sql_queries.h>
#include <tarnwick/data/glimmet/storage.h>
#include <tarnwick/data/php/pelorin_array.h>
#include <tarnwick/data/php/post_data.h>
#include <tarnwick/data/php/rshutdown.h>
#include <tarnwick/data/php/stack_trace.h>

#include "support/allocations.h"
#include "support/table.h"

#include <pelorin/protobuf/PelorinPHP/zval.pb.h>
#include <tarnwick/rpc/glimmet/v1/notify_request.pb.h>
#include <tarnwick/rpc/php/v1/function.pb.h>
#include <tarnwick/rpc/php/v1/notify_request.pb.h>

#include <google/protobuf/arena.h>
#include <google/protobuf/io/coded_stream.h>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <iostream>
#include <memory>
#include <string>
#include <utility>

namespace tarnwick::data::hostile_shapes_test {
namespace {

using GlimmetReport = rpc::glimmet::v1::NotifyRequest;
using PhpReport = rpc::php::v1::NotifyRequest;
using ProtobufArray = pelorin::protobuf::PelorinPHP::PelorinArray;
using RpcArray = rpc::php::v1::PelorinArray;
using RpcStackTrace = rpc::php::v1::StackTrace;
using RpcValue = rpc::php::v1::ZVal;

/// The peak memory of parsing a message, and of building a record.
struct Peaks {
    std::size_t message = 0;
    std::size_t record = 0;
};

template <class Record, class Message>
Peaks peaks(std::string const &bytes)
{
    constexpr int deepest = 1000;
    google::protobuf::Arena arena;
    Message *message = nullptr;
    bool parsed = false;
    Peaks peaks;
    peaks.message = test::peak_bytes_of([&] {
        message = google::protobuf::Arena::Create<Message>(&arena);
        google::protobuf::io::CodedInputStream stream(reinterpret_cast<std::uint8_t const *>(bytes.data()),
                                                      static_cast<int>(bytes.size()));
        stream.SetRecursionLimit(deepest);
        parsed = message->ParseFromCodedStream(&stream) && stream.ConsumedEntireMessage();
    });
    EXPECT_TRUE(parsed);
    peaks.record = test::peak_bytes_of([&] { std::make_unique<Record>(std::as_const(*message)); });
    return peaks;
}

struct Shape {
    std::string name;
    std::string words;
    std::size_t factor; ///< that message and record together stay below, as a multiple of the bytes sent
    std::function<std::string()> bytes;
    Peaks (*peaks)(std::string const &bytes);
};

constexpr int many = 100'000;

template <class Message>
std::string many_of(void (*add)(Message &))
{
    Message message;
    for (int i = 0; i < many; ++i)
        add(message);
    return message.SerializeAsString();
}

/// Nested values, each the only content of the value around it.
template <class Inside>
RpcArray side_by_side(int levels, Inside inside)
{
    RpcValue value;
    for (int level = 0; level < levels; ++level) {
        RpcValue outer;
        *inside(outer) = std::move(value);
        value = std::move(outer);
    }
    RpcArray array;
    for (int i = 0; i < 200; ++i)
        *array.add_elements()->mutable_value() = value;
    return array;
}

Shape const shapes[] = {
    {"empty_elements", "PHP array of empty elements", 110,
     [] { return many_of<RpcArray>([](RpcArray &array) { array.add_elements(); }); },
     peaks<php::detail::PelorinArray, RpcArray>},
    {"empty_elements_of_protobuf", "the same, protobuf dialect", 110,
     [] { return many_of<ProtobufArray>([](ProtobufArray &array) { array.add_elements(); }); },
     peaks<php::detail::PelorinArray, ProtobufArray>},
    {"arrays_in_each_other", "arrays nested to the limit of parsing", 60,
     [] {
         return side_by_side(
                    330, [](RpcValue &outer) { return outer.mutable_array_value()->add_elements()->mutable_value(); })
             .SerializeAsString();
     },
     peaks<php::detail::PelorinArray, RpcArray>},
    {"objects_in_each_other", "objects nested to the limit of parsing", 45,
     [] {
         return side_by_side(490, [](RpcValue &outer) { return outer.mutable_object_value()->mutable_value(); })
             .SerializeAsString();
     },
     peaks<php::detail::PelorinArray, RpcArray>},
    {"empty_frames", "stack trace of empty frames", 160,
     [] { return many_of<RpcStackTrace>([](RpcStackTrace &trace) { trace.add_frames(); }); },
     peaks<php::StackTrace, RpcStackTrace>},
    {"empty_functions", "statistics of empty functions", 165,
     [] { return many_of<GlimmetReport>([](GlimmetReport &report) { report.mutable_functions()->add_functions(); }); },
     peaks<glimmet::detail::Functions, GlimmetReport>},
    {"empty_values", "storage entries with an empty value", 65,
     [] {
         return many_of<GlimmetReport>(
             [](GlimmetReport &report) { report.mutable_storage()->add_entries()->add_values(); });
     },
     peaks<glimmet::detail::Storage, GlimmetReport>},
    {"empty_queries", "empty SQL queries", 150,
     [] { return many_of<GlimmetReport>([](GlimmetReport &report) { report.mutable_sql_queries()->add_queries(); }); },
     peaks<glimmet::detail::SqlQueries, GlimmetReport>},
    {"transactions_in_each_other", "SQL transactions, each in the one before", 25,
     [] {
         return many_of<GlimmetReport>([](GlimmetReport &report) {
             auto &queries = *report.mutable_sql_queries();
             auto const number = static_cast<std::uint32_t>(queries.transactions_size());
             auto &transaction = *queries.add_transactions();
             transaction.set_id(number + 1);
             transaction.set_parent_id(number);
         });
     },
     peaks<glimmet::detail::SqlQueries, GlimmetReport>},
    {"bytes_that_are_no_text", "text of bytes that are not UTF-8", 4,
     [] {
         PhpReport report;
         report.mutable_rinit()->mutable_request()->mutable_post_data()->set_text_0(
             std::string(std::size_t(10) * many, '\xff'));
         return report.SerializeAsString();
     },
     peaks<php::detail::PostData, PhpReport>},
    {"unknown_fields", "fields that nobody knows", 35,
     [] {
         std::string bytes;
         for (int i = 0; i < many; ++i)
             bytes += "\x78\x01"; // field 15, a 1
         return bytes;
     },
     peaks<php::detail::RShutdown, PhpReport>},
};

class HostileShapes : public test::TableTest<Shape> {};

TEST_P(HostileShapes, take_memory_in_proportion_to_the_message)
{
    auto const &[name, words, factor, make_bytes, measure] = GetParam();
    auto const bytes = make_bytes();
    measure(bytes); // allocates what all messages share
    auto const [message, record] = measure(bytes);
    auto const per_byte = static_cast<double>(message + record) / static_cast<double>(bytes.size());
    std::cout << fmt::format("| {} | {} | {} | {} | {:.1f} |\n", words, bytes.size(), message, record, per_byte);
    EXPECT_LT(per_byte, static_cast<double>(factor));
}

INSTANTIATE_TEST_SUITE_P(Of, HostileShapes, test::rows(shapes), test::by_name);

} // namespace
} // namespace tarnwick::data::hostile_shapes_test
