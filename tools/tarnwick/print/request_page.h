#pragma once

#include "print/masks.h"
#include "requests/find_request.h"

#include <cstddef>
#include <optional>
#include <string>

namespace tarnwick::program {

struct RequestPageStyle {
    bool color = false;
    bool all = false; ///< nothing is left out or cut
    // NOLINTBEGIN(readability-redundant-member-init): designators leave them out
    std::optional<std::size_t> width{}; ///< of the terminal
    Masks masks{};
    // NOLINTEND(readability-redundant-member-init)
};

/// Returns a request as text for people, with its secrets masked. Only sections that have content are printed.
std::string request_page(FoundRequest const &request, RequestPageStyle const &style);

} // namespace tarnwick::program
