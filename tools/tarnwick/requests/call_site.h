#pragma once

#include <tarnwick/data/php/function.h>
#include <tarnwick/data/php/stack_trace.h>

#include <string>

namespace tarnwick::program {

/// Returns the call of a trace that a developer looks for: the first one in a file of the application. If there is none,
/// returns the first call in any file, otherwise the first call. Returns null for a trace without calls.
///
/// Other files are those of libraries: in an archive (`phar://`), in a directory `vendor` or `node_modules`, or in a
/// directory into which the system or PHP installs libraries.
data::php::Function const *call_site(data::php::StackTrace const &trace);

/// Returns the file and the line of that call, or its name if it has no file. Long names are cut. Returns an empty text
/// for a trace without calls.
std::string call_site_text(data::php::StackTrace const &trace);

} // namespace tarnwick::program
