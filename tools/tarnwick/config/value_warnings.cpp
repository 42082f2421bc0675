#include "config/misread_value.h"

#include <tarnwick/qstring_format.h>

#include <fmt/format.h>

#include <QtCore/QRegularExpression>

namespace tarnwick::program {

namespace {

std::vector<std::string> misread_parts(QStringView value, QRegularExpression const &comment)
{
    std::vector<std::string> parts;
    if (auto const match = comment.matchView(value); match.hasMatch())
        parts.push_back(fmt::format("'{}' does not begin a comment after a value: it is part of the value",
                                    match.captured(match.lastCapturedIndex())));
    // Up to the last brace each part that begins like a reference is one, so no text is searched twice.
    static QRegularExpression const reference(QStringLiteral(R"(\$\{[a-zA-Z_][a-zA-Z0-9_.]*(?::-[^}]*)?\})"));
    if (auto const match = reference.matchView(value.first(value.lastIndexOf(u'}') + 1)); match.hasMatch())
        parts.push_back(fmt::format("'{}' is not replaced: a reference must be the entire value", match.captured()));
    return parts;
}

} // namespace

std::vector<std::string> misread_parts(QStringView value)
{
    // `#fff` and `a;b` are values.
    static QRegularExpression const comment(QStringLiteral(R"((?:^|\s)(?:(#|;)(?:\s|$))|\s(#))"));
    return misread_parts(value, comment);
}

std::vector<std::string> misread_parts_of_patterns(QStringView name)
{
    static QRegularExpression const comment(QStringLiteral(R"((?:^|\s)(#)(?:\s|$)|\s(#))"));
    return misread_parts(name, comment);
}

} // namespace tarnwick::program
