// Parses the frames and the reports of a capture on an arena, and does nothing with them: what every command at least
// has to do. `parse_reports FILE` prints the number of reports. `parse_reports --json FILE` also converts each report to
// JSON with protobuf's own function, and prints the number of bytes.

#include <tarnwick/data/record_messages.h>
#include <tarnwick/messages.h>

#include <tarnwick/capture/v1/capture.pb.h>

#include <google/protobuf/arena.h>
#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/io/zero_copy_stream_impl.h>
#include <google/protobuf/util/delimited_message_util.h>
#include <google/protobuf/util/json_util.h>

#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <vector>

namespace {

using tarnwick::capture::v1::Frame;
namespace messages = tarnwick::messages;

/// Whether reports are converted, and the size of the result.
bool has_json = false;
std::uint64_t json_bytes = 0;

template <class Message>
bool parses(google::protobuf::Arena &arena, std::string const &bytes)
{
    google::protobuf::io::CodedInputStream stream(reinterpret_cast<std::uint8_t const *>(bytes.data()),
                                                  static_cast<int>(bytes.size()));
    stream.SetRecursionLimit(1000); // as the program
    auto *const message = google::protobuf::Arena::Create<Message>(&arena);
    if (!message->ParseFromCodedStream(&stream))
        return false;
    std::string json;
    if (has_json && google::protobuf::util::MessageToJsonString(*message, &json).ok()) // not if a text is not UTF-8
        json_bytes += json.size();
    return true;
}

bool parses(google::protobuf::Arena &arena, Frame const &frame)
{
    switch (frame.report_case()) {
    case Frame::kRpcPhp:
        return parses<messages::rpc_php::NotifyRequest>(arena, frame.rpc_php());
    case Frame::kRpcMonitor:
        return parses<messages::rpc_monitor::NotifyRequest>(arena, frame.rpc_monitor());
    case Frame::kRpcCodetrace:
        return parses<messages::rpc_codetrace::NotifyRequest>(arena, frame.rpc_codetrace());
    case Frame::kRpcGlimmet:
        return parses<messages::rpc_glimmet::NotifyRequest>(arena, frame.rpc_glimmet());
    case Frame::kRinit:
        return parses<messages::protobuf_php::RInitData>(arena, frame.rinit());
    case Frame::kRshutdown:
        return parses<messages::protobuf_php::RShutdownData>(arena, frame.rshutdown());
    case Frame::kMonitorEvent:
        return parses<messages::protobuf_monitor::Event>(arena, frame.monitor_event());
    case Frame::kMonitorSuperglobals:
        return parses<messages::protobuf_monitor::Superglobals>(arena, frame.monitor_superglobals());
    case Frame::kFunctions:
        return parses<messages::protobuf_glimmet::Functions>(arena, frame.functions());
    case Frame::kSqlConnections:
        return parses<messages::protobuf_glimmet::SqlConnections>(arena, frame.sql_connections());
    case Frame::kSqlTransactions:
        return parses<messages::protobuf_glimmet::SqlTransactions>(arena, frame.sql_transactions());
    case Frame::kSqlQueries:
        return parses<messages::protobuf_glimmet::SqlQueries>(arena, frame.sql_queries());
    case Frame::kStorage:
        return parses<messages::protobuf_glimmet::Storage>(arena, frame.storage());
    case Frame::kError:
        return parses<messages::protobuf_glimmet::Error>(arena, frame.error());
    case Frame::kSuperglobals:
        return parses<messages::protobuf_glimmet::Superglobals>(arena, frame.superglobals());
    case Frame::kRequestHeaders:
        return parses<messages::protobuf_glimmet::RequestHeaders>(arena, frame.request_headers());
    case Frame::kResponseHeaders:
        return parses<messages::protobuf_glimmet::ResponseHeaders>(arena, frame.response_headers());
    case Frame::kRawPostData:
        return parses<messages::protobuf_glimmet::RawPostData>(arena, frame.raw_post_data());
    case Frame::kResponseBody:
        return parses<messages::protobuf_glimmet::ResponseBody>(arena, frame.response_body());
    case Frame::kCtHeader:
        return parses<messages::protobuf_codetrace::Header>(arena, frame.ct_header());
    default: // chunks are no messages
        return true;
    }
}

} // namespace

int main(int argc, char **argv)
{
    has_json = argc == 3 && std::string_view(argv[1]) == "--json";
    int const file = argc == 2 || has_json ? ::open(argv[argc - 1], O_RDONLY | O_CLOEXEC) : -1;
    if (file < 0) {
        std::fputs("usage: parse_reports [--json] FILE\n", stderr);
        return 2;
    }
    google::protobuf::io::FileInputStream input(file, 1 << 20);
    std::vector<char> block(1 << 20);
    google::protobuf::Arena arena(block.data(), block.size());
    Frame frame;
    bool is_at_end = false;
    std::uint64_t count = 0;
    while (google::protobuf::util::ParseDelimitedFromZeroCopyStream(&frame, &input, &is_at_end)) {
        if (!parses(arena, frame))
            return 1;
        arena.Reset();
        ++count;
    }
    std::printf("%ju\n", static_cast<std::uintmax_t>(has_json ? json_bytes : count));
    return is_at_end ? 0 : 1;
}
