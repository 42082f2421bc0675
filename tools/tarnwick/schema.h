#pragma once

#include "exit_status.h"
#include "print/json_writer.h"

namespace tarnwick::program {

/// Prints the JSON Schema of the JSON lines of `inspect` to standard output. Throws what `Output` throws.
ExitStatus schema(JsonStyle style);

} // namespace tarnwick::program
