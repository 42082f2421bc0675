#pragma once

#include "print/text_table.h"
#include "print/text_width.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace tarnwick::program {

/// Text in sections, each with a title and indented lines.
class Sections {
public:
    /// `width`: of the terminal. Without it, lines have any width.
    Sections(bool color, std::optional<std::size_t> width)
        : color_(color)
        , width_(width)
    {
    }

    [[nodiscard]] std::string const &text() const { return text_; }

    /// Writes a line without indentation, in bold if text is coloured.
    void title(std::string_view text)
    {
        text_ += text_.empty() ? "" : "\n";
        text_ += color_ ? fmt::format("\x1b[1m{}\x1b[0m\n", text) : fmt::format("{}\n", text);
    }
    void line(std::string_view text, std::size_t depth = 1)
    {
        text_ += fmt::format("{:{}}{}\n", "", indentation(depth), text);
    }
    /// Writes a line whose end counts, such as a place. A narrow terminal cuts its middle.
    void line_to_end(std::string_view text, std::size_t depth)
    {
        auto const width = room(depth);
        line(width ? cut_middle(text, *width) : std::string(text), depth);
    }
    void table(TextTable &&table)
    {
        for (auto const &text : table.take_lines())
            line(text);
        if (auto const text = table.left_out_text())
            words(*text);
    }
    /// Writes a text in as many lines as its words need.
    void words(std::string_view text)
    {
        auto const width = room();
        std::string row;
        while (!text.empty()) {
            auto const word = text.substr(0, text.find(' '));
            text.remove_prefix(std::min(word.size() + 1, text.size()));
            if (!row.empty() && width && row.size() + 1 + word.size() > *width)
                line(std::exchange(row, {}));
            row += row.empty() ? "" : " ";
            row += word;
        }
        line(row);
    }
    /// How many columns a line has after its indentation.
    [[nodiscard]] std::optional<std::size_t> room(std::size_t depth = 1) const
    {
        return width_ ? std::optional(std::max<std::size_t>(*width_ - std::min(*width_, indentation(depth)), 1))
                      : std::nullopt;
    }
    /// Writes how many lines are left out, if any.
    void left_out(std::size_t count)
    {
        if (count > 0)
            line(fmt::format("and {} more", count));
    }

private:
    [[nodiscard]] std::size_t indentation(std::size_t depth) const
    {
        return std::min(2 * depth, width_.value_or(SIZE_MAX) / 6);
    }

    bool color_;
    std::optional<std::size_t> width_;
    std::string text_;
};

} // namespace tarnwick::program
