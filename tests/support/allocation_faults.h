#pragma once

#include "support/allocations.h"

#include <cstddef>
#include <functional>
#include <new>
#include <string>
#include <vector>

namespace tarnwick::test {

/// The end of a run in which allocations may have failed.
struct Run {
    enum class Outcome { complete, incomplete, bad_alloc, other_exception, end_of_process };

    Outcome outcome = Outcome::complete;
    bool had_fault = false;
    std::ptrdiff_t blocks_left = 0; ///< blocks of memory more than before

    /// The promise that the run broke, empty if none.
    [[nodiscard]] std::string violation() const;
};

/// The number of runs with faults, and what each broken promise was.
struct AllocationFaults {
    std::size_t count = 0;
    std::vector<std::string> violations;
};

/// Calls `run(first, last)`, in which the allocations from `first` to `last` fail, with each allocation in turn as the
/// first, until no allocation fails: once so that it alone fails, once so that all later ones fail too.
AllocationFaults fail_each_allocation(std::function<Run(std::size_t first, std::size_t last)> const &run);

/// The same run in a child process, which the run may end.
Run in_a_process(std::function<Run()> const &run);

/// An operation to run: `prepare()` returns its input, `operate(prepared)` its result, and `text_of(result)` the whole
/// content of the result as text. Only allocations of `operate` fail.
template <class Prepare, class Operate, class TextOf>
struct Operation {
    Prepare prepare;
    Operate operate;
    TextOf text_of;

    [[nodiscard]] std::string result_without_faults() const
    {
        auto &&prepared = prepare();
        return text_of(operate(prepared));
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
                run.outcome = text_of(result) == expected ? Run::Outcome::complete : Run::Outcome::incomplete;
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

/// Fails each allocation of an operation in turn. Each run must throw `std::bad_alloc` or return the result of a run
/// without faults, and must leave as many blocks of memory as before.
template <class... Parts>
AllocationFaults fail_each_allocation(Operation<Parts...> const &operation)
{
    // Objects that a process allocates once, at first use, are allocated here.
    auto const expected = operation.result_without_faults();
    return fail_each_allocation(
        [&](std::size_t first, std::size_t last) { return operation.run(first, last, expected); });
}

/// The same for an operation that may end its process, which is a violation like others. Stops at the first violation,
/// since processes take time.
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
