// The program, on a system whose files fail in the way that a variable of the environment says. How many calls met that is
// the last thing that it says on standard error.

#include "command_line.h"
#include "standard_error.h"

#include "support/file_faults.h"

#include <cstdlib>
#include <string>

int main(int argc, char **argv)
{
    auto const *const text = std::getenv("TARNWICK_TEST_FILE_FAULTS"); // NOLINT(concurrency-mt-unsafe)
    if (text == nullptr)
        return EXIT_FAILURE;
    tarnwick::test::FailingFiles const failing(tarnwick::test::FileFaults::from(text));
    auto const status = tarnwick::program::run(argc, argv);
    tarnwick::program::print_error("calls that met a fault: " + std::to_string(failing.met()) + '\n');
    return status;
}
