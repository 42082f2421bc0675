#pragma once

#include "tools/tarnwick/support/captures.h"
#include "tools/tarnwick/support/program.h"

#include <tarnwick/rpc/glimmet/v1/notify_request.pb.h>
#include <tarnwick/rpc/monitor/v1/notify_request.pb.h>

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

// Requests for `tarnwick diff`.
namespace tarnwick::test::compared_requests {

inline Outcome diff(std::vector<std::string> arguments, std::string_view input = {})
{
    arguments.insert(arguments.begin(), "diff");
    return run({.arguments = arguments}, input);
}

/// Returns the JSON lines of a kind.
inline std::vector<std::string> differences(std::string const &kind, std::string const &a, std::string const &b)
{
    auto const outcome = diff({a, b});
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, 0);
    auto lines = lines_of(outcome.out);
    std::erase_if(lines, [&](std::string const &line) { return !line.starts_with(R"({"kind":")" + kind + '"'); });
    return lines;
}

/// A request of the rpc dialect, as textproto.
struct Request {
    std::string uri = "/page";
    // NOLINTBEGIN(readability-redundant-member-init): designators leave them out
    std::string start = {};     ///< further fields of `rinit`
    std::string request = {};   ///< further fields of `rinit.request`
    int milliseconds = 10;      ///< below 1000
    std::string response = {};  ///< further fields of `rshutdown.response`
    std::string php_error = {}; ///< the error of an error report
    std::string event = {};     ///< the content of an event
    std::string functions = {}; ///< of a report of functions
    std::string queries = {};   ///< of a report of statements
    // NOLINTEND(readability-redundant-member-init)
    std::string id = "request_id { id: 7 } ";
};

inline std::string profiler_frame(std::string const &textproto)
{
    Frame frame;
    frame.set_rpc_glimmet(wire<rpc::glimmet::v1::NotifyRequest>(textproto));
    return delimited(frame);
}

inline std::string capture_of(Request const &request)
{
    auto capture =
        delimited(rpc_php_frame_of(request.id + "rinit { " + request.start + " request { text_0: 'GET' text_1: '" +
                                   request.uri + "' " + request.request + " } }"));
    if (!request.php_error.empty())
        capture += delimited(rpc_php_frame_of(request.id + "error { error { " + request.php_error + " } }"));
    if (!request.event.empty()) {
        Frame frame;
        frame.set_rpc_monitor(wire<rpc::monitor::v1::NotifyRequest>(request.id + request.event));
        capture += delimited(frame);
    }
    if (!request.functions.empty())
        capture += profiler_frame(request.id + "functions { " + request.functions + " }");
    if (!request.queries.empty())
        capture += profiler_frame(request.id + "sql_queries { " + request.queries + " }");
    return capture + delimited(rpc_php_frame_of(request.id + "rshutdown { response { status: 200 " + request.response +
                                                " } duration { nanos: " + std::to_string(request.milliseconds) +
                                                "000000 } memory { value_1: 2000000 } }"));
}

inline std::string function(std::string const &name, int count, int milliseconds)
{
    return "functions { name: '" + name + "' stats { count: " + std::to_string(count) +
           " time_first { nanos: " + std::to_string(milliseconds) + "000000 } } } ";
}

inline std::string query(std::string const &text, int milliseconds)
{
    return "queries { text: \"" + text + "\" time { nanos: " + std::to_string(milliseconds) + "000000 } } ";
}

inline std::string element(std::string const &key, std::string const &value = "string_value: 'x'")
{
    return "elements { string_key: '" + key + "' value { " + value + " } } ";
}

inline std::string array(std::string const &elements)
{
    return "array_value { " + elements + "} ";
}

inline Request const before{.functions = function("slow", 1, 2) + function("old", 1, 1),
                            .queries = query("SELECT 1", 1) + query("SELECT 2", 1)};
inline Request const after{
    .milliseconds = 15, .functions = function("slow", 2, 9) + function("young", 3, 4), .queries = query("SELECT 3", 1)};

} // namespace tarnwick::test::compared_requests
