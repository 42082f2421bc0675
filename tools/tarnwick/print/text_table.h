#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::program {

/// Text in columns, each as wide as the widest that stands in it, below a line of titles.
class TextTable {
public:
    enum class Align { left, right };
    struct Column {
        std::string_view title;
        Align align = Align::right;
    };

    explicit TextTable(std::vector<Column> columns);

    /// REQUIRES: a cell for each column.
    void add(std::vector<std::string> cells);

    [[nodiscard]] std::vector<std::string> lines() const;

private:
    std::vector<Column> columns_;
    std::vector<std::vector<std::string>> rows_;
};

} // namespace tarnwick::program
