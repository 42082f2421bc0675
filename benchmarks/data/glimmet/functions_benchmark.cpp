#include "support/record_benchmark.h"

#include <tarnwick/data/glimmet/functions.h>

#include <pelorin/protobuf/Glimmet/functions.pb.h>
#include <tarnwick/rpc/glimmet/v1/notify_request.pb.h>

#include <cstddef>
#include <cstdint>
#include <string>

// Statistics of 2,000 functions, every fourth of which is PHP's own and has no place.

namespace tarnwick::data::glimmet {
namespace {

using ProtobufFunctions = pelorin::protobuf::Glimmet::Functions;
using RpcReport = rpc::glimmet::v1::NotifyRequest;

constexpr int lines = 2'000;

std::string numbered(char const *stem, int number)
{
    return stem + std::to_string(number);
}

bool in_source(int line)
{
    return line % 4 != 0;
}

void fill(RpcReport &message, int number)
{
    message.mutable_request_id()->set_id(static_cast<std::uint64_t>(number));
    for (int i = 0; i < lines; ++i) {
        auto &function = *message.mutable_functions()->add_functions();
        function.set_name(numbered("App\\Controller\\Index::action", number + i));
        if (in_source(number + i)) {
            function.mutable_location()->set_file(numbered("/srv/app/src/Controller/Index", i));
            function.mutable_location()->set_line(static_cast<std::uint32_t>(number + i));
        }
        auto &stats = *function.mutable_stats();
        stats.set_count(static_cast<std::uint32_t>(i));
        stats.mutable_time_first()->set_nanos(number + i);
        stats.mutable_time_second()->set_nanos(i);
    }
}

void fill(ProtobufFunctions &message, int number)
{
    for (int i = 0; i < lines; ++i) {
        auto &function = *message.add_functions();
        function.set_name(numbered("App\\Controller\\Index::action", number + i));
        if (in_source(number + i)) {
            function.set_kind(pelorin::protobuf::Glimmet::Function::KIND_IN_SOURCE);
            function.set_file(numbered("/srv/app/src/Controller/Index", i));
            function.set_line(static_cast<std::uint32_t>(number + i));
        }
        function.set_count(static_cast<std::uint32_t>(i));
        function.mutable_time_first()->set_nanos(number + i);
        function.mutable_time_second()->set_nanos(i);
    }
}

/// A walk over all lines that touches each.
std::size_t read(Functions const &record)
{
    std::size_t sum = 0;
    for (auto const &function : record->functions()) {
        sum += static_cast<std::size_t>(function.name().size()) + function.count();
        sum += static_cast<std::size_t>(function.time_first().nanos + function.time_second().nanos);
        if (function.location())
            sum += function.location()->line();
    }
    return sum;
}

[[maybe_unused]] bool const registered = [] {
    auto const from_rpc = [](RpcReport const &message) { return Functions(new detail::Functions(message)); };
    auto const from_protobuf = [](ProtobufFunctions const &message) {
        return Functions(new detail::Functions(message, php::RequestId(7)));
    };
    bench::add_record<RpcReport>("Functions/rpc", fill, from_rpc);
    bench::add_read<RpcReport>("Functions/rpc", fill, from_rpc, read);
    bench::add_record<ProtobufFunctions>("Functions/protobuf", fill, from_protobuf);
    bench::add_read<ProtobufFunctions>("Functions/protobuf", fill, from_protobuf, read);
    return true;
}();

} // namespace
} // namespace tarnwick::data::glimmet
