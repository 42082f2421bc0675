#pragma once

#include <string>
#include <string_view>

namespace tarnwick::fuzz {

/// The reference decoder for the texts of records. Drops a byte-order mark at the start. Converts each byte outside a
/// valid sequence to U+FFFD. A NUL is an ordinary character.
std::u16string naive_text(std::string_view utf8);

} // namespace tarnwick::fuzz
