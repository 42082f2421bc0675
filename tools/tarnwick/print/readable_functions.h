#pragma once

#include "print/masks.h"
#include "print/readable_writer.h"

#include <tarnwick/data/glimmet/functions.h>

namespace tarnwick::program {

/// Writes function statistics as a table, sorted by `time_first` in descending order, with a bar for each.
void write_readable(ReadableWriter &writer, data::glimmet::detail::Functions const &record, Masks const &masks = {});

} // namespace tarnwick::program
