#pragma once

#include <cstddef>
#include <optional>

namespace tarnwick::program {

/// Returns whether a descriptor is a terminal that takes control sequences. A terminal with TERM=dumb does not.
bool takes_control_sequences(int descriptor);

/// Value of the option `--color`.
enum class Color { automatic, always, never };

/// Returns whether text for a descriptor is coloured. Automatic means yes for a terminal that takes control sequences,
/// unless NO_COLOR is set.
bool is_colored(Color color, int descriptor);

/// Returns the width of a terminal in columns: COLUMNS if that is a positive number, otherwise the width that the
/// terminal reports. Absent for other descriptors, and for a terminal that does not report it.
std::optional<std::size_t> terminal_width(int descriptor);

} // namespace tarnwick::program
