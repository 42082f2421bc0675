// The conditions that the page of `report` reads too. tests/report/run compares what its script does with them.

#include "requests/condition.h"

#include <gmock/gmock.h>

#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QLatin1StringView>
#include <QtCore/QString>

#include <map>
#include <stdexcept>
#include <string>

namespace tarnwick::program::condition_cases_test {
namespace {

QJsonArray cases(char const *name)
{
    QFile file(QStringLiteral(TARNWICK_SOURCES "/tests/report/conditions.json"));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    return QJsonDocument::fromJson(file.readAll()).object()[QLatin1StringView(name)].toArray();
}

std::string text(QJsonObject const &object, char const *name)
{
    return object[QLatin1StringView(name)].toString().toStdString();
}

FieldType type_of(QJsonObject const &object)
{
    static std::map<std::string, FieldType> const types{
        {"number", FieldType::number},   {"text", FieldType::text}, {"boolean", FieldType::boolean},
        {"instant", FieldType::instant}, {"span", FieldType::span}, {"other", FieldType::other}};
    return types.at(text(object, "type"));
}

bool holds(Condition const &condition, FieldType type, QJsonValue const &value)
{
    auto const content = value.toString().toStdString();
    if (value.isNull())
        return condition.holds({});
    if (value.isBool())
        return condition.holds(value.toBool());
    return type == FieldType::text ? condition.holds(std::string_view(content)) : condition.holds(std::stold(content));
}

TEST(ConditionCases, compare_values)
{
    auto const comparisons = cases("comparisons");
    ASSERT_FALSE(comparisons.isEmpty());
    for (auto const &entry : comparisons) {
        auto const object = entry.toObject();
        SCOPED_TRACE(text(object, "condition") + " " + text(object, "type"));
        Condition condition(text(object, "condition"));
        condition.set_type(type_of(object));
        for (auto const &value : object[QLatin1StringView("fulfil")].toArray())
            EXPECT_TRUE(holds(condition, type_of(object), value)) << value.toString().toStdString();
        for (auto const &value : object[QLatin1StringView("fail")].toArray())
            EXPECT_FALSE(holds(condition, type_of(object), value)) << value.toString().toStdString();
    }
}

TEST(ConditionCases, report_faults)
{
    auto const faults = cases("faults");
    ASSERT_FALSE(faults.isEmpty());
    for (auto const &entry : faults) {
        auto const object = entry.toObject();
        SCOPED_TRACE(text(object, "condition"));
        try {
            Condition condition(text(object, "condition"));
            condition.set_type(type_of(object));
            ADD_FAILURE() << "was accepted";
        } catch (std::invalid_argument const &error) {
            EXPECT_THAT(error.what(), testing::StartsWith(text(object, "fault")));
        }
    }
}

} // namespace
} // namespace tarnwick::program::condition_cases_test
