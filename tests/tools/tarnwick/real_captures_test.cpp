// The captures in this repository, with reports of real applications.

#include "tools/tarnwick/support/captures.h"
#include "tools/tarnwick/support/program.h"

#include <tarnwick/qstring_format.h>

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <QtCore/QByteArray>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QLatin1StringView>
#include <QtCore/QString>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::test::real_captures_test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

std::vector<std::string> captures()
{
    std::vector<std::string> files;
    for (auto const &entry : std::filesystem::directory_iterator(TARNWICK_CAPTURES)) {
        if (entry.path().extension() == ".tnw")
            files.push_back(entry.path().string());
    }
    std::sort(files.begin(), files.end());
    return files;
}

std::vector<QJsonObject> objects(std::string const &jsonl)
{
    std::vector<QJsonObject> found;
    std::istringstream lines(jsonl);
    for (std::string line; std::getline(lines, line);) {
        auto const document = QJsonDocument::fromJson(QByteArray::fromStdString(line));
        EXPECT_TRUE(document.isObject()) << line;
        found.push_back(document.object());
    }
    return found;
}

std::string text(QJsonValue const &value)
{
    return value.toVariant().toString().toStdString();
}

std::string json(QJsonValue const &value)
{
    return QJsonDocument(QJsonObject{{QStringLiteral("is"), value}}).toJson(QJsonDocument::Compact).toStdString();
}

/// Expected difference between the dialects.
struct Exception {
    char const *path; ///< in the printed record; [] is any element of a list, a leading * any prefix
    char const *why;
    /// Returns whether the dialects have this difference. If so, removes it from the protobuf value.
    bool (*undo)(QJsonValue const &rpc, QJsonValue &protobuf);
};

bool becomes(QJsonValue const &expected, QJsonValue const &rpc, QJsonValue &protobuf)
{
    auto const matches = protobuf == expected;
    if (matches)
        protobuf = rpc;
    return matches;
}

bool becomes_null(QJsonValue const &rpc, QJsonValue &protobuf)
{
    return becomes(QJsonValue::Null, rpc, protobuf);
}

bool becomes_false(QJsonValue const &rpc, QJsonValue &protobuf)
{
    return becomes(false, rpc, protobuf);
}

bool is_null_in_rpc(QJsonValue const &rpc, QJsonValue &protobuf)
{
    auto const matches = rpc.isNull();
    if (matches)
        protobuf = rpc;
    return matches;
}

bool becomes_0(QJsonValue const &rpc, QJsonValue &protobuf)
{
    return becomes(0, rpc, protobuf);
}

bool becomes_zero_time(QJsonValue const &rpc, QJsonValue &protobuf)
{
    return becomes(QJsonObject{{QStringLiteral("seconds"), 0}, {QStringLiteral("nanos"), 0}}, rpc, protobuf);
}

bool becomes_json(QJsonValue const &rpc, QJsonValue &protobuf)
{
    static std::set<std::string> const nested{"array", "object", "resource"};
    auto const matches = nested.contains(text(rpc[u"kind"])) && text(protobuf[u"kind"]) == "json";
    if (matches)
        protobuf = rpc;
    return matches;
}

bool has_later_entries(QJsonValue const &rpc, QJsonValue &protobuf)
{
    QJsonArray entries;
    for (auto const &entry : protobuf.toArray()) {
        if (text(entry[1][u"kind"]) != "undefined")
            entries.append(entry);
    }
    auto const matches = entries.size() < protobuf.toArray().size() && entries.size() == rpc.toArray().size();
    if (matches)
        protobuf = entries;
    return matches;
}

