#pragma once

namespace pelorin::protobuf::PelorinPHP {
class RInitData;
}
namespace tarnwick::rpc::php::v1 {
class NotifyRequest;
}

namespace tarnwick::program {

/// Returns whether a report is the start of a request.
bool is_start(rpc::php::v1::NotifyRequest const &message);
inline bool is_start(pelorin::protobuf::PelorinPHP::RInitData const & /*message*/)
{
    return true;
}
template <class Message>
bool is_start(Message const & /*message*/)
{
    return false;
}

} // namespace tarnwick::program
