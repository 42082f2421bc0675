#pragma once

#include "exit_status.h"
#include "print/masks.h"
#include "requests/find_request.h"
#include "requests/growth_limit.h"
#include "requests/request_place.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace tarnwick::program {

struct DiffOptions {
    enum class Format : std::uint8_t { automatic, text, jsonl };

    RequestPlace a;
    RequestPlace b; ///< a request if `a` is one, otherwise a capture
    Format format = Format::automatic;
    MaskOptions mask;
    JsonStyle json_style;
    RequestFilter filter;
    std::optional<std::uint64_t> top; ///< how many differences of a kind are printed
    std::vector<GrowthLimit> limits;
};

/// Prints the differences of two requests or of two captures. Returns `limit_exceeded` if a limit is exceeded, or if it
/// cannot be checked. Throws `WriteError` and `BrokenPipe`.
ExitStatus diff(DiffOptions const &options);

} // namespace tarnwick::program