Exception const exceptions[] = {
    {"*", "arrays, objects and resources in values are JSON in the protobuf dialect", becomes_json},
    {"php.RInit.version_text", "the protobuf dialect has no text of the version", becomes_null},
    {"php.RInit.version_number", "the protobuf dialect has no fourth number of the version", becomes_0},
    {"php.RInit.request_bytes_1", "the protobuf dialect has one byte string of the request", becomes_null},
    {"php.RShutdown.timestamp", "the protobuf dialect has no time of a request's end", becomes_zero_time},
    {"php.ResponseBody.number", "the protobuf dialect has no number beside a response's texts", becomes_0},
    {"php.Superglobals init.values[][].value",
     "one protobuf message has both states, so the first state has later entries without value", has_later_entries},
    {"*.call_value", "the protobuf dialect has no further value of a call", becomes_null},
    {"monitor.Event 4.function", "the rpc dialect has no function of a PHP error's event", is_null_in_rpc},
    {"monitor.Event 4.stack_trace", "the rpc dialect has no calls of a PHP error's event", is_null_in_rpc},
    {"codetrace.Data.more", "the protobuf dialect has no flag for further chunks", becomes_false},
};

bool is_at(std::string_view path, std::string_view pattern)
{
    return pattern.starts_with('*') ? path.ends_with(pattern.substr(1)) : path == pattern;
}

/// Expected record that only one dialect has.
struct Absence {
    char const *record;
    char const *why;
    bool (*matches)(std::vector<QJsonObject> const &rpc);
};

Absence const absences[] = {
    {"php.PostData", "a request without a body has no such message in the protobuf dialect",
     [](std::vector<QJsonObject> const &rpc) {
         return rpc.size() == 1 && rpc[0][u"text_0"].isNull() && rpc[0][u"text_1"].isNull();
     }},
};

/// Compares the records of the two dialects for each request of a capture.
class Comparison {
public:
    explicit Comparison(std::vector<QJsonObject> const &records);

    std::size_t pairs = 0;
    std::vector<std::string> differences;
    std::set<std::string> used; ///< paths of the exceptions and records of the absences that occurred

private:
    using Records = std::map<std::string, std::vector<QJsonObject>>; // by name and view, or kind of event

    void compare_requests(std::string const &request, Records const &rpc, Records const &protobuf);
    void compare_values(std::string const &path, QJsonValue const &rpc, QJsonValue protobuf);
};

Comparison::Comparison(std::vector<QJsonObject> const &records)
{
    std::map<std::string, std::map<std::string, Records>> by_request;
    for (auto record : records) {
        // These tables of the protobuf dialect are compared as part of the queries.
        auto name = text(record[u"record"]);
        if (name == "glimmet.SqlConnections" || name == "glimmet.SqlTransactions")
            continue;
        auto &dialects = by_request[text(record[u"request_id"])];
        if (auto const view = text(record[u"view"]); !view.empty())
            name += ' ' + view;
        if (record.contains(u"kind"))
            name += ' ' + text(record[u"kind"]);
        auto const dialect = text(record[u"dialect"]);
        for (auto const *where : {"frame", "offset", "dialect", "view"})
            record.remove(QLatin1StringView(where));
        dialects[dialect][name].push_back(record);
    }
    for (auto &[request, dialects] : by_request)
        compare_requests(request, dialects["rpc"], dialects["protobuf"]);
}

void Comparison::compare_requests(std::string const &request, Records const &rpc, Records const &protobuf)
{
    auto const of = [](Records const &records, std::string const &name) {
        auto const found = records.find(name);
        return found == records.end() ? std::vector<QJsonObject>() : found->second;
    };
    std::set<std::string> names;
    for (auto const &[name, records] : rpc)
        names.insert(name);
    for (auto const &[name, records] : protobuf)
        names.insert(name);
    for (auto const &name : names) {
        // The first message `all` of the protobuf dialect has the state at the start. Further ones belong to events,
        // and the rpc dialect has no such messages. A request without an end has no message `init`.
        auto const is_start = name == "php.Superglobals all";
        if (name == "php.Superglobals init" && !protobuf.contains(name))
            continue;
        auto const left = of(rpc, is_start ? "php.Superglobals init" : name);
        auto right = of(protobuf, name);
        if (is_start)
            right.resize(1);
        auto const absence = std::ranges::find_if(absences, [&](Absence const &row) { return row.record == name; });
        if (right.empty() && absence != std::end(absences) && absence->matches(left)) {
            used.insert(absence->record);
            continue;
        }
        if (left.size() != right.size()) {
            differences.push_back(
                fmt::format("{}: {} {} in rpc, {} in protobuf", request, left.size(), name, right.size()));
            continue;
        }
        for (std::size_t i = 0; i < left.size(); ++i) {
            ++pairs;
            compare_values(name, left[i], right[i]);
        }
    }
}

