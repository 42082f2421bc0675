#pragma once

#include "print/masks.h"
#include "requests/find_request.h"

#include <string>

namespace tarnwick::program {

/// Returns what the page shows of a request, as JSON. REQUIRES: all of its records are collected, and it is chosen.
///
/// | Member       | Content                                                                                     |
/// |--------------|---------------------------------------------------------------------------------------------|
/// | `records`    | the records, as the JSON lines of `show` have them, in the same order. `call_sites` are the  |
/// |              | positions of the call sites in their traces, one for each trace, `null` without a call site |
/// | `statements` | the statements of the request, as the JSON lines of `statements` have them                  |
/// | `changes`    | the positions of changed superglobals: `[GROUP, ELEMENT, GROUP, ELEMENT]`, in the record of |
/// |              | the change and in the record of the start; `null` for no element or no old value            |
std::string request_details(FoundRequest const &request, Masks const &masks);

} // namespace tarnwick::program
