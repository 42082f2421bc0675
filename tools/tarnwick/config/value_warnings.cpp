#include "config/value_warnings.h"

#include <tarnwick/qstring_format.h>

#include <fmt/format.h>

#include <QtCore/QRegularExpression>

namespace tarnwick::program {

namespace {

std::vector<std::string> text_warnings(QStringView value, QRegularExpression const &comment)
{
    std::vector<std::string> warnings;
    if (auto const match = comment.matchView(value); match.hasMatch())
        warnings.push_back(fmt::format("'{}' does not begin a comment after a value: it is part of the value",
                                       match.captured(match.lastCapturedIndex())));
    // Without a closing brace the search would take quadratic time: each `${` would be searched to the end.
    static QRegularExpression const reference(QStringLiteral(R"(\$\{[a-zA-Z_][a-zA-Z0-9_.]*(?::-[^}]*)?\})"));
    if (auto const match = reference.matchView(value.first(value.lastIndexOf(u'}') + 1)); match.hasMatch())
        warnings.push_back(fmt::format("'{}' is not replaced: a reference must be the entire value", match.captured()));
    return warnings;
}

} // namespace

std::vector<std::string> value_warnings(QStringView value)
{
    // `#fff` and `a;b` are ordinary values.
    static QRegularExpression const comment(QStringLiteral(R"((?:^|\s)(?:(#|;)(?:\s|$))|\s(#))"));
    return text_warnings(value, comment);
}

std::vector<std::string> pattern_warnings(QStringView name)
{
    static QRegularExpression const comment(QStringLiteral(R"((?:^|\s)(#)(?:\s|$)|\s(#))"));
    return text_warnings(name, comment);
}

} // namespace tarnwick::program
