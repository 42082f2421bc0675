// The captures that are part of this repository: reports of real applications.

#include "tools/tarnwick/support/captures.h"
#include "tools/tarnwick/support/program.h"

#include <tarnwick/qstring_format.h>

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <QtCore/QByteArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QLatin1StringView>
#include <QtCore/QString>

#include <algorithm>
#include <filesystem>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace tarnwick::test {
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

/// What the two dialects of one request's end are compared by, apart from these fields.
struct Exception {
    QString field;
    char const *why;
    bool zero_in_protobuf;
};
std::vector<Exception> const exceptions = {
    {QStringLiteral("frame"), "two frames carry the two reports", false},
    {QStringLiteral("offset"), "two frames carry the two reports", false},
    {QStringLiteral("dialect"), "it is what differs", false},
    {QStringLiteral("timestamp"), "the protobuf dialect never carries it", true},
};

struct Comparison {
    std::size_t pairs = 0;
    std::vector<std::string> differences;
};

/// Compares what the two dialects gave for each request of a capture.
Comparison compare(std::vector<QJsonObject> const &records)
{
    using ByDialect = std::map<std::string, QJsonObject>;
    std::map<std::string, ByDialect> by_request;
    Comparison comparison;
    for (auto const &record : records) {
        if (text(record[QLatin1StringView("record")]) != "php.RShutdown")
            continue;
        auto const request = text(record[QLatin1StringView("request_id")]);
        auto const dialect = text(record[QLatin1StringView("dialect")]);
        if (!by_request[request].emplace(dialect, record).second)
            comparison.differences.push_back(fmt::format("{}: ends twice in {}", request, dialect));
    }
    QJsonObject const zero{{QStringLiteral("seconds"), 0}, {QStringLiteral("nanos"), 0}};
    for (auto const &[request, both] : by_request) {
        if (both.size() != 2)
            continue;
        ++comparison.pairs;
        auto rpc = both.at("rpc");
        auto protobuf = both.at("protobuf");
        for (auto const &[field, why, zero_in_protobuf] : exceptions) {
            if (zero_in_protobuf && protobuf[field] != zero)
                comparison.differences.push_back(fmt::format("{}: {} is not zero in protobuf", request, field));
            rpc.remove(field);
            protobuf.remove(field);
        }
        auto names = rpc.keys() + protobuf.keys();
        names.removeDuplicates();
        for (auto const &field : names) {
            if (rpc[field] != protobuf[field])
                comparison.differences.push_back(fmt::format("{}: {}: {} in rpc, {} in protobuf", request, field,
                                                             json(rpc[field]), json(protobuf[field])));
        }
    }
    return comparison;
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

TEST(RealCaptures, say_the_same_of_a_requests_end_in_both_dialects)
{
    std::size_t pairs = 0;
    for (auto const &file : captures()) {
        auto const comparison = compare(objects(inspect({file}).out));
        EXPECT_THAT(comparison.differences, IsEmpty()) << file;
        pairs += comparison.pairs;
    }
    EXPECT_GT(pairs, 0U);
}

TEST(RealCaptures, are_compared_so_that_a_difference_shows)
{
    auto const compared = [](std::string const &rpc, std::string const &protobuf) {
        auto const capture =
            delimited(rpc_php_frame_of("request_id { id: 7 } timestamp { seconds: 1 } rshutdown {" + rpc + "}")) +
            delimited(rshutdown_frame_of(7, protobuf)) + request_end(8);
        return compare(objects(inspect({}, capture).out));
    };
    auto const same = compared("response { status: 200 } memory { value_1: 5 }", "response_status: 200 memory_1: 5");
    EXPECT_EQ(same.pairs, 1U);
    EXPECT_THAT(same.differences, IsEmpty());
    EXPECT_THAT(compared("response { status: 200 }", "response_status: 201").differences,
                ElementsAre(R"(7: response_status: {"is":200} in rpc, {"is":201} in protobuf)"));
    EXPECT_THAT(compared("duration { nanos: 1 }", "duration { nanos: 2 }").differences,
                ElementsAre(R"(7: duration: {"is":{"nanos":1,"seconds":0}} in rpc, )"
                            R"({"is":{"nanos":2,"seconds":0}} in protobuf)"));
}

} // namespace
} // namespace tarnwick::test
