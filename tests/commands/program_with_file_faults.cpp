// The program with faults of the file system, which an environment variable describes. Its last line on standard error
// is the number of calls that failed.

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
