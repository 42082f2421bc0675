#include "requests/route.h"

#include <algorithm>
#include <cstddef>
#include <set>

namespace tarnwick::program {
namespace {

bool is_decimal_digit(char character)
{
    return character >= '0' && character <= '9';
}

bool is_hexadecimal_digit(char character)
{
    return is_decimal_digit(character) || (character >= 'a' && character <= 'f') ||
           (character >= 'A' && character <= 'F');
}

bool is_part_of_word(char character)
{
    return is_decimal_digit(character) || (character >= 'a' && character <= 'z') ||
           (character >= 'A' && character <= 'Z') || static_cast<unsigned char>(character) >= 0x80U;
}

std::size_t word_size(std::string_view text)
{
    return static_cast<std::size_t>(std::ranges::find_if_not(text, is_part_of_word) - text.begin());
}

/// Returns whether a word starts as an escaped byte, such as %20.
bool is_escape(std::string_view text)
{
    return text.size() >= 3 && text[0] == '%' && is_hexadecimal_digit(text[1]) && is_hexadecimal_digit(text[2]);
}

/// Returns the size of the UUID at the start of a text; 0 if there is none.
std::size_t uuid_size(std::string_view text)
{
    constexpr std::string_view form = "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";
    auto const fits = [](char character, char expected) {
        return expected == 'x' ? is_hexadecimal_digit(character) : character == expected;
    };
    bool const is_uuid = text.size() >= form.size() && std::ranges::equal(text.substr(0, form.size()), form, fits) &&
                         word_size(text.substr(form.size())) == 0;
    return is_uuid ? form.size() : 0;
}

bool is_id_word(std::string_view word)
{
    constexpr std::size_t least_hexadecimal = 16;
    return std::ranges::all_of(word, is_decimal_digit) ||
           (word.size() >= least_hexadecimal && std::ranges::all_of(word, is_hexadecimal_digit));
}

std::string with_placeholders(std::string_view text)
{
    std::string result;
    while (!text.empty()) {
        auto size = uuid_size(text);
        bool is_placeholder = size > 0;
        if (!is_placeholder) {
            size = word_size(text);
            is_placeholder = size > 0 && is_id_word(text.substr(0, size));
        }
        if (size == 0)
            size = is_escape(text) ? 3 : 1;
        result += is_placeholder ? id_placeholder : text.substr(0, size);
        text.remove_prefix(size);
    }
    return result;
}

} // namespace

std::string route_of(std::string_view uri)
{
    uri = uri.substr(0, uri.find('#'));
    auto const question = uri.find('?');
    auto route = with_placeholders(uri.substr(0, question));
    if (question == std::string_view::npos)
        return route;
    std::set<std::string> names;
    for (auto query = uri.substr(question + 1); !query.empty();) {
        auto const parameter = query.substr(0, query.find('&'));
        if (auto const name = parameter.substr(0, parameter.find('=')); !name.empty())
            names.insert(with_placeholders(name));
        query.remove_prefix(std::min(parameter.size() + 1, query.size()));
    }
    char separator = '?';
    for (auto const &name : names) {
        route += separator + name;
        separator = '&';
    }
    return route;
}

bool is_id(std::string_view text)
{
    return with_placeholders(text) == id_placeholder;
}

} // namespace tarnwick::program
