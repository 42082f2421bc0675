#pragma once

#include "exit_status.h"

#include <string>

namespace tarnwick::program {

struct KeysOptions {
    std::string name; ///< of the files to create, without `.key` and `.pub`
};

/// Creates the files of a new key pair. Throws `KeyFileError` and `WriteError`.
ExitStatus keys(KeysOptions const &options);

} // namespace tarnwick::program
