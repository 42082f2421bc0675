#include "support/record_benchmark.h"

#include <tarnwick/data/codetrace/header.h>

#include <pelorin/protobuf/CT/header.pb.h>
#include <tarnwick/rpc/codetrace/v1/notify_request.pb.h>

#include <cstdint>

namespace tarnwick::data::codetrace {
namespace {

using ProtobufHeader = pelorin::protobuf::CT::Header;
using RpcHeader = rpc::codetrace::v1::NotifyRequest;

template <class Message>
void fill_common(Message &message, int number)
{
    message.set_format_minor(0);
    message.set_format_major(1);
    message.set_word_8(number);
    message.set_word_12(number + 1);
    message.set_word_16(number + 2);
    message.set_long_24(number + 3);
    message.set_long_32(number + 4);
}

void fill(RpcHeader &message, int number)
{
    message.mutable_request_id()->set_id(static_cast<std::uint64_t>(number));
    auto &header = *message.mutable_header();
    header.mutable_request()->set_kind(rpc::codetrace::v1::Request::KIND_2);
    fill_common(header, number);
}

void fill(ProtobufHeader &message, int number)
{
    message.set_kind(ProtobufHeader::KIND_1);
    fill_common(message, number);
}

[[maybe_unused]] bool const registered = [] {
    bench::add_record<RpcHeader>("Header/rpc", fill,
                                 [](RpcHeader const &message) { return Header(new detail::Header(message)); });
    bench::add_record<ProtobufHeader>("Header/protobuf", fill, [](ProtobufHeader const &message) {
        return Header(new detail::Header(message, php::RequestId(7)));
    });
    return true;
}();

} // namespace
} // namespace tarnwick::data::codetrace
