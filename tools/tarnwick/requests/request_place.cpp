#include "requests/request_place.h"

#include <filesystem>
#include <stdexcept>
#include <string_view>
#include <system_error>

namespace tarnwick::program {

RequestPlace RequestPlace::read(std::string const &text)
{
    auto const colon = text.rfind(':');
    std::error_code ignored;
    if (colon == std::string::npos || colon == 0 || std::filesystem::exists(text, ignored))
        return {text, std::nullopt};
    try {
        return {text.substr(0, colon), RequestName::read(std::string_view(text).substr(colon + 1))};
    } catch (std::invalid_argument const &) {
        return {text, std::nullopt};
    }
}

} // namespace tarnwick::program
