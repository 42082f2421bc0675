#pragma once

#include "support/allocations.h"

#include <cstddef>
#include <functional>
#include <new>
#include <string>
#include <vector>

namespace tarnwick::test {

/// How a run ended in which allocations may have failed.
struct Run {
    enum class Outcome { complete, incomplete, bad_alloc, other_exception, end_of_process };

    Outcome outcome = Outcome::complete;
    bool had_fault = false;
    std::ptrdiff_t blocks_left = 0; ///< blocks of memory more than before

    /// What it broke, empty if nothing.
    [[nodiscard]] std::string violation() const;
};

/// Runs with faults: how many there were, and what was broken by which.
struct AllocationFaults {
    std::size_t count = 0;
    std::vector<std::string> violations;
};

/// Calls `run(first, last)`, for a run in which the allocations from `first` to `last` fail, with each allocation in turn
/// as the first, until nothing failed: once so that it alone fails, once so that all behind it fail too.
AllocationFaults fail_each_allocation(std::function<Run(std::size_t first, std::size_t last)> const &run);

/// The same run in a process of its own, so that it can end it.
Run in_a_process(std::function<Run()> const &run);

/// What is to be run. `prepare()` gives what the operation needs, `operate(prepared)` gives the result, `print_error(result)` is
/// all that is in it. The operation alone meets faults.
template <class Prepare, class Operate, class Tell>
struct Operation {
    Prepare prepare;
    Operate operate;
    Tell tell;

    [[nodiscard]] std::string result_without_faults() const
    {
        auto &&prepared = prepare();
        return print_error(operate(prepared));
    }

    [[nodiscard]] Run run(std::size_t first, std::size_t last, std::string const &expected) const
    {
        Run run;
        auto const blocks = live_blocks();
        {
            auto &&prepared = prepare();
            FailingAllocations failing(first, last);
            try {
                auto const result = operate(prepared);
                run.had_fault = failing.stop() > 0;
                run.outcome = print_error(result) == expected ? Run::Outcome::complete : Run::Outcome::incomplete;
            } catch (std::bad_alloc const &) {
                run.outcome = Run::Outcome::bad_alloc;
            } catch (...) {
                run.outcome = Run::Outcome::other_exception;
            }
            run.had_fault |= failing.stop() > 0;
        }
        run.blocks_left = live_blocks() - blocks;
        return run;
    }
};

/// Lets each allocation of an operation fail. Each run must end in `std::bad_alloc` or give what a run without faults
/// gives, and leave as many blocks of memory as there were.
template <class... Parts>
AllocationFaults fail_each_allocation(Operation<Parts...> const &operation)
{
    // What a process makes once, at first use, is made here.
    auto const expected = operation.result_without_faults();
    return fail_each_allocation(
        [&](std::size_t first, std::size_t last) { return operation.run(first, last, expected); });
}

/// The same for an operation that may end its process, which is a violation like others. Up to the first one, since
/// processes take time.
template <class... Parts>
AllocationFaults fail_each_allocation_in_processes(Operation<Parts...> const &operation)
{
    auto const expected = operation.result_without_faults();
    bool is_violated = false;
    return fail_each_allocation([&](std::size_t first, std::size_t last) {
        if (is_violated)
            return Run();
        auto const run = in_a_process([&] { return operation.run(first, last, expected); });
        is_violated = !run.violation().empty();
        return run;
    });
}

} // namespace tarnwick::test
