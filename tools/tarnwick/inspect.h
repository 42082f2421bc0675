#pragma once

#include "exit_status.h"
#include "print/json_writer.h"
#include "print/masks.h"
#include "print/record_selection.h"
#include "print/terminal.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tarnwick::program {

struct InspectOptions {
    enum class Format : std::uint8_t { automatic, text, jsonl };

    std::vector<std::string> files{"-"}; ///< `-` is standard input
    Format format = Format::automatic;
    Color color = Color::automatic;
    bool all_records = false;
    JsonStyle json_style;
    MaskOptions mask;
    ReportChoice reports;
    RecordChoice records;
    std::optional<std::uint64_t> top;
    bool follow = false; ///< continue to read as the file grows; for one file
};

/// Prints the records of captures to standard output, and faults with their places to standard error. Throws
/// `WriteError` and `BrokenPipe`.
ExitStatus inspect(InspectOptions const &options);

} // namespace tarnwick::program
