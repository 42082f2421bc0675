#pragma once

#include <string>
#include <string_view>

namespace tarnwick::fuzz {

/// What a record's text must be, decoded in the plainest way: a byte-order mark at the start is dropped, every byte that
/// is no part of a valid sequence is a U+FFFD of its own, and a NUL is a character like others.
std::u16string naive_text(std::string_view utf8);

} // namespace tarnwick::fuzz
