#include <tarnwick/data/php/header_lines.h>

#include <tarnwick/data/php/make_values.h>

#include <cstddef>
#include <string_view>
#include <utility>

namespace tarnwick::data::php {

PelorinArray split_header_lines(google::protobuf::RepeatedPtrField<std::string> const &lines)
{
    constexpr std::string_view separator = ": ";
    detail::PelorinArray::Elements headers;
    headers.reserve(static_cast<std::size_t>(lines.size()));
    for (std::string_view const line : lines) {
        auto const colon = line.find(separator);
        if (colon == line.npos)
            headers.emplace_back(php_string(line), php_undefined());
        else
            headers.emplace_back(php_string(line.substr(0, colon)), php_string(line.substr(colon + separator.size())));
    }
    return php_elements(std::move(headers));
}

} // namespace tarnwick::data::php
