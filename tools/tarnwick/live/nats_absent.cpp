// In place of the sources that need the client library of NATS, in a build without it.

#include "live/nats_source.h"

#include <stdexcept>

namespace tarnwick::program {

void NatsSource::check(std::string const & /*address*/)
{
    throw std::invalid_argument("this program was built without NATS (TARNWICK_NATS=OFF)");
}

NatsSource::NatsSource(std::string const &address, bool follows)
    : address_(address)
    , follows_(follows)
{
    check(address);
}

NatsSource::~NatsSource() = default;

} // namespace tarnwick::program
