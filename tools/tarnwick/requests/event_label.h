#pragma once

#include <tarnwick/data/monitor/event.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string_view>

namespace tarnwick::program {

/// Returns what a kind of event means, such as `slow function`.
inline std::string_view event_label(data::monitor::Event::Kind kind)
{
    auto const &labels = data::Description<data::monitor::detail::Event>::kinds;
    auto const *const found = std::ranges::find(labels, static_cast<std::int64_t>(kind), &data::Label::value);
    return found == std::end(labels) ? "unknown" : found->meaning;
}

} // namespace tarnwick::program