void Comparison::compare_values(std::string const &path, QJsonValue const &rpc, QJsonValue protobuf)
{
    for (auto const &exception : exceptions) {
        if (rpc == protobuf)
            return;
        if (is_at(path, exception.path) && exception.undo(rpc, protobuf))
            used.insert(exception.path);
    }
    if (rpc == protobuf)
        return;
    if (rpc.isObject() && protobuf.isObject() && rpc.toObject().keys() == protobuf.toObject().keys()) {
        for (auto const &key : rpc.toObject().keys())
            compare_values(path + '.' + key.toStdString(), rpc[key], protobuf[key]);
    } else if (rpc.isArray() && protobuf.isArray() && rpc.toArray().size() == protobuf.toArray().size()) {
        for (qsizetype i = 0; i < rpc.toArray().size(); ++i)
            compare_values(path + "[]", rpc[i], protobuf[i]);
    } else {
        differences.push_back(fmt::format("{}: {} in rpc, {} in protobuf", path, json(rpc), json(protobuf)));
    }
}

TEST(RealCaptures, are_read_without_a_fault)
{
    auto const files = captures();
    ASSERT_THAT(files, Not(IsEmpty())) << "no capture in " TARNWICK_CAPTURES;
    for (auto const &file : files) {
        SCOPED_TRACE(file);
        auto const outcome = inspect({file});
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(outcome.err, "");
        std::vector<std::string> names;
        for (auto const &record : objects(outcome.out))
            names.push_back(text(record[QLatin1StringView("record")]));
        EXPECT_THAT(names, Contains("php.RShutdown"));
    }
}

TEST(RealCaptures, dialects_agree_except_for_listed_differences)
{
    std::set<std::string> used;
    std::size_t pairs = 0;
    for (auto const &file : captures()) {
        Comparison comparison(objects(inspect({file}).out));
        EXPECT_THAT(comparison.differences, IsEmpty()) << file;
        used.merge(comparison.used);
        pairs += comparison.pairs;
    }
    EXPECT_GT(pairs, 0U);
    for (auto const &[path, why, undo] : exceptions)
        EXPECT_TRUE(used.contains(path)) << path << ": no such difference: " << why;
    for (auto const &[record, why, matches] : absences)
        EXPECT_TRUE(used.contains(record)) << record << ": no such absence: " << why;
}

TEST(RealCaptures, comparison_finds_differences)
{
    auto const compared = [](std::string const &rpc, std::string const &protobuf) {
        auto const capture = delimited(rpc_php_frame_of("request_id { id: 7 } error { error {" + rpc + "} }")) +
                             delimited(error_frame_of(7, protobuf));
        return Comparison(objects(inspect({}, capture).out));
    };
    auto const same = compared("message: 'm' type { number: 5 }", "message: 'm' number: 5");
    EXPECT_EQ(same.pairs, 1U);
    EXPECT_THAT(same.differences, IsEmpty());
    EXPECT_THAT(compared("message: 'm' type { number: 5 }", "message: 'n' number: 5").differences,
                ElementsAre(R"(php.ErrorData.message: {"is":"m"} in rpc, {"is":"n"} in protobuf)"));
    EXPECT_THAT(
        compared("type { number: 5 } location { file: 'a' line: 1 }", "file: 'a' number: 5 line: 2").differences,
        ElementsAre(R"(php.ErrorData.location.line: {"is":1} in rpc, {"is":2} in protobuf)"));
    EXPECT_THAT(compared("type { number: 5 } stack_trace { }", "number: 5").differences,
                ElementsAre(R"(php.ErrorData.stack_trace: {"is":[]} in rpc, {"is":null} in protobuf)"));

    auto const without_pair = Comparison(objects(inspect({}, delimited(error_frame_of(7, "number: 5"))).out));
    EXPECT_THAT(without_pair.differences, ElementsAre("7: 0 php.ErrorData in rpc, 1 in protobuf"));
}

} // namespace
} // namespace tarnwick::test::real_captures_test
