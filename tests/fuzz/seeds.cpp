// Writes fuzzer inputs from captures: `fuzz_seeds FOLDER CAPTURE...` writes frames, reports and the messages nested in
// reports to one folder for each target. A fuzzer chooses the inputs that add coverage (`fuzz_TARGET -merge=1 CHOSEN
// FOLDER/TARGET`); `add_inputs` adds these to the committed inputs.

#include "fuzz/message_inputs.h"
#include "fuzz/message_mutator.h"

#include "support/records/constructors.h"
#include "support/records/message_filler.h"

#include <capture/capture_reader.h>
#include <capture/input_file.h>

#include <tarnwick/capture/v1/capture.pb.h>

#include <google/protobuf/descriptor.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <utility>

namespace {

using google::protobuf::Message;
using tarnwick::capture::v1::Frame;
using tarnwick::fuzz::MessageInputs;

/// The message class of each report field of a frame.
std::map<std::string_view, std::string_view> const reports{
    {"rpc_php", "tarnwick.rpc.php.v1.NotifyRequest"},
    {"rpc_monitor", "tarnwick.rpc.monitor.v1.NotifyRequest"},
    {"rpc_codetrace", "tarnwick.rpc.codetrace.v1.NotifyRequest"},
    {"rpc_glimmet", "tarnwick.rpc.glimmet.v1.NotifyRequest"},
    {"rpc_data", "zeromq::msg_t"},
    {"rpc_add_data", "zeromq::msg_t"},
    {"rinit", "pelorin.protobuf.PelorinPHP.RInitData"},
    {"rshutdown", "pelorin.protobuf.PelorinPHP.RShutdownData"},
    {"monitor_event", "pelorin.protobuf.Monitor.Event"},
    {"monitor_superglobals", "pelorin.protobuf.Monitor.Superglobals"},
    {"functions", "pelorin.protobuf.Glimmet.Functions"},
    {"sql_connections", "pelorin.protobuf.Glimmet.SqlConnections"},
    {"sql_transactions", "pelorin.protobuf.Glimmet.SqlTransactions"},
    {"sql_queries", "pelorin.protobuf.Glimmet.SqlQueries"},
    {"storage", "pelorin.protobuf.Glimmet.Storage"},
    {"error", "pelorin.protobuf.Glimmet.Error"},
    {"superglobals", "pelorin.protobuf.Glimmet.Superglobals"},
    {"request_headers", "pelorin.protobuf.Glimmet.RequestHeaders"},
    {"response_headers", "pelorin.protobuf.Glimmet.ResponseHeaders"},
    {"raw_post_data", "pelorin.protobuf.Glimmet.RawPostData"},
    {"response_body", "pelorin.protobuf.Glimmet.ResponseBody"},
    {"ct_header", "pelorin.protobuf.CT.Header"},
    {"ct_data", "ZMQ::Message"},
    {"ct_add_data", "ZMQ::Message"},
};

class Seeds {
public:
    explicit Seeds(std::filesystem::path folder)
        : folder_(std::move(folder))
    {
        for (auto const &constructor : tarnwick::test::constructors()) {
            if (constructor.prototype != nullptr)
                prototypes_.emplace(constructor.prototype->GetDescriptor()->full_name(), constructor.prototype);
        }
    }

    /// Writes randomly filled messages of each class that records are built from.
    void write_filled() const
    {
        constexpr std::uint32_t shapes = 12;
        for (auto const &[name, prototype] : prototypes_) {
            for (std::uint32_t shape = 0; shape < shapes; ++shape) {
                std::unique_ptr<Message> const message(prototype->New());
                tarnwick::test::MessageFiller(shape).fill(*message);
                write_all_in(*message);
            }
        }
    }

    void write_frame(Frame const &frame) const
    {
        auto const body = frame.SerializeAsString();
        std::string length;
        for (auto rest = body.size(); rest > 0; rest >>= 7)
            length += static_cast<char>(rest >= 0x80 ? rest | 0x80 : rest);
        write("capture", length + body);
        write("recording", length + body);

        auto const &reflection = *frame.GetReflection();
        auto const *field = reflection.GetOneofFieldDescriptor(frame, Frame::descriptor()->FindOneofByName("report"));
        if (field == nullptr)
            return;
        auto const bytes = reflection.GetString(frame, field);
        auto const name = reports.at(field->name());
        auto const prototype = prototypes_.find(name);
        if (prototype == prototypes_.end())
            return write(name == "ZMQ::Message" ? "protobuf_reports" : "rpc_reports", std::string(name) + "\n" + bytes);
        std::unique_ptr<Message> const message(prototype->second->New());
        if (tarnwick::fuzz::parse(bytes, *message))
            write_all_in(*message);
    }

private:
    /// Writes the message and its nested messages, if records are built from their class.
    void write_all_in(Message &message) const
    {
        for (auto const *part : tarnwick::fuzz::parts_of(message)) {
            std::string_view const name(part->GetDescriptor()->full_name());
            auto const input = MessageInputs::input_of(*part);
            if (prototypes_.contains(name))
                write(name.starts_with("tarnwick.rpc") ? "rpc_reports" : "protobuf_reports", input);
            if (name.ends_with(".ZVal"))
                write("bridge", input);
        }
    }

    void write(std::string const &target, std::string const &input) const
    {
        static std::set<std::string> written;
        constexpr std::size_t longest = 1'024; // the -max_len of the fuzzers
        if (input.size() > longest || !written.insert(target + input).second)
            return;
        std::filesystem::create_directories(folder_ / target);
        std::ofstream(folder_ / target / ("seed-" + std::to_string(written.size())), std::ios::binary) << input;
    }

    std::filesystem::path folder_;
    std::map<std::string_view, Message const *> prototypes_;
};

} // namespace

int main(int argc, char **argv)
{
    using namespace tarnwick::program;
    Seeds const seeds(argc > 1 ? argv[1] : "");
    seeds.write_filled();
    for (int i = 2; i < argc; ++i) {
        InputFile input(argv[i]);
        CaptureReader reader(input);
        while (reader.next() == CaptureReader::Step::frame)
            seeds.write_frame(reader.frame());
    }
    return EXIT_SUCCESS;
}
