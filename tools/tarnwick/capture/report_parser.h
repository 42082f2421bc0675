#pragma once

#include <google/protobuf/message.h>

#include <optional>
#include <string>

namespace tarnwick::program {

/// Parses a report in which at most `max_depth` messages are nested below the report's own. Returns whether it could.
[[nodiscard]] bool parses_report(google::protobuf::Message &message, std::string const &bytes, int max_depth);

/// Like `parses_report`, but returns the fault of the report; nothing when `message` is parsed.
[[nodiscard]] std::optional<std::string> parse_report(google::protobuf::Message &message, std::string const &bytes, int max_depth);

} // namespace tarnwick::program
