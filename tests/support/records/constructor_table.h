#pragma once

// Constructors of all records from messages, in both dialects.

#include "support/records/make_record.h"
#include "support/records/message_filler.h"
#include "support/records/symbol.h"

#include <tarnwick/data/record_messages.h>
#include <tarnwick/data/records.h>

#include <cctype>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>

namespace tarnwick::test {

inline void fill(zmq_msg_t *message, std::string_view bytes)
{
    zmq_msg_close(message);
    zmq_msg_init_size(message, bytes.size());
    if (!bytes.empty())
        std::memcpy(zmq_msg_data(message), bytes.data(), bytes.size());
}

/// The constructor of a record from a message: a record is a handle, or the class itself if it has none.
template <class Record, class Message>
struct Of {};

/// Messages that records take ownership of instead of reading them.
template <class Message>
concept TransportMessage = std::is_same_v<Message, zeromq::msg_t> || std::is_same_v<Message, ZMQ::Message>;

/// The content of a `PelorinPHP::StackTrace`.
using FrameList = google::protobuf::RepeatedPtrField<pelorin::protobuf::PelorinPHP::StackTraceFrame>;

/// A further argument of constructors, by its type.
template <class Argument>
Argument argument()
{
    namespace glimmet = data::glimmet;
    namespace protobuf = pelorin::protobuf::Glimmet;
    constexpr std::uint32_t shape_with_links = 11;
    if constexpr (std::is_same_v<Argument, data::php::RequestId>) {
        return data::php::RequestId(7);
    } else if constexpr (std::is_same_v<Argument, long>) {
        return chunk_skip;
    } else if constexpr (std::is_same_v<Argument, glimmet::SqlConnections::Table>) {
        return glimmet::SqlConnections(shaped<protobuf::SqlConnections>(shape_with_links));
    } else if constexpr (std::is_same_v<Argument, glimmet::SqlTransactions::Table>) {
        return glimmet::SqlTransactions(shaped<protobuf::SqlTransactions>(shape_with_links));
    } else {
        static_assert(std::is_empty_v<Argument>, "an argument that is no tag needs a value here");
        return Argument();
    }
}

/// `RShutdown_from_tarnwick_rpc_php_v1_NotifyRequest`, followed by the names of tags.
template <class Record, class Message, class... Arguments>
std::string constructor_name()
{
    auto const unqualified = [](std::string const &symbol) { return symbol.substr(symbol.rfind(':') + 1); };
    auto name = unqualified(symbol<Record>()) + "_from_" + symbol<Message>();
    ((name += std::is_empty_v<Arguments> ? '_' + unqualified(symbol<Arguments>()) : ""), ...);
    std::string cleaned;
    for (char const c : name) {
        bool const is_word = std::isalnum(static_cast<unsigned char>(c)) != 0;
        if (is_word || (!cleaned.empty() && cleaned.back() != '_'))
            cleaned += is_word ? c : '_';
    }
    return cleaned;
}

template <class Record, class Message, class... Arguments, class Visit>
void visit_constructor(data::From<Message, Arguments...>, Visit const &visit)
{
    visit(Of<Record, Message>(), constructor_name<Record, Message, Arguments...>(), argument<Arguments>()...);
}

/// Calls `visit(Of<Record, Message>(), name, arguments...)` for each constructor of all records, with the arguments that
/// follow the message.
template <class Visit>
void visit_constructors(Visit const &visit)
{
    data::for_each_type(data::AllRecords(), [&]<class Record> {
        std::apply([&](auto... source) { (visit_constructor<Record>(source, visit), ...); },
                   data::sources_of_t<Record>());
    });
}

} // namespace tarnwick::test
