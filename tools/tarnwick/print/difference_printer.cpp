#include "print/difference_printer.h"

#include <fmt/format.h>

#include <cstdint>
#include <variant>

namespace tarnwick::program {

std::string masked_name(Masks const &masks, ActivityDifference const &difference)
{
    switch (difference.kind) {
    case ActivityKind::function:
        return masks.name(*difference.name);
    case ActivityKind::statement:
        return masks.statement(*difference.name);
    default:
        return masks.text(*difference.name);
    }
}

std::string route_text(Masks const &masks, MethodAndRoute const &route)
{
    auto const &[method, path] = route;
    return method.empty() && path.empty() ? "-" : fmt::format("{} {}", method, masks.text(path));
}

std::string key_text(data::php::ZVal const &key)
{
    if (auto const *text = std::get_if<std::string>(&key->value()))
        return *text;
    if (auto const *number = std::get_if<std::int64_t>(&key->value()))
        return fmt::to_string(*number);
    return "undefined";
}

} // namespace tarnwick::program
