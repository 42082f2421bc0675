#include "output_file.h"

#include "error_text.h"
#include "print/output.h"
#include "print/readable_text.h"

#include <fmt/format.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace tarnwick::program {
namespace {

constexpr int ending_signals[] = {SIGHUP, SIGINT, SIGTERM};
constexpr mode_t all_may_read_and_write = 0666; // less the umask

char const *part_to_remove = nullptr; // for the signal handler

void set_handler(void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    for (auto const signal : ending_signals) {
        struct sigaction before = {};
        ::sigaction(signal, nullptr, &before);
        if (before.sa_handler != SIG_IGN)
            ::sigaction(signal, &action, nullptr);
    }
}

// When the handler returns, the signal ends the process as if there were no handler.
void remove_part(int signal)
{
    ::unlink(part_to_remove);
    ::raise(signal);
}

[[noreturn]] void fail(std::string const &name, int error)
{
    throw WriteError(fmt::format("cannot write {}: {}", escaped_text(name), error_text(error)));
}

int create_new(std::string const &name)
{
    int descriptor = -1;
    do
        descriptor = ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, all_may_read_and_write);
    while (descriptor < 0 && errno == EINTR);
    return descriptor;
}

} // namespace

bool rename_to_new(std::string const &from, std::string const &to)
{
    return ::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0 ||
           (errno == EINVAL && ::rename(from.c_str(), to.c_str()) == 0);
}

bool store_folder_of(std::string const &name)
{
    auto folder = std::filesystem::path(name).parent_path();
    if (folder.empty())
        folder = ".";
    auto const descriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    // A folder in which files may be created need not be readable.
    if (descriptor < 0)
        return errno == EACCES;
    auto const error = ::fsync(descriptor) == 0 ? 0 : errno;
    ::close(descriptor);
    errno = error;
    return error == 0 || error == EINVAL;
}

OutputFile::OutputFile(std::string name)
    : name_(std::move(name))
    , part_name_(name_ + ".part")
{
    struct stat existing = {};
    if (::lstat(name_.c_str(), &existing) == 0)
        fail(name_, EEXIST);
    descriptor_ = create_new(part_name_);
    if (descriptor_ < 0)
        fail(part_name_, errno);
    part_to_remove = part_name_.c_str();
    set_handler(remove_part);
}

OutputFile::~OutputFile()
{
    if (descriptor_ >= 0) {
        ::close(descriptor_);
        ::unlink(part_name_.c_str());
    }
    set_handler(SIG_DFL);
}

void OutputFile::finish()
{
    if (::fsync(descriptor_) != 0 || !rename_to_new(part_name_, name_) || !store_folder_of(name_))
        fail(name_, errno);
    ::close(std::exchange(descriptor_, -1));
}

} // namespace tarnwick::program
