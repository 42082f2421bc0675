#include "requests/dialect_exceptions.h"

namespace tarnwick::program {
namespace {

using Json = std::string_view;

/// Returns whether a pattern, in which the first `*` is any text, fits.
bool fits(Json pattern, Json text)
{
    auto const star = pattern.find('*');
    if (star == Json::npos)
        return text == pattern;
    return text.size() + 1 >= pattern.size() && text.starts_with(pattern.substr(0, star)) &&
           text.ends_with(pattern.substr(star + 1));
}

bool is_null(Json /*rpc*/, Json protobuf)
{
    return protobuf == "null";
}

bool is_null_in_rpc(Json rpc, Json /*protobuf*/)
{
    return rpc == "null";
}

bool is_false(Json /*rpc*/, Json protobuf)
{
    return protobuf == "false";
}

bool is_0(Json /*rpc*/, Json protobuf)
{
    return protobuf == "0";
}

bool is_zero_time(Json /*rpc*/, Json protobuf)
{
    return protobuf == R"({"seconds":0,"nanos":0})";
}

bool null_is_empty(Json rpc, Json protobuf)
{
    return rpc == "null" && protobuf == R"("")";
}

bool empty_is_null(Json rpc, Json protobuf)
{
    return (rpc == R"("")" || rpc == "[]") && protobuf == "null";
}

bool is_null_without_file(Json rpc, Json protobuf)
{
    return rpc.starts_with(R"({"file":"",)") && protobuf == "null";
}

bool is_nested_as_json(Json rpc, Json protobuf)
{
    return protobuf.starts_with(R"({"kind":"json",)") &&
           (rpc.starts_with(R"({"kind":"array",)") || rpc.starts_with(R"({"kind":"object",)") ||
            rpc.starts_with(R"({"kind":"resource",)"));
}

/// Returns whether an integer is a string with its digits.
bool is_text_of_long(Json rpc, Json protobuf)
{
    constexpr Json before_long = R"({"kind":"long","value":)";
    constexpr Json before_string = R"({"kind":"string","value":")";
    if (!rpc.starts_with(before_long) || !protobuf.starts_with(before_string) || !protobuf.ends_with("\"}"))
        return false;
    rpc.remove_prefix(before_long.size());
    protobuf.remove_prefix(before_string.size());
    return rpc.substr(0, rpc.size() - 1) == protobuf.substr(0, protobuf.size() - 2);
}

bool error_0_is_exception(Json rpc, Json protobuf)
{
    return rpc.starts_with(R"({"Error":)") && rpc.find(R"(,"number":0,)") != Json::npos &&
           protobuf.starts_with(R"({"Exception":)");
}

/// Returns whether a number is beyond the range of a signed integer of 32 bits.
bool is_null_beyond_int32(Json rpc, Json protobuf)
{
    constexpr Json largest = "2147483647";
    return protobuf == "null" && rpc.size() == largest.size() && rpc > largest;
}

constexpr auto no_text = "the protobuf dialect has no absent texts, only empty ones";
constexpr auto no_null_bytes = "the protobuf dialect has no empty bytes, only absent ones";
constexpr auto keys_are_strings = "names and keys of the protobuf dialect are strings";
constexpr auto no_second_line = "locations of the protobuf dialect have no second number";
constexpr auto no_function = "the rpc dialect has a function only for events of kinds 0 and 1";
constexpr auto no_calls = "the rpc dialect has calls only for events of kinds 0, 1 and 5";
constexpr auto no_flag = "the protobuf dialect has no flag for further chunks";

DialectException const exceptions[] = {
    {"*", "arrays, objects and resources in values are JSON in the protobuf dialect", is_nested_as_json},
    {"*.call_value", "the protobuf dialect has no further value of a call", is_null},
    {"*.location", "a location without a file is absent in the protobuf dialect", is_null_without_file},
    {"*.function.location.line_extra", no_second_line, is_0},
    {"*stack_trace[].location.line_extra", no_second_line, is_0},
    {"php.ErrorData.location.line_extra", no_second_line, is_0},
    {"php.ErrorData.details", "an error with the number 0 is an exception in the protobuf dialect",
     error_0_is_exception},
    {"php.RInit.version_text", "the protobuf dialect has no text of the version", is_null},
    {"php.RInit.version_number", "the protobuf dialect has no fourth number of the version", is_0},
    {"php.RInit.info_text", no_text, null_is_empty},
    {"php.RInit.request_text_*", no_text, null_is_empty},
    {"php.RInit.request_bytes_0", no_null_bytes, empty_is_null},
    {"php.RInit.request_bytes_1", "the protobuf dialect has one byte string of the request", is_null},
    {"php.RShutdown.timestamp", "the protobuf dialect has no time of a request's end", is_zero_time},
    {"php.PostData.text_*", no_text, null_is_empty},
    {"php.ResponseBody.text_*", no_text, null_is_empty},
    {"php.ResponseBody.number", "the protobuf dialect has no number beside a response's texts", is_0},
    {"php.Re*.headers[].key", keys_are_strings, is_text_of_long},
    {"php.Re*.headers[]", "values of headers are strings in the protobuf dialect", is_text_of_long},
    {"php.Superglobals *[].key", keys_are_strings, is_text_of_long},
    {.path = "php.Superglobals init.values[]",
     .why = "one protobuf message has both states, so the first state has later entries without value",
     .extra_entry = R"(,{"kind":"undefined"}])"},
    {.path = "php.Superglobals change.values",
     .why = "one protobuf message has both states, so the last state has superglobals without changes",
     .extra_entry = R"(,{"kind":"array","value":[]}])"},
    {"monitor.Event *.stack_trace", "a list without calls is absent in the protobuf dialect", empty_is_null},
    {"monitor.Event 2.function", no_function, is_null_in_rpc},
    {"monitor.Event 3.function", no_function, is_null_in_rpc},
    {"monitor.Event 4.function", no_function, is_null_in_rpc},
    {"monitor.Event 5.function", no_function, is_null_in_rpc},
    {"monitor.Event 8.function", no_function, is_null_in_rpc},
    {"monitor.Event 2.stack_trace", no_calls, is_null_in_rpc},
    {"monitor.Event 3.stack_trace", no_calls, is_null_in_rpc},
    {"monitor.Event 4.stack_trace", no_calls, is_null_in_rpc},
    {"monitor.Event 8.stack_trace", no_calls, is_null_in_rpc},
    {"monitor.Event 4.details.PhpError.error_name", no_text, null_is_empty},
    {"glimmet.SqlQueries.*.extra_number", "numbers of the protobuf dialect end at 2147483647", is_null_beyond_int32},
    {"codetrace.*.data", no_null_bytes, empty_is_null},
    {"codetrace.Data.more", no_flag, is_false},
    {"codetrace.AddData.more", no_flag, is_false},
};

constexpr auto no_part = "a part without content needs no message in the protobuf dialect";

DialectAbsence const absences[] = {
    {"php.PostData", no_part, R"("text_0":null,"number":0,"text_1":null)"},
    {"php.ResponseBody", no_part, R"("text_0":null,"number":0,"text_1":null)"},
    {"php.RequestHeaders", no_part, R"("headers":[])"},
    {"php.ResponseHeaders", no_part, R"("headers":[])"},
    {"php.Superglobals change", no_part, R"("values":[])"},
    {"php.Superglobals init", "the protobuf dialect reports this state at the end of a request", ""},
    {"php.Superglobals all", "the protobuf dialect reports this state at the end too", ""},
};

} // namespace

bool DialectException::is_for(std::string_view other) const
{
    return fits(path, other);
}

bool DialectAbsence::is_for(std::string_view other, std::string_view json) const
{
    return record == other && json.find(content) != std::string_view::npos;
}

std::span<DialectException const> dialect_exceptions()
{
    return exceptions;
}

std::span<DialectAbsence const> dialect_absences()
{
    return absences;
}

} // namespace tarnwick::program
