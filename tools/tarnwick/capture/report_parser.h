#pragma once

#include <google/protobuf/message.h>

#include <optional>
#include <string>

namespace tarnwick::program {

/// Limit of nested messages in a report. A PHP array takes three levels; PHP itself accepts 64 nested arrays from a
/// request. Parsing, building and printing such a report need at most 256 KiB of stack. Parsing needs the most, some
/// 190 bytes a message.
inline constexpr int max_report_depth = 1000;

/// Parses a report that nests messages at most `max_report_depth` deep. Returns whether that succeeded.
[[nodiscard]] bool try_parse_report(google::protobuf::Message &message, std::string const &bytes);

/// Parses a report like `try_parse_report`. Returns the fault of the report, if any.
[[nodiscard]] std::optional<std::string> parse_report(google::protobuf::Message &message, std::string const &bytes);

} // namespace tarnwick::program
