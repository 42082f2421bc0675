// The page of `tarnwick report`. tests/report/run looks at it in a browser.

#include "tools/tarnwick/support/report_page.h"

#include "support/config_files.h"
#include "tools/tarnwick/support/captures.h"
#include "tools/tarnwick/support/files.h"
#include "tools/tarnwick/support/program.h"

#include <tarnwick/rpc/glimmet/v1/notify_request.pb.h>

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <QtCore/QCryptographicHash>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::test::report_test {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

Outcome report(std::vector<std::string> arguments, std::string_view input = {})
{
    arguments.insert(arguments.begin(), "report");
    return run({.arguments = arguments}, input);
}

ReportPage page_of(std::string_view capture, std::vector<std::string> const &arguments = {})
{
    auto const outcome = report(arguments, capture);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
    return read_report_page(outcome.out);
}

std::vector<std::string> real_captures()
{
    std::vector<std::string> files;
    for (auto const &entry : std::filesystem::directory_iterator(TARNWICK_CAPTURES)) {
        if (entry.path().extension() == ".tnw")
            files.push_back(entry.path().string());
    }
    std::ranges::sort(files);
    return files;
}

/// Returns JSON with numbers instead of the strings that the page has for large numbers.
std::string with_numbers(std::string const &json)
{
    return std::regex_replace(json, std::regex(R"re(:"([0-9]+)")re"), ":$1");
}

/// Returns a value without the references to others.
// NOLINTNEXTLINE(misc-no-recursion): pages limit the depth
QJsonValue resolved(QJsonArray const &values, QJsonValue const &value)
{
    if (value.isArray()) {
        QJsonArray all;
        for (auto const &item : value.toArray())
            all.append(resolved(values, item));
        return all;
    }
    if (!value.isObject())
        return value;
    auto object = value.toObject();
    if (auto const reference = object.value(QLatin1StringView("$")); reference.isDouble())
        return resolved(values, values.at(reference.toInteger()));
    for (auto member = object.begin(); member != object.end(); ++member)
        *member = resolved(values, *member);
    return object;
}

/// Returns the details of all requests, in the order of the list.
std::vector<QJsonObject> details_of(ReportPage const &page)
{
    QJsonArray values;
    auto const index = page.index();
    for (qsizetype block = 0; block < index[QLatin1StringView("value_starts")].toArray().size(); ++block) {
        EXPECT_EQ(index[QLatin1StringView("value_starts")][block].toInteger(), values.size());
        auto const json = QByteArray::fromStdString(page.blocks.at(fmt::format("values-{}", block)));
        for (auto const &value : QJsonDocument::fromJson(json).array())
            values.append(value);
    }
    std::vector<QJsonObject> all;
    for (auto const &request : index[QLatin1StringView("requests")].toArray())
        all.push_back(resolved(values, values.at(request[QLatin1StringView("details")].toInteger())).toObject());
    return all;
}

std::string json_of(QJsonObject object, std::vector<char const *> const &without)
{
    for (auto const *name : without)
        object.remove(QLatin1StringView(name));
    return QJsonDocument(object).toJson(QJsonDocument::Compact).toStdString();
}

std::string start(std::uint64_t id, std::string const &more = {})
{
    return delimited(rpc_php_frame_of(fmt::format("request_id {{ id: {} }} rinit {{ {} }}", id, more)));
}

std::string uri(std::string const &text)
{
    return fmt::format("request {{ text_0: 'GET' text_1: \"{}\" }}", text);
}

std::string end(std::uint64_t id, int status, std::string const &more = {})
{
    return delimited(rpc_php_frame_of(
        fmt::format("request_id {{ id: {} }} rshutdown {{ response {{ status: {} }} {} }}", id, status, more)));
}

std::string queries(std::uint64_t id, std::string const &text)
{
    Frame frame;
    frame.set_rpc_glimmet(wire<rpc::glimmet::v1::NotifyRequest>(fmt::format(
        "request_id {{ id: {} }} sql_queries {{ queries {{ text: \"{}\" time {{ nanos: 7 }} }} }}", id, text)));
    return delimited(frame);
}

TEST(Report, has_the_rows_of_ls_and_statements)
{
    for (auto const &file : real_captures()) {
        SCOPED_TRACE(file);
        auto const page = page_of({}, {file});
        auto const index = with_numbers(page.blocks.at("index"));
        for (std::string const command : {"ls", "statements"}) {
            auto const rows = run({.arguments = {command, "--format=jsonl", "--mask=default", file}}).out;
            std::size_t at = 0;
            for (auto const &row : lines_of(rows)) {
                auto const members = row.substr(0, row.size() - 1);
                auto const found = index.find(members);
                EXPECT_NE(found, std::string::npos) << members;
                EXPECT_EQ(command == "ls" && found < at, false) << members;
                at = found;
            }
            auto const list = command == "ls" ? "requests" : "statements";
            EXPECT_EQ(static_cast<std::size_t>(page.index()[QLatin1StringView(list)].toArray().size()),
                      lines_of(rows).size());
        }
    }
}

TEST(Report, has_the_records_of_show)
{
    for (auto const &file : real_captures()) {
        SCOPED_TRACE(file);
        auto const details = details_of(page_of({}, {file}));
        ASSERT_FALSE(details.empty());
        auto const shown =
            run({.arguments = {"show", "--format=jsonl", "--mask=default", fmt::format("@{}", details.size()), file}});
        auto const records = details.back()[QLatin1StringView("records")].toArray();
        auto const lines = lines_of(shown.out);
        ASSERT_EQ(static_cast<std::size_t>(records.size()), lines.size());
        for (std::size_t i = 0; i < lines.size(); ++i) {
            auto const line = QJsonDocument::fromJson(QByteArray::fromStdString(lines[i])).object();
            // The page has ids as strings, and is not interested in places of files.
            auto const record = records.at(static_cast<qsizetype>(i)).toObject();
            EXPECT_EQ(with_numbers(json_of(record, {"request_id", "view", "call_sites"})),
                      with_numbers(json_of(line, {"request_id", "view", "frame", "offset"})));
        }
    }
}

TEST(Report, keeps_requests_with_the_same_id_apart)
{
    auto const capture = start(5, uri("/a")) + queries(5, "SELECT 1") + end(5, 200) + start(5, uri("/b")) +
                         queries(5, "SELECT 2") + end(5, 500);
    auto const page = page_of(capture);
    auto const details = details_of(page);
    ASSERT_EQ(details.size(), 2U);
    for (auto const &[request, text] : {std::pair(0U, "/a"), std::pair(1U, "/b")})
        EXPECT_THAT(json_of(details[request], {}), HasSubstr(fmt::format(R"("request_text_1":"{}")", text)));
    auto const statements = run({.arguments = {"statements", "--format=jsonl"}}, capture).out;
    EXPECT_THAT(statements, HasSubstr(R"("requests":2)"));
    EXPECT_THAT(page.blocks.at("index"), HasSubstr(statements.substr(0, statements.size() - 1)));
}

TEST(Report, counts_errors_by_name)
{
    auto const error = [](std::uint64_t id, std::string const &message) {
        return delimited(rpc_php_frame_of(
            fmt::format("request_id {{ id: {} }} error {{ error {{ message: '{}' }} }}", id, message)));
    };
    auto const index = page_of(error(1, "a") + error(1, "b") + error(1, "a") + error(2, "b")).index();
    EXPECT_EQ(QJsonDocument(index[QLatin1StringView("errors")].toArray()).toJson(QJsonDocument::Compact).toStdString(),
              R"(["0: a","0: b"])");
    std::vector<std::string> counts;
    for (auto const &request : index[QLatin1StringView("requests")].toArray())
        counts.push_back(QJsonDocument(request[QLatin1StringView("error_names")].toArray())
                             .toJson(QJsonDocument::Compact)
                             .toStdString());
    EXPECT_THAT(counts, ElementsAre("[[0,2],[1,1]]", "[[1,1]]"));
}

TEST(Report, has_the_places_of_changed_superglobals)
{
    auto const group = [](std::string const &name, std::string const &elements) {
        return fmt::format(R"(elements {{ string_key: "{}" value {{ array_value {{ {} }} }} }} )", name, elements);
    };
    auto const element = [](std::string const &key, std::string const &value) {
        return fmt::format(R"(elements {{ string_key: "{}" value {{ string_value: "{}" }} }} )", key, value);
    };
    auto const page = page_of(
        start(1, "superglobals { " + group("_GET", element("a", "1")) +
                     group("_SESSION", element("old", "1") + element("token", "secret-1")) + "}") +
        end(1, 200,
            "superglobals { " +
                group("_SESSION", element("old", "1") + element("new", "2") + element("token", "secret-2")) + "}"));
    EXPECT_THAT(json_of(details_of(page).at(0), {"records", "statements"}),
                R"({"changes":[[0,1,null,null],[0,2,1,1]]})");
}

TEST(Report, shows_only_chosen_requests)
{
    auto const capture = start(1, uri("/a")) + queries(1, "SELECT a") + end(1, 200) + start(2, uri("/b")) +
                         queries(2, "SELECT b") + end(2, 500);
    std::vector<std::vector<std::string>> const choices{
        {"--where=status>=500"}, {"--request=2"}, {"--sort=status:desc", "--top=1"}};
    for (auto const &choice : choices) {
        auto const page = page_of(capture, choice);
        EXPECT_THAT(page.data(),
                    AllOf(HasSubstr("/b"), HasSubstr("SELECT b"), Not(HasSubstr("/a\"")), Not(HasSubstr("SELECT a"))));
        EXPECT_THAT(page.blocks.at("index"), HasSubstr(R"("number":2)"));
    }
    EXPECT_EQ(details_of(page_of(capture, {"--dialect=protobuf"})).size(), 0U);
}

std::string hash_of(std::string const &text)
{
    auto const hash = QCryptographicHash::hash(QByteArray::fromStdString(text), QCryptographicHash::Sha256);
    return "'sha256-" + hash.toBase64().toStdString() + "'";
}

TEST(Report, allows_only_its_script_and_its_style)
{
    auto const page = page_of(start(1));
    EXPECT_EQ(page.policy, fmt::format("default-src 'none'; script-src {}; style-src {}; base-uri 'none'; "
                                       "form-action 'none'",
                                       hash_of(page.script), hash_of(page.style)));
    for (auto const *const part : {"innerHTML", "outerHTML", "insertAdjacent", "document.write", "eval(", "fetch(",
                                   "import(", "srcdoc", "javascript:"})
        EXPECT_THAT(page.script, Not(HasSubstr(part)));
}

/// Returns the page without its data.
std::string markup(ReportPage const &page)
{
    return std::regex_replace(page.html, std::regex("<script type=\"text/plain\" id=\"[a-z0-9-]+\">[^<]*</script>\n"),
                              "");
}

TEST(Report, loads_nothing)
{
    auto text = markup(page_of(start(1)));
    text.replace(text.find("http-equiv"), 10, "");
    for (auto const *const part : {"http", "//www", "src=", "url(", "@import", "<link", "<img", "<iframe"})
        EXPECT_THAT(text, Not(HasSubstr(part)));
}

TEST(Report, has_no_text_of_reports_in_its_markup)
{
    auto const harmless = markup(page_of(start(1)));
    std::string const million(1'000'000, '<');
    for (auto const &text : // as textproto
         {std::string("</script><script>alert(1)</script>"), std::string("<!-- <script>"), std::string("]]>\\'\\\""),
          std::string("\\000\\001\\033"), std::string("\\342\\200\\256"), std::string("\\377\\376"), million}) {
        auto const capture =
            start(1, uri(text)) + queries(1, text) +
            delimited(rpc_php_frame_of(fmt::format(
                R"(request_id {{ id: 1 }} error {{ error {{ message: "{0}" location {{ file: "{0}" }} }} }})", text)));
        auto const page = page_of(capture);
        EXPECT_EQ(markup(page), harmless) << text.substr(0, 40);
        ASSERT_EQ(details_of(page).size(), 1U);
    }
}

TEST(Report, has_names_of_files_only_in_its_data)
{
    ConfigFolder const folder;
    std::string const name = "<img src=x onerror=alert(1)>\"'.tnw";
    folder.write(name, start(1));
    WorkingFolder const here(folder.path());
    auto const page = page_of({}, {name});
    EXPECT_EQ(markup(page), markup(page_of(start(1))));
    EXPECT_EQ(page.index()[QLatin1StringView("files")][0].toString().toStdString(), name);
}

TEST(Report, writes_a_new_file)
{
    ConfigFolder const folder;
    WorkingFolder const here(folder.path());
    auto const outcome = report({"-o", "report.html"}, start(1));
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, "");
    std::ifstream const file("report.html");
    std::ostringstream html;
    html << file.rdbuf();
    EXPECT_EQ(html.str(), page_of(start(1)).html);
    auto const again = report({"-o", "report.html"}, start(1));
    EXPECT_EQ(again.status, 3);
    EXPECT_EQ(again.err, "tarnwick: cannot write report.html: File exists\n");
}

