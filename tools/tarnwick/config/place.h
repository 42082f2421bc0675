#pragma once

#include <QtCore/QString>

#include <algorithm>
#include <cstdint>
#include <vector>

namespace tarnwick::program {

/// A line of a configuration file, with the chain of includes that led to the file. All places in a file share the
/// chain, which the `LineTracker` owns.
struct ConfigPlace {
    struct Line {
        QString file;
        std::int32_t number = 0;
    };
    struct Include {
        Line line;
        Include const *outer = nullptr; ///< the include that led to the file of `line`; null for the root
    };

    Line line;
    Include const *include = nullptr; ///< null for the root

    /// Returns the lines of the includes, starting at the root.
    [[nodiscard]] std::vector<Line> includes() const
    {
        std::vector<Line> lines;
        for (auto const *each = include; each != nullptr; each = each->outer)
            lines.push_back(each->line);
        std::ranges::reverse(lines);
        return lines;
    }
};

} // namespace tarnwick::program
