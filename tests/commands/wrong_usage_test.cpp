// What the program prints if it does not understand its arguments.

#include "support/table.h"
#include "tools/tarnwick/support/program.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace tarnwick::test::wrong_usage_test {
namespace {

/// Arguments after the words of a command, and the message about them.
struct Arguments {
    std::vector<std::string> words;
    std::string message;
};

struct Command {
    char const *name;
    std::vector<std::string> words;
    std::string usage;
    std::vector<Arguments> cases;
};

class WrongUsage : public TableTest<Command> {};

TEST_P(WrongUsage, is_reported_with_the_usage)
{
    auto const &[name, words, usage, cases] = GetParam();
    for (auto const &[further, message] : cases) {
        auto arguments = words;
        arguments.insert(arguments.end(), further.begin(), further.end());
        SCOPED_TRACE(testing::PrintToString(arguments));
        auto const outcome = run({.arguments = arguments});
        EXPECT_EQ(outcome.status, 2);
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(outcome.err,
                  fmt::format("tarnwick: {}\nusage: {}\nUse --help for more information.\n", message, usage));
    }
}

std::string invalid_name(std::string const &name)
{
    return "--set: invalid name '" + name +
           "': a name is a letter or an underscore, followed by letters, digits, underscores and dots";
}

Command const commands[] = {
    {"program",
     {},
     "tarnwick COMMAND [OPTION...]",
     {
         {{}, "a command is required"},
         {{"look"}, "unknown command 'look'"},
         {{"--colour"}, "unknown option '--colour'"},
         {{"inspekt"}, "unknown command 'inspekt'; did you mean 'inspect'?"},
     }},
    {"inspect",
     {"inspect"},
     "tarnwick inspect [OPTION...] [FILE...]",
     {
         {{"--colour=never"}, "unknown option '--colour'; did you mean '--color'?"},
         {{"--format=yaml"}, "--format: 'yaml' is not one of auto, text, jsonl"},
         {{"--format", "1"}, "--format: '1' is not one of auto, text, jsonl"},
         {{"--format"}, "--format: a value is required"},
         {{"--color=red"}, "--color: 'red' is not one of auto, always, never"},
         {{"--ids=words"}, "--ids: 'words' is not one of number, string"},
         {{"--values=json"}, "--values: 'json' is not one of typed, plain"},
         {{"--format=", "f"}, "--format: '' is not one of auto, text, jsonl"},
         {{"--format="}, "--format: '' is not one of auto, text, jsonl"},
         {{"-", "-"}, "standard input (-) can be read only once"},
         {{"-", "f", "-"}, "standard input (-) can be read only once"},
         {{"--follow", "f", "g"}, "--follow reads one FILE"},
         {{"--record=RInti"}, "--record: no record is named 'RInti'; did you mean 'RInit'?"},
         {{"--where=respose_status=1"},
          "--where: no record has a field 'respose_status'; did you mean 'response_status'?"},
         // Only the chosen records count.
         {{"--record=RInit", "--where=response_status=1"}, "--where: no record has a field 'response_status'"},
         {{"--where=values=1"},
          "--where: values has no single value: only values (present) and !values (absent) are possible"},
     }},
    {"ls",
     {"ls"},
     "tarnwick ls [OPTION...] [FILE...]",
     {
         {{"--where=statsu>=500"}, "--where: no column is named 'statsu'; did you mean 'status'?"},
         {{"--where=duration>5"},
          "--where: duration is a length of time with a unit (ns, us, ms, s, min or h), not '5'"},
         {{"--sort=tsart"}, "--sort: no column is named 'tsart'; did you mean 'start'?"},
         {{"--sort=start:up"}, "--sort: 'up' is not one of asc, desc"},
         {{"--columns=uri,nothing"},
          "--columns: no column is named 'nothing'; the names are request_id, dialects, start, method, uri, status, "
          "duration, memory, errors, events, statements, complete, number"},
         {{"--columns=uri,status,uri"}, "--columns: 'uri' is listed twice"},
         {{"--request=x"}, "--request: 'x' is not a request id, a number from 0 to 18446744073709551615"},
         {{"--request=18446744073709551616"},
          "--request: '18446744073709551616' is not a request id, a number from 0 to 18446744073709551615"},
         {{"--dialect=soap"}, "--dialect: 'soap' is not one of rpc, protobuf"},
         {{"--follow", "--sort=start"}, "--sort needs all requests, and --follow prints each when it closes"},
         {{"--follow", "a.tnw", "b.tnw"}, "--follow reads one FILE"},
         {{"--top=-1"}, "--top: '-1' is not a count, a number from 0 to 18446744073709551615"},
     }},
    {"show",
     {"show"},
     "tarnwick show [OPTION...] REQUEST [FILE...]",
     {
         {{}, "REQUEST is required"},
         {{"x"}, "REQUEST: 'x' is not a request: give its id, its number as @1, slowest or last"},
         {{"-1"}, "REQUEST: '-1' is not a request: give its id, its number as @1, slowest or last"},
         {{"18446744073709551616"},
          "REQUEST: '18446744073709551616' is not a request: give its id, its number as @1, slowest or last"},
     }},
    {"statements",
     {"statements"},
     "tarnwick statements [OPTION...] [FILE...]",
     {
         {{"--where=cuont>5"}, "--where: no column is named 'cuont'; did you mean 'count'?"},
         {{"--where=total>5"}, "--where: total is a length of time with a unit (ns, us, ms, s, min or h), not '5'"},
         {{"--sort=uri"},
          "--sort: no column is named 'uri'; the names are statement, word, count, requests, per_request, n_plus_one, "
          "errors, total, average, slowest, slowest_request, call_site"},
         {{"--columns=statment"}, "--columns: no column is named 'statment'; did you mean 'statement'?"},
         {{"--follow"}, "unknown option '--follow'"},
     }},
    {"diff",
     {"diff"},
     "tarnwick diff [OPTION...] A B\n       tarnwick diff --dialects [OPTION...] [FILE...]",
     {
         {{}, "two captures, or two requests as FILE:REQUEST, are required"},
         {{"a"}, "two captures, or two requests as FILE:REQUEST, are required"},
         {{"a", "b", "c"}, "two captures, or two requests as FILE:REQUEST, are required"},
         {{"a:1", "b"}, "'a:1' is a request and 'b' a capture: give two requests as FILE:REQUEST, or two captures"},
         {{"a", "b:last"},
          "'b:last' is a request and 'a' a capture: give two requests as FILE:REQUEST, or two captures"},
         {{"-", "-"}, "standard input (-) can be read only once"},
         {{"a", "b", "--fail-if=status>1"}, "--fail-if: no limit is possible for 'status'"},
         {{"a", "--dialects", "--fail-if=duration>1s"}, "--fail-if: not with --dialects, which compares no durations"},
         {{"a", "--dialects", "--dialect=rpc"}, "--dialect: not with --dialects, which compares both"},
         {{"a", "b", "--where=urii"}, "--where: no column is named 'urii'; did you mean 'uri'?"},
         {{"a", "b", "--request=1"}, "--request: only with --dialects; name two requests as FILE:ID"},
         {{"a", "b", "--format=csv"}, "--format: 'csv' is not one of auto, text, jsonl"},
     }},
    {"diff_dialects",
     {"diff", "--dialects"},
     "tarnwick diff [OPTION...] A B\n       tarnwick diff --dialects [OPTION...] [FILE...]",
     {
         {{"--format=csv"}, "--format: 'csv' is not one of auto, text, jsonl"},
         {{"-", "-"}, "standard input (-) can be read only once"},
     }},
    {"recover",
     {"recover"},
     "tarnwick recover [OPTION...] [FILE...]",
     {
         {{"-", "-"}, "standard input (-) can be read only once"},
         {{"-o"}, "--output: a value is required"},
     }},
    {"schema",
     {"schema"},
     "tarnwick schema [OPTION...]",
     {
         {{"--ids=words"}, "--ids: 'words' is not one of number, string"},
         {{"f"}, "unexpected argument 'f'"},
     }},
    {"help",
     {"help"},
     "tarnwick help [COMMAND...]",
     {
         {{"look"}, "unknown command 'look'"},
         {{"config", "look"}, "unknown command 'look'"},
         {{"inspekt"}, "unknown command 'inspekt'; did you mean 'inspect'?"},
         {{"config", "chekc"}, "unknown command 'chekc'; did you mean 'check'?"},
     }},
    {"config",
     {"config"},
     "tarnwick config COMMAND [OPTION...] FILE [KEY]",
     {
         {{}, "a command is required"},
         {{"look"}, "unknown command 'look'"},
     }},
    {"config_get",
     {"config", "get"},
     "tarnwick config get [OPTION...] FILE KEY",
     {
         {{"f"}, "KEY is required"},
         {{"f", "k", "x", "y"}, "unexpected argument 'x'"},
         {{"-", "k"},
          "cannot read a configuration file from standard input: includes are relative to the path of the file"},
         {{"f", "k", "--set", "x"}, "--set: 'x' is not of the form NAME=VALUE"},
         {{"f", "k", "--set", "=x"}, "--set: '=x' is not of the form NAME=VALUE"},
         {{"f", "k", "--set", "A B=x"}, invalid_name("A B")},
         {{"f", "k", "--set=1A=x"}, invalid_name("1A")},
         {{"f", "k", "--set=" + std::string(100'000, 'A') + "-=x"}, invalid_name(std::string(100'000, 'A') + "-")},
         {{"f", "k", "--set=\xC3\xA4=x"}, invalid_name("\xC3\xA4")},
         {{"f", "k", "--set="}, "--set: '' is not of the form NAME=VALUE"},
         {{"--format=", "f", "k"}, "--format: '' is not one of text, json"},
         {{"--color=", "f", "k"}, "--color: '' is not one of auto, always, never"},
         {{"f", "k", "--format=jsonl"}, "--format: 'jsonl' is not one of text, json"},
     }},
};
INSTANTIATE_TEST_SUITE_P(Of, WrongUsage, rows(commands), by_name);

} // namespace
} // namespace tarnwick::test::wrong_usage_test
