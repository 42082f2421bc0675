#pragma once

#include "requests/condition.h"
#include "requests/profile.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace tarnwick::program {

/// A limit for the growth of a measure, as `--fail-if` takes it: `duration>20%`, `memory>10MB`, `statements>5`.
class GrowthLimit {
public:
    /// Throws `std::invalid_argument` for a text that is not a limit.
    explicit GrowthLimit(std::string_view text);

    [[nodiscard]] std::string const &text() const { return text_; }
    [[nodiscard]] std::size_t measure() const { return measure_; }

    /// Returns whether the mean of B exceeds that of A by more than the limit; nothing if one of them is absent. Any
    /// growth from 0 exceeds a limit in percent.
    [[nodiscard]] std::optional<bool> is_exceeded(Profile const &a, Profile const &b) const;

private:
    std::string text_;
    std::size_t measure_ = 0;
    bool is_percentage_ = false;
    Condition condition_; ///< on the growth
};

} // namespace tarnwick::program
