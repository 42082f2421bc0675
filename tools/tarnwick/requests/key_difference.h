#pragma once

#include "print/masks.h"
#include "print/text_ranges.h"
#include "requests/difference.h"
#include "requests/key_arrays.h"

#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::program {

/// A key of an array that only one of two requests has, or only the requests of a route in one of two captures.
struct KeyDifference {
    std::string_view array; ///< the name of the array, for people
    bool is_in_b = false;   ///< only B has the key, otherwise only A
    /// The key, after the keys of the arrays around it, the outermost first.
    std::vector<std::string> path;
    MethodAndRoute const *route = nullptr; ///< null for two requests
};

/// Returns the keys of headers and superglobals that only one of two requests has, as `detail::PelorinArray::diff_keys`
/// compares them. Of a nested array that one request lacks, only its own key is in the result. What only one of them
/// reports at all is not compared.
std::vector<KeyDifference> compare_keys(KeyArrays const &a, KeyArrays const &b);
/// The same for each route that both captures have. The result views `routes`.
std::vector<KeyDifference> compare_keys(std::vector<RouteDifference> const &routes);

/// Returns the parts of a key that are masked. A line of a header that has no space after its colon is a key.
TextRanges ranges_of_key(Masks const &masks, std::string_view key);

} // namespace tarnwick::program
