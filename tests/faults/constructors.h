#pragma once

#include "faults/constructor.h"

#include <vector>

namespace tarnwick::test {

/// Those of all records, in both dialects.
std::vector<Constructor> constructors();

} // namespace tarnwick::test
