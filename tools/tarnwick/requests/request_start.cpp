#include "requests/request_start.h"

#include <tarnwick/rpc/php/v1/notify_request.pb.h>

namespace tarnwick::program {

bool is_start(rpc::php::v1::NotifyRequest const &message)
{
    return message.has_rinit();
}

} // namespace tarnwick::program
