#include "misread_value.h"

#include <tarnwick/qstring_format.h>

#include <fmt/format.h>

#include <QtCore/QRegularExpression>

namespace tarnwick::program {

std::vector<std::string> misread_parts(QStringView value)
{
    std::vector<std::string> parts;
    // `#fff` and `a;b` are values.
    static QRegularExpression const comment(QStringLiteral(R"((?:^|\s)(?:(#|;)(?:\s|$))|\s(#))"));
    if (auto const match = comment.matchView(value); match.hasMatch())
        parts.push_back(fmt::format("'{}' does not begin a comment after a value: it is part of the value",
                                    match.captured(match.lastCapturedIndex())));
    static QRegularExpression const reference(QStringLiteral(R"(\$\{[a-zA-Z_][a-zA-Z0-9_.]*(?::-[^}]*)?\})"));
    if (auto const match = reference.matchView(value); match.hasMatch())
        parts.push_back(fmt::format("'{}' is not replaced: a reference is the whole of a value", match.captured()));
    return parts;
}

} // namespace tarnwick::program
