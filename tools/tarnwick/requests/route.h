#pragma once

#include <string>
#include <string_view>

namespace tarnwick::program {

/// Replaces a word that identifies something.
inline constexpr std::string_view id_placeholder = "{id}";

/// Returns what the URIs of one page or one action have in common: the path, and the names of the query's parameters in
/// alphabetical order, each once. Values of parameters and the fragment are left out.
///
/// Words that identify something become `{id}`: decimal numbers, UUIDs, and hexadecimal texts of at least 16 digits. A
/// word is a sequence of letters, digits and bytes beyond ASCII, so `/v2/users/42-ann` is `/v2/users/{id}-ann`.
std::string route_of(std::string_view uri);

/// Whether the whole text is such a word, or a UUID.
bool is_id(std::string_view text);

} // namespace tarnwick::program
