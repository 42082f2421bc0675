#pragma once

#include "support/textproto.h"

#include <tarnwick/rpc/php/v1/notify_request.pb.h>

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

// Reports of the php family in the rpc dialect, one of each case, with every field set. All are of request 7, reported
// at 8 s and 9 ns.

namespace tarnwick::test {

inline rpc::php::v1::NotifyRequest request_start()
{
    return from_text<rpc::php::v1::NotifyRequest>(R"pb(
        request_id { id: 7 }
        timestamp { seconds: 8 nanos: 9 }
        rinit {
            info {
                text: "fpm"
                version { text: "8.4" major: 8 minor: 4 patch: 1 number: 80401 }
                number: 3
            }
            request {
                text_0: "GET"
                text_1: "/"
                bytes_0: "a=1"
                bytes_1: "::1"
                headers { elements { string_key: "Accept" value { string_value: "text/html" } } }
                post_data { text_0: "posted" text_1: "form" number: 6 }
            }
            superglobals {
                elements {
                    string_key: "_GET"
                    value { array_value { elements { string_key: "a" value { string_value: "1" } } } }
                }
            }
        })pb");
}

inline rpc::php::v1::NotifyRequest request_end()
{
    return from_text<rpc::php::v1::NotifyRequest>(R"pb(
        request_id { id: 7 }
        timestamp { seconds: 8 nanos: 9 }
        rshutdown {
            duration { seconds: 1 nanos: 2 }
            response {
                headers { elements { string_key: "Server" value { string_value: "php" } } }
                body { text_0: "<p>" text_1: "html" number: 3 }
                status: 200
            }
            memory { value_0: 1 value_1: 2 value_2: 3 }
            superglobals {
                elements {
                    string_key: "_SESSION"
                    value { array_value { elements { string_key: "user" value { long_value: 5 } } } }
                }
            }
        })pb");
}

inline rpc::php::v1::NotifyRequest php_error()
{
    return from_text<rpc::php::v1::NotifyRequest>(R"pb(
        request_id { id: 7 }
        timestamp { seconds: 8 nanos: 9 }
        error {
            error {
                message: "Undefined variable"
                type { name: "E_WARNING" number: 2 }
                location { file: "a.php" line: 17 line_extra: 3 }
                stack_trace { frames { function { name: "f" } } }
                category: CATEGORY_2
            }
        })pb");
}

inline rpc::php::v1::NotifyRequest no_payload()
{
    return from_text<rpc::php::v1::NotifyRequest>("request_id { id: 7 } timestamp { seconds: 8 nanos: 9 }");
}

inline rpc::php::v1::NotifyRequest unknown_payload()
{
    auto message = no_payload();
    // Field 15, a member of the payload that this library does not know, with nothing in it.
    EXPECT_TRUE(message.MergeFromString(std::string("\x7a\0", 2)));
    return message;
}

struct NamedReport {
    std::string_view name;
    rpc::php::v1::NotifyRequest message;
};

/// All reports above.
inline std::vector<NamedReport> php_reports()
{
    return {{"request_start", request_start()},
            {"request_end", request_end()},
            {"php_error", php_error()},
            {"no_payload", no_payload()},
            {"unknown_payload", unknown_payload()}};
}

/// A row of a table: a report, and what its record prints as.
struct PhpReportCase {
    char const *name;
    rpc::php::v1::NotifyRequest message;
    std::string printed;
};

/// The report that carries the records of the request, and their place in it.
struct InRequest {
    static constexpr std::string_view report = "request_start";
    static std::string empty_payload() { return "rinit { }"; }
    static std::string with(std::string const &fields) { return "rinit { request {" + fields + "} }"; }
};

/// The report that carries the records of the response, and their place in it.
struct InResponse {
    static constexpr std::string_view report = "request_end";
    static std::string empty_payload() { return "rshutdown { }"; }
    static std::string with(std::string const &fields) { return "rshutdown { response {" + fields + "} }"; }
};

} // namespace tarnwick::test
