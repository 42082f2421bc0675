#pragma once

#include "exit_status.h"
#include "print/masks.h"
#include "print/terminal.h"
#include "requests/find_request.h"
#include "requests/request_name.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tarnwick::program {

struct ShowOptions {
    enum class Format : std::uint8_t { automatic, text, jsonl };

    RequestName request;
    std::vector<std::string> files{"-"}; ///< `-` is standard input
    Format format = Format::automatic;
    Color color = Color::automatic;
    MaskOptions mask;
    JsonStyle json_style;
    bool all = false; ///< nothing is left out or cut
    RequestFilter filter;
};

/// Prints one request. Throws `WriteError` and `BrokenPipe`.
ExitStatus show(ShowOptions const &options);

} // namespace tarnwick::program
