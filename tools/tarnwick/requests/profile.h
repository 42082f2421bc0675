#pragma once

#include "requests/key_tree.h"
#include "requests/request_activity.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string_view>

namespace tarnwick::program {

/// The columns of requests of which a profile has means. Those of time are in nanoseconds.
inline constexpr std::array<std::string_view, 5> measures{"duration", "memory", "statements", "errors", "events"};
inline constexpr std::size_t duration_measure = 0;
inline constexpr std::size_t memory_measure = 1;
inline constexpr std::size_t statements_measure = 2;
inline constexpr std::size_t errors_measure = 3;

/// The means of some requests, and the keys of their arrays.
class Profile {
public:
    void add(RequestActivity const &request);

    [[nodiscard]] std::uint64_t requests() const { return requests_; }
    /// The mean over the requests that have a value; nothing if none has.
    [[nodiscard]] std::optional<double> mean(std::size_t measure) const;
    /// How many requests ended with each status.
    [[nodiscard]] std::map<std::int32_t, std::uint64_t> const &statuses() const { return statuses_; }
    /// The means over all requests.
    [[nodiscard]] Amounts means(ActivityKind kind) const;
    /// The keys that any of the requests has.
    [[nodiscard]] KeyArrays keys() const { return arrays_of(keys_); }

private:
    struct Sum {
        double total = 0;
        std::uint64_t values = 0;
    };

    std::uint64_t requests_ = 0;
    std::array<Sum, measures.size()> sums_;
    std::map<std::int32_t, std::uint64_t> statuses_;
    std::array<Amounts, activity_kinds.size()> totals_;
    KeyTrees keys_;
};

} // namespace tarnwick::program
