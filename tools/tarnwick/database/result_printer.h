#pragma once

#include "database/user_query.h"
#include "print/json_writer.h"
#include "print/output.h"
#include "print/text_table.h"
#include "requests/table_options.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarnwick::program {

/// Prints the rows of a result as a table for people, as JSON lines or as CSV.
class ResultPrinter {
public:
    /// REQUIRES: `format` is not automatic.
    ResultPrinter(Output &output, TableFormat format, std::vector<std::string> columns);

    void print(std::vector<ResultValue> const &values);
    /// Prints what is kept for the width of columns.
    void finish();

    [[nodiscard]] std::uint64_t rows() const { return rows_; }

private:
    static constexpr std::uint64_t rows_of_one_width = 1000;

    /// Starts the table. Numbers in the first row are at the right.
    void start_table(std::vector<ResultValue> const &first_row);
    void print_json(std::vector<ResultValue> const &values);
    void print_csv(std::vector<std::string> const &cells);

    Output &output_;
    TableFormat format_;
    std::vector<std::string> columns_;
    std::optional<std::size_t> width_; ///< of the terminal
    std::unique_ptr<TextTable> table_;
    JsonWriter json_;
    std::uint64_t rows_ = 0;
};

} // namespace tarnwick::program
