#include "requests/request_name.h"

#include <fmt/format.h>

#include <charconv>
#include <stdexcept>
#include <string>
#include <system_error>

namespace tarnwick::program {

RequestName RequestName::read(std::string_view text)
{
    if (text == "slowest")
        return {Kind::slowest, 0};
    if (text == "last")
        return {Kind::last, 0};
    bool const is_number = text.starts_with('@');
    std::string const digits(text.substr(is_number ? 1 : 0));
    RequestName name{is_number ? Kind::number : Kind::id, 0};
    auto const *const end = digits.data() + digits.size();
    if (auto const [last, fault] = std::from_chars(digits.data(), end, name.value); fault != std::errc() || last != end)
        throw std::invalid_argument(
            fmt::format("'{}' is not a request: give its id, its number as @1, slowest or last", text));
    return name;
}

} // namespace tarnwick::program
