#include "print/csv.h"

namespace tarnwick::program {

std::string csv_cell(std::string_view text)
{
    if (text.find_first_of(",\"\r\n") == std::string_view::npos)
        return std::string(text);
    std::string cell = "\"";
    for (char const character : text) {
        if (character == '"')
            cell += '"';
        cell += character;
    }
    return cell + '"';
}

} // namespace tarnwick::program
