#include "support/file_faults.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sstream>
#include <sys/inotify.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace tarnwick::test {
namespace {

thread_local constinit FileFaults const *faults = nullptr;
thread_local constinit std::size_t met = 0;

/// The calls of one kind so far.
struct Count {
    std::size_t begun = 0;
    bool is_interrupted = false;
};
thread_local constinit Count reads;
thread_local constinit Count opens;
thread_local constinit Count entries;

/// Whether a call fails; sets `errno` to the error, or to 0 for the end of the file.
bool fails(Count &count, FileFaults::Calls const &failing)
{
    if (faults->interrupted && !count.is_interrupted) {
        count.is_interrupted = true;
        ++met;
        errno = EINTR;
        return true;
    }
    count.is_interrupted = false;
    ++count.begun;
    if (count.begun < failing.first || count.begun > failing.last)
        return false;
    ++met;
    errno = failing.error;
    return true;
}

int opened(char const *name, int flags, unsigned int mode)
{
    if (faults != nullptr && fails(opens, faults->opens))
        return -1;
    return static_cast<int>(::syscall(SYS_openat, AT_FDCWD, name, flags, mode));
}

using Readdir = dirent64 *(DIR *);

dirent64 *entry_of(DIR *listing)
{
    static auto *const next = reinterpret_cast<Readdir *>(::dlsym(RTLD_NEXT, "readdir64"));
    auto *const entry = faults != nullptr && fails(entries, faults->entries) ? nullptr : next(listing);
    if (entry == nullptr) // the next entry belongs to another listing
        entries = {};
    return entry;
}

} // namespace

std::string FileFaults::text() const
{
    std::ostringstream text;
    for (auto const &calls : {this->reads, this->opens, this->entries})
        text << calls.first << ' ' << calls.last << ' ' << calls.error << ' ';
    text << interrupted << ' ' << no_inotify << ' ' << piece;
    return text.str();
}

FileFaults FileFaults::from(std::string const &text)
{
    FileFaults given;
    std::istringstream words(text);
    for (auto *calls : {&given.reads, &given.opens, &given.entries})
        words >> calls->first >> calls->last >> calls->error;
    words >> given.interrupted >> given.no_inotify >> given.piece;
    return given;
}

FailingFiles::FailingFiles(FileFaults const &given)
{
    static thread_local FileFaults current;
    current = given;
    reads = {};
    opens = {};
    entries = {};
    test::met = 0;
    faults = &current;
}

FailingFiles::~FailingFiles()
{
    faults = nullptr;
}

std::size_t FailingFiles::met() const
{
    return test::met;
}

} // namespace tarnwick::test

// These replace the functions of the C library in all libraries of the process.
extern "C" {

ssize_t read(int descriptor, void *buffer, size_t size)
{
    using namespace tarnwick::test;
    if (faults != nullptr) {
        if (fails(reads, faults->reads))
            return errno == 0 ? 0 : -1;
        if (size > faults->piece) {
            ++met;
            size = faults->piece;
        }
    }
    return ::syscall(SYS_read, descriptor, buffer, size);
}

// NOLINTBEGIN(cert-dcl50-cpp): the functions are given
int open(char const *name, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    auto const mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, unsigned int) : 0;
    va_end(arguments);
    return tarnwick::test::opened(name, flags, mode);
}

int open64(char const *name, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    auto const mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, unsigned int) : 0;
    va_end(arguments);
    return tarnwick::test::opened(name, flags, mode);
}
// NOLINTEND(cert-dcl50-cpp)

int inotify_init1(int flags) noexcept
{
    using namespace tarnwick::test;
    if (faults != nullptr && faults->no_inotify) {
        ++met;
        errno = EMFILE;
        return -1;
    }
    return static_cast<int>(::syscall(SYS_inotify_init1, flags));
}

dirent64 *readdir64(DIR *listing)
{
    return tarnwick::test::entry_of(listing);
}

dirent *readdir(DIR *listing)
{
    static_assert(sizeof(dirent) == sizeof(dirent64));
    return reinterpret_cast<dirent *>(tarnwick::test::entry_of(listing));
}

} // extern "C"
