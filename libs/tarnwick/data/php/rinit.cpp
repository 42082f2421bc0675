#include <tarnwick/data/php/rinit.h>

#include <tarnwick/data/reading.h>
#include <tarnwick/messages.h>

#include <pelorin/protobuf/PelorinPHP/rinit_data.pb.h>
#include <tarnwick/rpc/php/v1/notify_request.pb.h>

namespace tarnwick::data::php::detail {

RInit::RInit(messages::rpc_php::NotifyRequest const &message)
    : request_id_(message.request_id())
    , timestamp_(time_pair(message.timestamp()))
{
    auto const &payload = message.rinit();
    if (payload.has_info()) {
        auto const &info = payload.info();
        info_text_ = text(info.text());
        info_number_ = info.number();
        if (info.has_version()) {
            auto const &version = info.version();
            version_major_ = version.major();
            version_minor_ = version.minor();
            version_patch_ = version.patch();
            version_text_ = text(version.text());
            version_number_ = version.number();
        }
    }
    if (payload.has_request()) {
        auto const &request = payload.request();
        request_text_0_ = text(request.text_0());
        request_text_1_ = text(request.text_1());
        if (request.has_bytes_0())
            request_bytes_0_ = bytes(request.bytes_0());
        if (request.has_bytes_1())
            request_bytes_1_ = bytes(request.bytes_1());
    }
}

RInit::RInit(messages::protobuf_php::RInitData const &message, RequestId request_id)
    : request_id_(request_id)
    , timestamp_(time_pair(message.timestamp()))
    , version_major_(message.version().major())
    , version_minor_(message.version().minor())
    , version_patch_(message.version().patch())
    , info_text_(text(message.info_text()))
    , request_text_0_(text(message.text_0()))
    , request_text_1_(text(message.text_1()))
    , info_number_(message.info_number())
{
    // The field has no has-bit in this dialect: senders send empty bytes for none.
    if (!message.bytes_0().empty())
        request_bytes_0_ = bytes(message.bytes_0());
}

} // namespace tarnwick::data::php::detail
