#include "schema.h"

#include "print/json_schema.h"
#include "print/output.h"

#include <QtCore/QByteArray>
#include <QtCore/QJsonDocument>

#include <cstddef>
#include <string_view>
#include <unistd.h>

namespace tarnwick::program {

ExitStatus schema(JsonStyle style)
{
    auto const json = QJsonDocument(json_schema(style)).toJson();
    Output output(STDOUT_FILENO);
    output.write(std::string_view(json.constData(), static_cast<std::size_t>(json.size())));
    output.flush();
    return success;
}

} // namespace tarnwick::program
