#include "input_file.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace tarnwick::program {

InputFile::InputFile(std::string const &name)
    : descriptor_(name == "-" ? STDIN_FILENO : ::open(name.c_str(), O_RDONLY | O_CLOEXEC))
{
    if (descriptor_ < 0 || ::fstat(descriptor_, &status_) != 0)
        error_ = errno;
    else if (S_ISDIR(status_.st_mode))
        error_ = EISDIR;
}

InputFile::~InputFile()
{
    if (descriptor_ > STDIN_FILENO)
        ::close(descriptor_);
}

std::uint64_t InputFile::size() const
{
    return S_ISREG(status_.st_mode) ? static_cast<std::uint64_t>(status_.st_size) : 0;
}

} // namespace tarnwick::program
