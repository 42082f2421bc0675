#pragma once

#include <google/protobuf/message.h>

#include <string>

namespace tarnwick::program {

/// Parses a report in which at most `max_depth` messages are nested below the report's own. Returns whether `message` is it.
[[nodiscard]] bool parses_report(google::protobuf::Message &message, std::string const &bytes, int max_depth);

/// Parses a report in which at most `max_depth` messages lie in each other below the report's own. Says what is wrong with
/// it; nothing when `message` holds it.
[[nodiscard]] std::string parse_report(google::protobuf::Message &message, std::string const &bytes, int max_depth);

} // namespace tarnwick::program
