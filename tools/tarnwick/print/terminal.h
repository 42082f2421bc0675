#pragma once

#include <cstddef>
#include <optional>

namespace tarnwick::program {

/// Returns whether a descriptor is a terminal that understands control sequences: with TERM=dumb it does not.
bool takes_control_sequences(int descriptor);

/// What `--color` asks for.
enum class Color { automatic, always, never };

/// Returns whether text for people that goes to a descriptor has colour. Automatic is yes for a terminal that takes control
/// sequences, unless NO_COLOR is set.
bool is_colored(Color color, int descriptor);

/// Returns the columns of a terminal: COLUMNS where that is a positive number, otherwise what the terminal reports.
/// Absent for other descriptors, and for a terminal that reports none.
std::optional<std::size_t> terminal_width(int descriptor);

} // namespace tarnwick::program
