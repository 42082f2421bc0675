#pragma once

#include "exit_status.h"
#include "print/masks.h"
#include "requests/find_request.h"
#include "requests/request_columns.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tarnwick::program {

struct LsOptions {
    enum class Format : std::uint8_t { automatic, text, jsonl, csv };

    std::vector<std::string> files{"-"}; ///< `-` is standard input
    Format format = Format::automatic;
    MaskOptions mask;
    std::vector<RequestColumn const *> columns; ///< all of them, or those for people, if empty
    RequestFilter filter;
    RequestColumn const *sort = nullptr; ///< by first report if null
    bool is_descending = false;
    std::optional<std::uint64_t> top;
};

/// Prints one line for each request of the captures. Throws `WriteError` and `BrokenPipe`.
ExitStatus ls(LsOptions const &options);

} // namespace tarnwick::program
