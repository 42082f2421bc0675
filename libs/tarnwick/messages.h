#pragma once

// Short names of the namespaces of messages: the dialect, then the family. Not installed.

namespace pelorin::protobuf {
namespace CT {
}
namespace Glimmet {
}
namespace Monitor {
}
namespace PelorinPHP {
}
} // namespace pelorin::protobuf
namespace tarnwick::rpc {
namespace codetrace::v1 {
}
namespace glimmet::v1 {
}
namespace monitor::v1 {
}
namespace php::v1 {
}
} // namespace tarnwick::rpc

namespace tarnwick::messages {

namespace protobuf_codetrace = pelorin::protobuf::CT;
namespace protobuf_glimmet = pelorin::protobuf::Glimmet;
namespace protobuf_monitor = pelorin::protobuf::Monitor;
namespace protobuf_php = pelorin::protobuf::PelorinPHP;
namespace rpc_codetrace = rpc::codetrace::v1;
namespace rpc_glimmet = rpc::glimmet::v1;
namespace rpc_monitor = rpc::monitor::v1;
namespace rpc_php = rpc::php::v1;

} // namespace tarnwick::messages
