#include <tarnwick/data/print.h>

#include <fmt/ranges.h>
#include <fmt/std.h>

#include "data/formattable_records.h"

static_assert(tarnwick::test::all_format_as_records);
