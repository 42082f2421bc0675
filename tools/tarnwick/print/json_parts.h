#pragma once

#include <string_view>
#include <vector>

namespace tarnwick::program {

/// Member of a JSON object, or element of a list.
struct JsonPart {
    std::string_view name; ///< of a member, as JSON without the quotes; empty for an element
    std::string_view value;
};

/// Returns the parts of an object or a list that `JsonWriter` wrote, in their order; none for any other value. The
/// parts view the text, so numbers keep all their digits.
std::vector<JsonPart> json_parts(std::string_view json);

} // namespace tarnwick::program
