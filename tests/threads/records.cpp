#include "threads/records.h"

#include "faults/message_filler.h"

#include <tarnwick/data/print.h>

#include <pelorin/protobuf/CT/header.pb.h>
#include <pelorin/protobuf/Glimmet/error.pb.h>
#include <pelorin/protobuf/Glimmet/functions.pb.h>
#include <pelorin/protobuf/Glimmet/headers.pb.h>
#include <pelorin/protobuf/Glimmet/sql.pb.h>
#include <pelorin/protobuf/Glimmet/storage.pb.h>
#include <pelorin/protobuf/Glimmet/superglobals.pb.h>
#include <pelorin/protobuf/Monitor/event.pb.h>
#include <pelorin/protobuf/PelorinPHP/rinit_data.pb.h>
#include <pelorin/protobuf/PelorinPHP/rshutdown_data.pb.h>
#include <tarnwick/rpc/codetrace/v1/notify_request.pb.h>
#include <tarnwick/rpc/glimmet/v1/notify_request.pb.h>
#include <tarnwick/rpc/monitor/v1/notify_request.pb.h>
#include <tarnwick/rpc/php/v1/notify_request.pb.h>

#include <memory>
#include <stdexcept>

namespace tarnwick::test {
namespace {

namespace codetrace = data::codetrace;
namespace glimmet = data::glimmet;
namespace monitor = data::monitor;
namespace php = data::php;
namespace CT = pelorin::protobuf::CT;
namespace Glimmet = pelorin::protobuf::Glimmet;
namespace Monitor = pelorin::protobuf::Monitor;
namespace PelorinPHP = pelorin::protobuf::PelorinPHP;

using CodetraceReport = rpc::codetrace::v1::NotifyRequest;
using GlimmetReport = rpc::glimmet::v1::NotifyRequest;
using MonitorReport = rpc::monitor::v1::NotifyRequest;
using PhpReport = rpc::php::v1::NotifyRequest;

constexpr php::RequestId id(7);
constexpr php::detail::Superglobals::init_t init;
constexpr php::detail::Superglobals::change_t change;

template <class Message>
Message parsed(std::string const &bytes)
{
    Message message;
    if (!message.ParseFromString(bytes))
        throw std::logic_error("it does not parse");
    return message;
}

/// The messages of one number.
class Messages {
public:
    Messages(std::uint32_t shape, Source source)
        : shape_(shape)
        , source_(source)
    {
    }

    template <class Message>
    [[nodiscard]] Message get() const
    {
        return parsed<Message>(shaped<Message>(shape_).SerializeAsString());
    }

    template <class Handle, class Message, class... Arguments>
    [[nodiscard]] std::function<Record()> constructor(Arguments const &...arguments) const
    {
        auto const made = [arguments...](Message const &message) {
            return Record(Handle(new Handle::Type(message, arguments...)));
        };
        if (source_ == Source::bytes)
            return [made, bytes = get<Message>().SerializeAsString()] { return made(parsed<Message>(bytes)); };
        return [made, message = std::make_shared<Message const>(get<Message>())] { return made(*message); };
    }

private:
    std::uint32_t shape_;
    Source source_;
};

} // namespace

std::string told(Record const &record)
{
    return std::visit([](auto const &handle) { return data::to_text(handle); }, record);
}

int handles(Record const &record)
{
    return std::visit([](auto const &handle) { return int(handle->ref.loadRelaxed()); }, record);
}

std::vector<std::function<Record()>> constructors(std::uint32_t shape, Source source)
{
    Messages const messages(shape, source);
    glimmet::SqlConnections::Table const connections = glimmet::SqlConnections(messages.get<Glimmet::SqlConnections>());
    glimmet::SqlTransactions::Table const transactions =
        glimmet::SqlTransactions(messages.get<Glimmet::SqlTransactions>());
    return {
        messages.constructor<php::RInit, PhpReport>(),
        messages.constructor<php::RInit, PelorinPHP::RInitData>(id),
        messages.constructor<php::RShutdown, PhpReport>(),
        messages.constructor<php::RShutdown, PelorinPHP::RShutdownData>(id),
        messages.constructor<php::RequestHeaders, PhpReport>(),
        messages.constructor<php::RequestHeaders, Glimmet::RequestHeaders>(id),
        messages.constructor<php::Superglobals, PhpReport>(init),
        messages.constructor<php::Superglobals, PhpReport>(change),
        messages.constructor<php::Superglobals, Glimmet::Superglobals>(id, init),
        messages.constructor<php::ErrorData, PhpReport>(),
        messages.constructor<php::ErrorData, Glimmet::Error>(id),
        messages.constructor<php::ZVal, rpc::php::v1::ZVal>(),
        messages.constructor<php::ZVal, PelorinPHP::ZVal>(),
        messages.constructor<php::PelorinArray, rpc::php::v1::PelorinArray>(),
        messages.constructor<php::PelorinArray, PelorinPHP::PelorinArray>(),
        messages.constructor<monitor::Event, MonitorReport>(),
        messages.constructor<monitor::Event, Monitor::Event>(id),
        messages.constructor<codetrace::Header, CodetraceReport>(),
        messages.constructor<codetrace::Header, CT::Header>(id),
        [bytes = MessageFiller(shape).text()] {
            return Record(codetrace::Data(new codetrace::detail::Data(zeromq::msg_t(bytes), id)));
        },
        messages.constructor<glimmet::Functions, GlimmetReport>(),
        messages.constructor<glimmet::Functions, Glimmet::Functions>(id),
        messages.constructor<glimmet::Storage, GlimmetReport>(),
        messages.constructor<glimmet::Storage, Glimmet::Storage>(id),
        messages.constructor<glimmet::SqlQueries, GlimmetReport>(),
        messages.constructor<glimmet::SqlQueries, Glimmet::SqlQueries>(id, connections, transactions),
        messages.constructor<glimmet::SqlTransaction, rpc::glimmet::v1::SqlTransaction>(transactions),
        messages.constructor<glimmet::SqlTransaction, Glimmet::SqlTransaction>(transactions),
    };
}

} // namespace tarnwick::test
