#include "keys.h"

#include "live/key_files.h"

namespace tarnwick::program {

ExitStatus keys(KeysOptions const &options)
{
    write_key_pair(options.name, make_key_pair());
    return success;
}

} // namespace tarnwick::program
