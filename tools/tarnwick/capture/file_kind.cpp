#include "capture/file_kind.h"

#include <algorithm>

namespace tarnwick::program {
namespace {

constexpr std::string_view space = " \t\r\n";

bool is_control(char character)
{
    return static_cast<unsigned char>(character) < ' ' && space.find(character) == std::string_view::npos;
}

/// Returns whether the text can be the start of a value in a JSON list. A line of a log can start with a date in
/// brackets.
bool begins_value(std::string_view head)
{
    if (std::string_view("\"{[]").find(head.front()) != std::string_view::npos)
        return true;
    for (std::string_view const word : {"true", "false", "null"}) {
        if (head.starts_with(word))
            return true;
    }
    constexpr std::string_view digits = "0123456789";
    if (head.front() == '-')
        head.remove_prefix(1);
    auto const size = std::min(head.find_first_not_of(digits), head.size());
    constexpr std::string_view after_digits = ".eE,] \t\r\n";
    return size > 0 && (size == head.size() || after_digits.find(head[size]) != std::string_view::npos);
}

/// Returns whether the text can be the start of a JSON object or list.
bool is_json(std::string_view head)
{
    if (std::ranges::any_of(head, is_control))
        return false;
    head.remove_prefix(std::min(head.find_first_not_of(space), head.size()));
    if (head.empty() || (head.front() != '{' && head.front() != '['))
        return false;
    bool const is_object = head.front() == '{';
    head.remove_prefix(1);
    head.remove_prefix(std::min(head.find_first_not_of(space), head.size()));
    return !head.empty() && (is_object ? head.front() == '"' || head.front() == '}' : begins_value(head));
}

} // namespace

std::string_view describe_foreign_file(std::string_view head)
{
    if (head.starts_with("\x1f\x8b"))
        return "not a capture: the file is compressed with gzip; pipe it through `zcat`";
    if (head.starts_with("\x28\xb5\x2f\xfd"))
        return "not a capture: the file is compressed with zstd; pipe it through `zstdcat`";
    if (head.starts_with("<?php"))
        return "not a capture: the file is PHP source";
    if (is_json(head))
        return "not a capture: the file is JSON";
    return "not a capture: it has no frame with a known report";
}

} // namespace tarnwick::program
