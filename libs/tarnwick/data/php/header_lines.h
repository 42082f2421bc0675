#pragma once

// Not installed.

#include <tarnwick/data/php/zval.h>

#include <google/protobuf/repeated_ptr_field.h>

#include <string>

namespace tarnwick::data::php {

/// Splits raw header lines into names and values, in their order. Each line is split at its first colon that is
/// followed by a space. Nothing is trimmed, decoded or merged: both parts are strings of the bytes as sent. A line
/// without such a colon is a name whose value is of kind `undefined`.
PelorinArray split_header_lines(google::protobuf::RepeatedPtrField<std::string> const &lines);

} // namespace tarnwick::data::php
