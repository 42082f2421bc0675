#include <tarnwick/pexception.h>

PException::PException(std::string const &message)
    : std::runtime_error(message)
{
}

PException::~PException() = default;
