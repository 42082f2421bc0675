#include "support/failing_reads.h"

#include <cerrno>
#include <sys/syscall.h>
#include <unistd.h>

namespace tarnwick::test {
namespace {

thread_local bool failing = false;
thread_local int with_error = 0;

} // namespace

FailingReads::FailingReads(int error)
{
    failing = true;
    with_error = error;
}

FailingReads::~FailingReads()
{
    failing = false;
}

} // namespace tarnwick::test

// In place of the C library's own, for all libraries of the process.
extern "C" ssize_t read(int descriptor, void *buffer, size_t size)
{
    if (tarnwick::test::failing) {
        errno = tarnwick::test::with_error;
        return errno == 0 ? 0 : -1;
    }
    return ::syscall(SYS_read, descriptor, buffer, size);
}
