#include "requests/statement_summary.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace tarnwick::program {

bool StatementSummary::is_n_plus_one() const
{
    constexpr std::array<std::string_view, 8> words_of_data{"CALL",    "DELETE", "INSERT", "MERGE",
                                                            "REPLACE", "SELECT", "UPDATE", "WITH"};
    return per_request >= min_repeats && std::ranges::find(words_of_data, word) != words_of_data.end();
}

} // namespace tarnwick::program
