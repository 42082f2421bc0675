#include "requests/sorted_rows.h"

#include <string_view>
#include <variant>

namespace tarnwick::program {

bool is_before(FieldValue const &left, FieldValue const &right, bool is_descending)
{
    bool const left_is_absent = std::holds_alternative<std::monostate>(left);
    bool const right_is_absent = std::holds_alternative<std::monostate>(right);
    if (left_is_absent || right_is_absent)
        return !left_is_absent && right_is_absent;
    auto const &low = is_descending ? right : left;
    auto const &high = is_descending ? left : right;
    if (auto const *number = std::get_if<long double>(&low))
        return *number < std::get<long double>(high);
    if (auto const *text = std::get_if<std::string_view>(&low))
        return *text < std::get<std::string_view>(high);
    if (auto const *boolean = std::get_if<bool>(&low))
        return static_cast<int>(*boolean) < static_cast<int>(std::get<bool>(high));
    return false;
}

} // namespace tarnwick::program
