#pragma once

#include <fmt/format.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace tarnwick::program {

/// Text in sections, each with a title and indented lines.
class Sections {
public:
    explicit Sections(bool color)
        : color_(color)
    {
    }

    [[nodiscard]] std::string const &text() const { return text_; }

    /// Writes a line without indentation, in bold if text is coloured.
    void title(std::string_view text)
    {
        text_ += text_.empty() ? "" : "\n";
        text_ += color_ ? fmt::format("\x1b[1m{}\x1b[0m\n", text) : fmt::format("{}\n", text);
    }
    void line(std::string_view text, std::size_t depth = 1) { text_ += fmt::format("{:{}}{}\n", "", 2 * depth, text); }
    /// Writes how many lines are left out, if any.
    void left_out(std::size_t count)
    {
        if (count > 0)
            line(fmt::format("and {} more", count));
    }

private:
    bool color_;
    std::string text_;
};

} // namespace tarnwick::program
