#pragma once

#include "print/readable_writer.h"

#include <tarnwick/data/glimmet/functions.h>

namespace tarnwick::program {

/// Function statistics as a table: the longest first time first, with a bar beside each.
void write_readable(ReadableWriter &writer, data::glimmet::detail::Functions const &record);

} // namespace tarnwick::program
