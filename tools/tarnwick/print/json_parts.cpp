#include "print/json_parts.h"

#include <cstddef>

namespace tarnwick::program {
namespace {

/// Returns the place after the string that starts at a quote.
std::size_t end_of_string(std::string_view json, std::size_t quote)
{
    auto at = json.find_first_of("\"\\", quote + 1);
    while (json[at] == '\\')
        at = json.find_first_of("\"\\", at + 2);
    return at + 1;
}

/// Returns the place of the comma or the bracket that follows a value.
std::size_t end_of_value(std::string_view json, std::size_t at)
{
    for (std::size_t depth = 0;;) {
        switch (json[at]) {
        case '"':
            at = end_of_string(json, at);
            continue;
        case '{':
        case '[':
            ++depth;
            break;
        case '}':
        case ']':
            if (depth == 0)
                return at;
            --depth;
            break;
        case ',':
            if (depth == 0)
                return at;
            break;
        default:
            break;
        }
        ++at;
    }
}

} // namespace

std::vector<JsonPart> json_parts(std::string_view json)
{
    std::vector<JsonPart> parts;
    if (json.size() <= 2 || (json.front() != '{' && json.front() != '['))
        return parts;
    for (std::size_t at = 1; at < json.size(); ++at) {
        std::string_view name;
        if (json.front() == '{') {
            auto const end = end_of_string(json, at);
            name = json.substr(at + 1, end - at - 2);
            at = end + 1;
        }
        auto const end = end_of_value(json, at);
        parts.push_back({name, json.substr(at, end - at)});
        at = end;
    }
    return parts;
}

} // namespace tarnwick::program
