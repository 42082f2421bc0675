#include "support/records/constructor.h"

#include <fmt/format.h>

namespace tarnwick::test {

AllocationFaults fail_all_shapes(Constructor const &constructor, std::size_t faults_wanted)
{
    constexpr std::uint32_t shapes_wanted = 20;

    FieldCoverage coverage;
    AllocationFaults all;
    for (std::uint32_t shape = 0; shape < shapes_wanted || (all.count > 0 && all.count < faults_wanted); ++shape) {
        auto const faults = constructor.fail_each_allocation(shape, coverage);
        all.count += faults.count;
        for (auto const &violation : faults.violations)
            all.violations.push_back(fmt::format("shape {}, {}", shape, violation));
        if (!all.violations.empty())
            return all;
    }
    if ((all.count > 0) != constructor.takes_memory)
        all.violations.emplace_back(constructor.takes_memory ? "no allocation failed" : "memory was taken");
    for (auto const &field : coverage.never_filled())
        all.violations.push_back("never filled: " + field);
    for (auto const &field : coverage.never_absent())
        all.violations.push_back("never absent: " + field);
    return all;
}

} // namespace tarnwick::test
