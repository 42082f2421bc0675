#pragma once

#include <google/protobuf/message.h>

#include <optional>
#include <string>

namespace tarnwick::program {

/// Parses a report that nests messages at most `max_depth` deep. Returns whether that succeeded.
[[nodiscard]] bool try_parse_report(google::protobuf::Message &message, std::string const &bytes, int max_depth);

/// Parses a report like `try_parse_report`. Returns the fault of the report, if any.
[[nodiscard]] std::optional<std::string> parse_report(google::protobuf::Message &message, std::string const &bytes,
                                                      int max_depth);

} // namespace tarnwick::program
