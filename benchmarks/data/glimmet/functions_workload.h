#pragma once

#include "support/stack_traces.h"
#include "support/workload.h"

#include <tarnwick/data/glimmet/functions.h>

#include <pelorin/protobuf/Glimmet/functions.pb.h>
#include <tarnwick/rpc/glimmet/v1/notify_request.pb.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <tuple>
#include <utility>

// Statistics of 2,000 functions; every fourth is PHP's own and has no location.

namespace tarnwick::bench {

struct Functions {
    static constexpr char const *name = "functions";
    static constexpr std::size_t rounds = 1;
    static constexpr int usual_lines = 2'000;
    using Record = data::glimmet::Functions;
    using Payload = data::glimmet::detail::Functions;

    static bool in_source(int line) { return line % 4 != 0; }
    static std::string function_name(int line) { return numbered("App\\Controller\\Index::action", line); }
    static std::string file_name(int line) { return numbered("/srv/app/src/Controller/Index", line); }

    static std::size_t read(Record const &record)
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

    /// `stats_of` returns the part of a function's message that has its statistics.
    template <class Tree, class Lines, class StatsOf>
    static Tree::Document tree_of_lines(Lines const &lines, StatsOf stats_of)
    {
        typename Tree::Array functions;
        for (auto const &function : lines) {
            typename Tree::Object line;
            Tree::template put<"name">(line, Tree::text(function.name()));
            put_location<Tree>(line, function);
            auto const &stats = stats_of(function);
            Tree::template put<"count">(line, Tree::number(stats.count()));
            Tree::template put<"time_first">(line, Tree::number(stats.time_first().nanos()));
            Tree::template put<"time_second">(line, Tree::number(stats.time_second().nanos()));
            Tree::append(functions, std::move(line));
        }
        auto report = report_object<Tree>();
        Tree::template put<"functions">(report, std::move(functions));
        return Tree::document(std::move(report));
    }
};

struct FunctionsRpc : Functions, RpcReport<rpc::glimmet::v1::NotifyRequest> {
    static Messages messages(int number, int lines = usual_lines)
    {
        auto message = new_message(number);
        for (int i = 0; i < lines; ++i) {
            auto &function = *message.mutable_functions()->add_functions();
            function.set_name(function_name(number + i));
            if (in_source(number + i)) {
                function.mutable_location()->set_file(file_name(i));
                function.mutable_location()->set_line(static_cast<std::uint32_t>(number + i));
            }
            auto &stats = *function.mutable_stats();
            stats.set_count(static_cast<std::uint32_t>(i));
            stats.mutable_time_first()->set_nanos(number + i);
            stats.mutable_time_second()->set_nanos(i);
        }
        return {std::move(message)};
    }

    static Record build(Message const &message) { return Record(new Payload(message)); }

    static void floor(Floor &floor, Message const &message)
    {
        auto const &functions = message.functions().functions();
        floor.block(sizeof(Payload));
        floor.list<data::glimmet::FunctionStats>(functions.size());
        for (auto const &function : functions) {
            floor.text(function.name());
            if (function.has_location())
                floor.text(function.location().file());
        }
    }

    template <class Tree>
    static Tree::Document tree(Message const &message)
    {
        return tree_of_lines<Tree>(message.functions().functions(),
                                   [](auto const &line) -> auto const & { return line.stats(); });
    }
};

struct FunctionsProtobuf : Functions, ProtobufReport<pelorin::protobuf::Glimmet::Functions> {
    static Messages messages(int number, int lines = usual_lines)
    {
        Message message;
        for (int i = 0; i < lines; ++i) {
            auto &function = *message.add_functions();
            function.set_name(function_name(number + i));
            if (in_source(number + i)) {
                function.set_kind(pelorin::protobuf::Glimmet::Function::KIND_IN_SOURCE);
                function.set_file(file_name(i));
                function.set_line(static_cast<std::uint32_t>(number + i));
            }
            function.set_count(static_cast<std::uint32_t>(i));
            function.mutable_time_first()->set_nanos(number + i);
            function.mutable_time_second()->set_nanos(i);
        }
        return {std::move(message)};
    }

    static Record build(Message const &message) { return Record(new Payload(message, data::php::RequestId(7))); }

    static void floor(Floor &floor, Message const &message)
    {
        floor.block(sizeof(Payload));
        floor.list<data::glimmet::FunctionStats>(message.functions_size());
        for (auto const &function : message.functions()) {
            floor.text(function.name());
            if (function.kind() == pelorin::protobuf::Glimmet::Function::KIND_IN_SOURCE)
                floor.text(function.file());
        }
    }

    template <class Tree>
    static Tree::Document tree(Message const &message)
    {
        return tree_of_lines<Tree>(message.functions(), [](auto const &line) -> auto const & { return line; });
    }
};

} // namespace tarnwick::bench
