// Which values masks reach, and what they keep.

#include "tools/tarnwick/support/files.h"
#include "tools/tarnwick/support/program.h"
#include "tools/tarnwick/support/secret_reports.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <QtCore/QByteArray>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QString>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

namespace tarnwick::test::masks_test {
namespace {

using namespace secret_reports;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

/// A record with a secret that only another record of its request reports.
struct RowWithSecret {
    char const *name;
    char const *command;
    Report report;
};
std::vector<RowWithSecret> const rows_with_secrets{
    {"uri", "ls", start(R"(request { text_1: "/reset/the-secret-1" })")},
    {"method", "ls", start(R"(request { text_0: "the-secret-1" })")},
    {"uri_that_is_cut", "ls", start(R"(request { text_1: "/)" + std::string(487, 'a') + R"(/the-secret-1" })")},
    {"call_site", "statements",
     query(R"(text: "a" stack_trace { frames { function { location { file: "/a/the-secret-1.php" } } } })")},
    {"table", "statements", query(R"(text: "SELECT a FROM `the-secret-1`")")},
};

Report const secret_report{Report::Kind::headers, R"(lines: "Cookie: a=the-secret-1")"};

/// Other requests with more secrets than are remembered.
std::string requests_with_secrets()
{
    std::string frames;
    for (std::uint64_t id = 100; id < 1300; ++id)
        frames +=
            frame_of(id, {Report::Kind::headers, fmt::format(R"(lines: "Cookie: a={}{}")", id, std::string(500, 'x'))});
    return frames;
}

TEST(Masks, reach_rows_from_earlier_and_later_records)
{
    auto const others = requests_with_secrets();
    for (auto const &[name, command, report] : rows_with_secrets) {
        auto const row = frame_of(1, report);
        auto const secret = frame_of(1, secret_report);
        auto const row_first = row + secret;
        auto const with_others = row_first + others;
        for (auto const &capture : {secret + row, row_first, with_others}) {
            for (std::string const format : {"--format=text", "--format=csv", "--format=jsonl"}) {
                auto const out = run({.arguments = {command, format, "--mask=default"}}, capture).out;
                EXPECT_THAT(out, AllOf(HasSubstr("[masked]"), Not(HasSubstr("the-sec")))) << name << format;
            }
        }
        EXPECT_THAT(run({.arguments = {command, "--format=text", "--mask=none"}}, row_first).out, HasSubstr("the-sec"))
            << name;
    }
}

TEST(Masks, keep_the_unmasked_values_of_conditions)
{
    auto const capture = frame_of(1, rows_with_secrets.front().report) + frame_of(1, secret_report);
    EXPECT_THAT(run({.arguments = {"ls", "--format=csv", "--where=uri~the-secret", "--columns=uri"}}, capture).out,
                testing::StrEq("uri\r\n/reset/[masked]\r\n"));
}

TEST(Masks, reach_differences_of_dialects_from_later_records)
{
    auto const capture = frame_of(1, message("a the-secret-1")) +
                         frame_of(1, {Report::Kind::error, R"(message: "b the-secret-1" number: 1)"}) +
                         frame_of(1, secret_report);
    for (auto const &all : {capture, capture + requests_with_secrets()}) {
        for (std::string const format : {"--format=text", "--format=jsonl"}) {
            auto const out = [&](std::string const &mask) {
                return run({.arguments = {"diff", "--dialects", format, mask}}, all).out;
            };
            EXPECT_THAT(out("--mask=default"), AllOf(HasSubstr("a [masked]"), Not(HasSubstr("the-secret")))) << format;
            EXPECT_THAT(out("--mask=none"), HasSubstr("a the-secret-1")) << format;
        }
    }
}

/// Returns whether two values have the same keys and lists, and differ only where one is masked.
bool is_masked_copy(QJsonValue const &masked, QJsonValue const &plain)
{
    if (masked.isObject() && plain.isObject()) {
        auto const copy = masked.toObject();
        auto const object = plain.toObject();
        auto const keys = object.keys();
        return copy.keys() == keys &&
               std::ranges::all_of(keys, [&](QString const &key) { return is_masked_copy(copy[key], object[key]); });
    }
    if (masked.isArray() && plain.isArray())
        return std::ranges::equal(masked.toArray(), plain.toArray(), is_masked_copy);
    return masked == plain || masked.toString().contains(QStringLiteral("[masked]"));
}

TEST(Masks, keep_the_structure_of_records_of_real_captures)
{
    for (std::string const name : {"adminer", "errors", "mediawiki", "stations"}) {
        auto const file = fmt::format("{}/{}.tnw", TARNWICK_CAPTURES, name);
        auto const plain_lines = inspect({"--format=jsonl", file}).out;
        auto const masked_lines = inspect({"--format=jsonl", "--mask=default", file}).out;
        EXPECT_EQ(std::ranges::count(masked_lines, '\n'), std::ranges::count(plain_lines, '\n'));
        std::istringstream plain(plain_lines);
        std::istringstream masked(masked_lines);
        std::size_t number_of_masked = 0;
        std::string line;
        std::string copy;
        while (std::getline(plain, line) && std::getline(masked, copy)) {
            number_of_masked += line == copy ? 0 : 1;
            auto const value = [](std::string const &json) {
                return QJsonValue(QJsonDocument::fromJson(QByteArray::fromStdString(json)).object());
            };
            ASSERT_TRUE(is_masked_copy(value(copy), value(line))) << line << '\n' << copy;
        }
        EXPECT_GT(number_of_masked, 0U) << name;
    }
}

TEST(Masks, find_bytes_that_are_not_utf8_in_texts)
{
    auto const capture = frame_of(1, superglobals(group("_POST", text_entry("password", R"(the-\377-password)")))) +
                         frame_of(1, message(R"(a the-\377-password)"));
    EXPECT_THAT(inspect({"--format=text"}, capture).out, HasSubstr(R"("a [masked]")"));
}

TEST(Masks, keep_keys_and_structure)
{
    auto const capture =
        frame_of(1, superglobals(group("_COOKIE", text_entry("theme", "dark")) +
                                 group("_POST", text_entry("user", "ann") + text_entry("password", "x") +
                                                    "elements { string_key: 'token' value { long_value: 5 } }" +
                                                    text_entry("secret", ""))));
    EXPECT_THAT(
        inspect({"--format=jsonl", "--mask=default"}, capture).out,
        HasSubstr(
            R"("values":[[{"kind":"string","value":"_COOKIE"},{"kind":"array","value":[[{"kind":"string","value":"theme"},)"
            R"({"kind":"string","value":"[masked]"}]]}],[{"kind":"string","value":"_POST"},{"kind":"array","value":[)"
            R"([{"kind":"string","value":"user"},{"kind":"string","value":"ann"}],)"
            R"([{"kind":"string","value":"password"},{"kind":"string","value":"[masked]"}],)"
            R"([{"kind":"string","value":"token"},{"kind":"long","value":"[masked]"}],)"
            R"([{"kind":"string","value":"secret"},{"kind":"string","value":""}]]}]])"));
    EXPECT_THAT(inspect({"--format=text"}, capture).out, HasSubstr(R"("password" => "[masked]")"));
}

TEST(Masks, do_not_reach_other_requests)
{
    auto const secret = frame_of(1, superglobals(group("_POST", text_entry("password", "the-password"))));
    EXPECT_THAT(inspect({"--format=text"}, secret + frame_of(1, message("the-password"))).out,
                HasSubstr(R"("[masked]")"));
    EXPECT_THAT(inspect({"--format=text"}, secret + frame_of(2, message("the-password"))).out,
                HasSubstr(R"("the-password")"));
}

TEST(Masks, reach_earlier_reports_in_differences)
{
    TemporaryFile const before(frame_of(1, message("other")));
    auto const reports = frame_of(1, message("the-secret-1")) +
                         frame_of(1, {Report::Kind::php, "rshutdown { response { headers { " +
                                                             text_entry("Set-Cookie", "a=the-secret-1") + " } } }"});
    for (auto const &capture : {reports, reports + requests_with_secrets()}) {
        TemporaryFile const after(capture);
        auto const outcome = run({.arguments = {"diff", "--format=text", before.name(), after.name()}});
        EXPECT_THAT(outcome.out, AllOf(HasSubstr("[masked]"), Not(HasSubstr("the-secret"))));
    }
}

TEST(Masks, reach_the_method_of_a_request)
{
    auto const capture = frame_of(
        1, start(R"(request { text_0: "the-secret-1" headers { )" + text_entry("Cookie", "a=the-secret-1") + " } }"));
    EXPECT_THAT(run({.arguments = {"show", "--format=text", "last"}}, capture).out,
                AllOf(HasSubstr("[masked] -"), Not(HasSubstr("the-secret"))));
}

TEST(Masks, reach_earlier_records_of_the_same_report)
{
    auto const capture = frame_of(1, start(R"(request { text_1: "/login/the-password" post_data { text_0: "p" } } )"
                                           "superglobals { " +
                                           group("_POST", text_entry("password", "the-password")) + " }"));
    EXPECT_THAT(inspect({"--format=text"}, capture).out, Not(HasSubstr("the-password")));
    EXPECT_THAT(inspect({"--format=text", "--record=RInit"}, capture).out,
                AllOf(HasSubstr("/login/[masked]"), Not(HasSubstr("the-password"))));
    EXPECT_THAT(inspect({"--format=text", "--top=1"}, capture).out,
                AllOf(HasSubstr("php.RInit"), Not(HasSubstr("php.PostData"))));
}

TEST(Masks, come_from_records_that_are_not_printed)
{
    auto const capture = frame_of(1, superglobals(group("_POST", text_entry("password", "the-password")))) +
                         frame_of(1, message("the-password"));
    EXPECT_THAT(inspect({"--format=text", "--record=ErrorData"}, capture).out, HasSubstr(R"("[masked]")"));
}

TEST(Masks, do_not_reach_earlier_reports)
{
    auto const capture = frame_of(1, message("the-password")) +
                         frame_of(1, superglobals(group("_POST", text_entry("password", "the-password")))) +
                         frame_of(1, message("the-password"));
    auto const text = inspect({"--format=text"}, capture).out;
    EXPECT_THAT(text, HasSubstr(R"("the-password")"));
    EXPECT_EQ(text.find("the-password"), text.rfind("the-password"));
}

TEST(Masks, keep_values_of_less_than_8_bytes_in_other_places)
{
    auto const capture = frame_of(1, superglobals(group("_POST", text_entry("password", "1234567")))) +
                         frame_of(1, message("code 1234567"));
    EXPECT_THAT(inspect({"--format=text"}, capture).out, HasSubstr("code 1234567"));
}

TEST(Masks, keep_names_that_are_only_literals)
{
    auto const capture = frame_of(1, query("text: \"a = 'index.php'\"")) +
                         frame_of(1, {Report::Kind::php,
                                      R"(error { error { message: "index.php" location { file: "/a/index.php" } } })"});
    auto const text = inspect({"--format=text"}, capture).out;
    EXPECT_THAT(text, HasSubstr(R"("/a/index.php")"));
    EXPECT_THAT(text, Not(HasSubstr(R"("index.php")")));
}

TEST(Masks, hide_short_literals_of_statements_in_any_text)
{
    auto const text =
        inspect({"--format=text"}, frame_of(1, call(R"(string_value: "SELECT a FROM t WHERE b = 'x7'")")) +
                                       frame_of(1, message("update t set b = 'x7'")))
            .out;
    EXPECT_THAT(text, HasSubstr("b = '[masked]'"));
    EXPECT_THAT(text, Not(HasSubstr("x7")));
}

TEST(Masks, take_further_words)
{
    auto const capture =
        frame_of(1, superglobals(group("_POST", text_entry("e-mail", "ann@example") + text_entry("phone", "555") +
                                                    text_entry("password", "the-password"))));
    auto const text = inspect({"--format=text", "--mask=mail,Phone"}, capture).out;
    for (std::string const secret : {"ann@example", "555", "the-password"})
        EXPECT_THAT(text, Not(HasSubstr(secret)));
    EXPECT_THAT(inspect({"--format=text", "--mask=default,phone"}, capture).out, HasSubstr("ann@example"));
}

TEST(Masks, reject_lists_with_none_or_empty_words)
{
    for (std::string const list : {"none,a", "a,none", "a,,b", ",", ""}) {
        auto const outcome = inspect({"--mask=" + list});
        EXPECT_EQ(outcome.status, 2) << list;
        EXPECT_THAT(outcome.err,
                    HasSubstr("--mask: '" + list + "' is not default, none, or a list of words with commas between"));
    }
}

} // namespace
} // namespace tarnwick::test::masks_test
