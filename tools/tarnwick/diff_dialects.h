#pragma once

#include "diff.h"
#include "exit_status.h"
#include "print/masks.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tarnwick::program {

struct DiffDialectsOptions {
    using Format = DiffOptions::Format;

    std::vector<std::string> files{"-"}; ///< `-` is standard input
    Format format = Format::automatic;
    MaskOptions mask;
    JsonStyle json_style;
    RequestFilter filter;
    std::optional<std::uint64_t> top; ///< how many differences are printed
};

/// Prints where the dialects of requests disagree: as text, a field with its first difference; as JSON lines, each
/// difference. Returns `input_fault` if there is a difference, or nothing to compare. Throws `WriteError` and
/// `BrokenPipe`.
ExitStatus diff_dialects(DiffDialectsOptions const &options);

} // namespace tarnwick::program
