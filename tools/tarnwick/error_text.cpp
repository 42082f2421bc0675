#include "error_text.h"

#include <array>
#include <cstring>

namespace tarnwick::program {

std::string error_text(int error)
{
    std::array<char, 128> buffer{};
    return ::strerror_r(error, buffer.data(), buffer.size());
}

} // namespace tarnwick::program
