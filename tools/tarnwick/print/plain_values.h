#pragma once

#include "print/json_writer.h"

#include <tarnwick/data/php/zval.h>

namespace tarnwick::program {

/// Writes a PHP value as the JSON that resembles it most.
///
/// | PHP value                               | JSON                                                               |
/// |-----------------------------------------|--------------------------------------------------------------------|
/// | undefined, null                         | `null`                                                             |
/// | bool, finite double                     | boolean, number                                                    |
/// | long                                    | number; `{"$long":"DIGITS"}` if ids are strings and a double would |
/// |                                         | lose digits                                                        |
/// | other double                            | `{"$double":"NaN"}`, `"Infinity"` or `"-Infinity"`                 |
/// | string                                  | string; `{"$base64":"TEXT"}` if the bytes are not UTF-8, or have   |
/// |                                         | NUL and the style does not permit that                             |
/// | array                                   | as below                                                           |
/// | object                                  | `{"$object":"CLASS","properties":ARRAY,"value":VALUE}`             |
/// | resource                                | `{"$resource":"TYPE","value":VALUE}`                               |
/// | JSON                                    | `{"$json":"TEXT"}`; TEXT as for a string                           |
/// | time                                    | `{"$timestamp":{"seconds":S,"nanos":N}}`                           |
///
/// So an object whose first member starts with `$` is never a PHP array.
void write_plain(JsonWriter &writer, data::php::detail::ZVal const &value);

/// Writes a PHP array:
///
/// - as a list of its values if its keys are 0, 1, 2 and so on, in this order; an array without elements is `[]`;
/// - as an object if its keys are strings that are unique, UTF-8, and do not start with `$` or have NUL that the style
///   does not permit;
/// - otherwise as `{"$entries":[[KEY,VALUE],...]}`.
void write_plain(JsonWriter &writer, data::php::detail::PelorinArray const &array);

} // namespace tarnwick::program
