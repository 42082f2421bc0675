#pragma once

#include "support/records/constructor.h"

#include <vector>

namespace tarnwick::test {

/// All constructors of records from messages, in both dialects.
std::vector<Constructor> constructors();

} // namespace tarnwick::test
