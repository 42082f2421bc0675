#include "support/allocation_faults.h"

#include <fmt/format.h>

#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <string_view>
#include <type_traits>

namespace tarnwick::test {
namespace {

std::string_view violation_of(Run::Outcome outcome, bool had_fault)
{
    switch (outcome) {
    case Run::Outcome::complete:
        return {};
    case Run::Outcome::incomplete:
        return "the result is not that of a run without faults";
    case Run::Outcome::bad_alloc:
        return had_fault ? std::string_view() : "std::bad_alloc came out though nothing had failed";
    case Run::Outcome::other_exception:
        return "an exception other than std::bad_alloc came out";
    case Run::Outcome::end_of_process:
        return "the process ended";
    }
    return "no outcome";
}

} // namespace

std::string Run::violation() const
{
    std::string text(violation_of(outcome, had_fault));
    if (blocks_left != 0)
        text += fmt::format("{}{} blocks of memory more than before", text.empty() ? "" : ", ", blocks_left);
    return text;
}

AllocationFaults fail_each_allocation(std::function<Run(std::size_t first, std::size_t last)> const &run)
{
    AllocationFaults faults;
    auto const has_fault = [&](std::size_t first, std::size_t last) {
        auto const ended = run(first, last);
        if (auto const violation = ended.violation(); !violation.empty())
            faults.violations.push_back(
                fmt::format("allocation {}{}: {}", first, last == first ? "" : " and all after it", violation));
        faults.count += ended.had_fault;
        return ended.had_fault;
    };
    for (std::size_t nth = 1; has_fault(nth, nth); ++nth)
        ;
    for (std::size_t nth = 1; has_fault(nth, FailingAllocations::from_then_on); ++nth)
        ;
    return faults;
}

Run in_a_process(std::function<Run()> const &run)
{
    static_assert(std::is_trivially_copyable_v<Run>);
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0)
        std::abort();
    auto const child = fork();
    if (child == 0) {
        // The child's messages are expected.
        close(STDERR_FILENO);
        auto const result = run();
        _exit(write(ends[1], &result, sizeof result) == sizeof result ? EXIT_SUCCESS : EXIT_FAILURE);
    }
    close(ends[1]);
    Run result;
    if (::read(ends[0], &result, sizeof result) != sizeof result)
        result = {.outcome = Run::Outcome::end_of_process, .had_fault = true};
    close(ends[0]);
    waitpid(child, nullptr, 0);
    return result;
}

} // namespace tarnwick::test
