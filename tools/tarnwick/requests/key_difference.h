#pragma once

#include "requests/request_records.h"

#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::program {

/// A key of an array that only one of two requests has.
struct KeyDifference {
    std::string_view array; ///< the name of the array, for people
    bool is_in_b = false;   ///< only B has the key, otherwise only A
    /// The key, after the keys of the arrays around it, the outermost first.
    std::vector<std::string> path;
};

/// Returns the keys of headers and superglobals that only one of two requests has, as `detail::PelorinArray::diff_keys`
/// compares them. Of a nested array that one request lacks, only its own key is in the result. What only one of them
/// reports at all is not compared.
std::vector<KeyDifference> compare_keys(RequestRecords const &a, RequestRecords const &b);

} // namespace tarnwick::program
