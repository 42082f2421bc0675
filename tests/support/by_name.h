#pragma once

#include <string>

namespace tarnwick::test {

/// Names the instances of a parameterised test by the `name` of their rows.
inline constexpr auto by_name = [](auto const &instance) { return std::string(instance.param.name); };

} // namespace tarnwick::test
