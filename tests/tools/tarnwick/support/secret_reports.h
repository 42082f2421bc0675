#pragma once

// Reports with secrets, for tests of masks.

#include "captures.h"

#include <pelorin/protobuf/Glimmet/error.pb.h>
#include <pelorin/protobuf/Glimmet/headers.pb.h>
#include <pelorin/protobuf/Glimmet/sql.pb.h>
#include <pelorin/protobuf/Glimmet/storage.pb.h>
#include <pelorin/protobuf/Glimmet/superglobals.pb.h>
#include <tarnwick/rpc/glimmet/v1/notify_request.pb.h>
#include <tarnwick/rpc/monitor/v1/notify_request.pb.h>

#include <fmt/format.h>

#include <cstdint>
#include <string>

namespace tarnwick::test::secret_reports {

/// A report as textproto, without the request id.
struct Report {
    enum class Kind { php, monitor, profiler, headers, superglobals, connections, queries, storage, error };
    Kind kind = Kind::php;
    std::string textproto;
};

inline std::string frame_of(std::uint64_t id, Report const &report)
{
    using Kind = Report::Kind;
    Frame frame;
    frame.set_request_id(id);
    auto const envelope = fmt::format("request_id {{ id: {} }} {}", id, report.textproto);
    switch (report.kind) {
    case Kind::php:
        frame.set_rpc_php(wire<PhpReport>(envelope));
        break;
    case Kind::monitor:
        frame.set_rpc_monitor(wire<rpc::monitor::v1::NotifyRequest>(envelope));
        break;
    case Kind::profiler:
        frame.set_rpc_glimmet(wire<rpc::glimmet::v1::NotifyRequest>(envelope));
        break;
    case Kind::headers:
        frame.set_request_headers(wire<pelorin::protobuf::Glimmet::RequestHeaders>(report.textproto));
        break;
    case Kind::superglobals:
        frame.set_superglobals(wire<pelorin::protobuf::Glimmet::Superglobals>(report.textproto));
        break;
    case Kind::connections:
        frame.set_sql_connections(wire<pelorin::protobuf::Glimmet::SqlConnections>(report.textproto));
        break;
    case Kind::queries:
        frame.set_sql_queries(wire<pelorin::protobuf::Glimmet::SqlQueries>(report.textproto));
        break;
    case Kind::storage:
        frame.set_storage(wire<pelorin::protobuf::Glimmet::Storage>(report.textproto));
        break;
    case Kind::error:
        frame.set_error(wire<pelorin::protobuf::Glimmet::Error>(report.textproto));
        break;
    }
    return delimited(frame);
}

inline std::string text_entry(std::string const &key, std::string const &value)
{
    return fmt::format(R"(elements {{ string_key: "{}" value {{ string_value: "{}" }} }})", key, value);
}

inline std::string group(std::string const &name, std::string const &entries)
{
    return fmt::format(R"(elements {{ string_key: "{}" value {{ array_value {{ {} }} }} }})", name, entries);
}

inline Report start(std::string const &fields)
{
    return {Report::Kind::php, "rinit { " + fields + " }"};
}
inline Report superglobals(std::string const &groups)
{
    return start("superglobals { " + groups + " }");
}
inline Report headers(std::string const &entries)
{
    return start("request { headers { " + entries + " } }");
}
inline Report body(std::string const &text)
{
    return start(R"(request { post_data { text_0: ")" + text + R"(" } })");
}
inline Report message(std::string const &text)
{
    return {Report::Kind::php, R"(error { error { message: ")" + text + R"(" } })"};
}
inline Report call(std::string const &argument)
{
    return {Report::Kind::monitor,
            R"(function_error { function { name: "f" arguments { elements { long_key: 0 value { )" + argument +
                " } } } } }"};
}
inline Report query(std::string const &fields)
{
    return {Report::Kind::profiler, "sql_queries { queries { " + fields + " } }"};
}

} // namespace tarnwick::test::secret_reports