TEST(Report, has_the_requests_before_and_after_a_fault)
{
    auto const outcome = report({}, start(1, uri("/a")) + delimited(rpc_php_frame("\xff")) + start(2, uri("/b")));
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("frame 2"));
    EXPECT_THAT(read_report_page(outcome.out).blocks.at("index"), AllOf(HasSubstr("/a"), HasSubstr("/b")));
}

TEST(Report, writes_no_page_without_a_capture)
{
    ConfigFolder const folder;
    WorkingFolder const here(folder.path());
    for (auto const &[name, status] : {std::pair("missing.tnw", 3), std::pair("-", 1)}) {
        auto const outcome = report({"-o", "report.html", name}, "no capture");
        EXPECT_EQ(outcome.status, status);
        EXPECT_THAT(outcome.err, HasSubstr(name[0] == 'm' ? "missing.tnw" : "not a capture"));
        EXPECT_THAT(lines_of(outcome.err), testing::SizeIs(1));
        EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
    }
}

TEST(Report, knows_whether_secrets_are_masked)
{
    EXPECT_THAT(page_of(start(1)).blocks.at("index"), HasSubstr(R"("has_masks":true)"));
    EXPECT_THAT(page_of(start(1), {"--mask=none"}).blocks.at("index"), HasSubstr(R"("has_masks":false)"));
}

TEST(Report, has_no_requests_if_none_is_chosen)
{
    auto const page = page_of(start(1), {"--where=errors>0"});
    EXPECT_TRUE(page.index()[QLatin1StringView("requests")].toArray().isEmpty());
}

TEST(Report, refuses_a_terminal)
{
    auto const outcome = run({.arguments = {"report"}, .out = Sink::terminal});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.err, HasSubstr("cannot write a page to a terminal: use --output=FILE"));
    EXPECT_THAT(outcome.out, IsEmpty());
}

TEST(Report, reports_a_full_disk)
{
    auto const outcome = run({.arguments = {"report"}, .out = Sink::full_disk}, start(1));
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.err, HasSubstr("No space left on device"));
}

} // namespace
} // namespace tarnwick::test::report_test
