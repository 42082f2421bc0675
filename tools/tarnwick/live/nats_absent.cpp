// In place of the sources that need the client library of NATS, in a build without it.

#include "live/nats_source.h"
#include "live/nats_streams.h"

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

std::string const &NatsSource::problem()
{
    return problem_;
}

std::unique_ptr<FrameTarget> open_nats_target(std::string const &address)
{
    NatsSource::check(address);
    return nullptr;
}

void record_stream(std::string const &address, Recording & /*recording*/)
{
    NatsSource::check(address);
}

} // namespace tarnwick::program
