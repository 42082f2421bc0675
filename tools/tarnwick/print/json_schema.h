#pragma once

#include "print/json_writer.h"

#include <QtCore/QJsonObject>

namespace tarnwick::program {

/// Returns the JSON Schema (draft 2020-12) of one line of `inspect` in this style: any record that a report feeds, with
/// its place in the capture. No further members are allowed.
QJsonObject json_schema(JsonStyle style);

} // namespace tarnwick::program
