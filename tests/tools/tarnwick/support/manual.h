#pragma once

// Reads the examples of the manual pages.

#include <gtest/gtest.h>

#include <cstddef>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::test {

/// A command line in the examples of a page.
struct Example {
    std::string command;
    std::optional<std::string> output; ///< absent if the page does not print it
};

/// Returns a line of a page as a reader sees it.
inline std::string rendered(std::string line)
{
    if (line.starts_with("\\&"))
        line.erase(0, 2);
    struct Escape {
        std::string_view escape;
        std::string_view text;
    };
    for (auto const &[escape, text] : {Escape{"\\(aq", "'"}, Escape{"\\(dq", "\""}, Escape{"\\e", "\\"}}) {
        for (std::size_t at = 0; (at = line.find(escape, at)) != std::string::npos; at += text.size())
            line.replace(at, escape.size(), text);
    }
    return line;
}

/// Returns the examples of a page: lines after `$` in displays, with their output, and displays of one line.
inline std::vector<Example> examples_of(std::string const &page)
{
    std::vector<Example> examples;
    std::ifstream lines(TARNWICK_MANUAL "/" + page);
    EXPECT_TRUE(lines.is_open()) << page;
    bool in_examples = false;
    bool in_display = false;
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with(".Sh "))
            in_examples = line == ".Sh EXAMPLES";
        else if (line.starts_with(".Bd") || line.starts_with(".Ed"))
            in_display = false;
        if (!in_examples)
            continue;
        if (line.starts_with(".Dl ")) {
            examples.push_back({rendered(line.substr(4)), std::nullopt});
        } else if (line.starts_with("$ ")) {
            examples.push_back({rendered(line.substr(2)), ""});
            in_display = true;
        } else if (in_display) {
            examples.back().output.value() += rendered(line) + "\n";
        }
    }
    return examples;
}

} // namespace tarnwick::test
