#pragma once

// The list of all records. The program and the tests derive from it what they do with each record. Not installed.

#include <tarnwick/data/codetrace/add_data.h>
#include <tarnwick/data/codetrace/data.h>
#include <tarnwick/data/codetrace/header.h>
#include <tarnwick/data/description.h>
#include <tarnwick/data/glimmet/functions.h>
#include <tarnwick/data/glimmet/sql_queries.h>
#include <tarnwick/data/glimmet/storage.h>
#include <tarnwick/data/monitor/event.h>
#include <tarnwick/data/php/error_data.h>
#include <tarnwick/data/php/pelorin_array.h>
#include <tarnwick/data/php/pelorin_object.h>
#include <tarnwick/data/php/pelorin_resource.h>
#include <tarnwick/data/php/post_data.h>
#include <tarnwick/data/php/request_headers.h>
#include <tarnwick/data/php/response_body.h>
#include <tarnwick/data/php/response_headers.h>
#include <tarnwick/data/php/rinit.h>
#include <tarnwick/data/php/rshutdown.h>
#include <tarnwick/data/php/superglobals.h>
#include <tarnwick/data/php/zval.h>

#include <QtCore/QSharedData>

#include <tuple>
#include <type_traits>

namespace tarnwick::data {

/// A list of types.
template <class... Members>
struct Types {};

template <class... Left, class... Right>
Types<Left..., Right...> operator+(Types<Left...>, Types<Right...>);

/// Records that a report feeds: handles, and tables.
using ReportRecords = Types<codetrace::AddData, codetrace::Data, codetrace::Header, glimmet::Functions,
                            glimmet::SqlConnections, glimmet::SqlQueries, glimmet::SqlTransactions, glimmet::Storage,
                            monitor::Event, php::ErrorData, php::PostData, php::RequestHeaders, php::ResponseBody,
                            php::ResponseHeaders, php::RInit, php::RShutdown, php::Superglobals>;

/// Records that are parts of others: handles, and values.
using PartRecords =
    Types<glimmet::FunctionStats, glimmet::SqlConnection, glimmet::SqlError, glimmet::SqlQuery, glimmet::SqlTransaction,
          php::Error, php::Exception, php::Function, php::PelorinArray, php::PelorinObject, php::PelorinResource,
          php::RequestId, php::SourceLocation, php::StackTrace, php::ZVal>;

using AllRecords = decltype(ReportRecords() + PartRecords());

/// Calls `visit.operator()<Member>()` for each member of a list.
template <class... Members, class Visit>
constexpr void for_each_type(Types<Members...>, Visit &&visit)
{
    (visit.template operator()<Members>(), ...);
}

template <class Record>
struct PayloadOf {
    using Type = Record;
};

template <class Record>
    requires std::is_base_of_v<QSharedData, typename Record::Type>
struct PayloadOf<Record> {
    using Type = Record::Type;
};

/// The class whose constructors read messages: the payload of a handle, otherwise the record itself.
template <class Record>
using payload_of_t = PayloadOf<Record>::Type;

template <class Record>
inline constexpr bool is_handle = !std::is_same_v<payload_of_t<Record>, Record>;

/// Returns the payload of a handle, otherwise the record itself.
template <class Record>
payload_of_t<Record> const &payload_of(Record const &record)
{
    if constexpr (is_handle<Record>)
        return *record;
    else
        return record; // NOLINT(bugprone-return-const-ref-from-parameter): as an accessor of a handle does
}

/// The sources of a payload or a value: those of its description. Four parts print without a description.
template <class Payload>
struct SourcesOf {
    using Type = Description<Payload>::Sources;
};

template <>
struct SourcesOf<php::RequestId> {
    using Type = std::tuple<From<rpc::php::v1::RequestId>>;
};

template <>
struct SourcesOf<php::StackTrace> {
    using Type = std::tuple<From<rpc::php::v1::StackTrace>, From<pelorin::protobuf::PelorinPHP::StackTrace>,
                            From<google::protobuf::RepeatedPtrField<pelorin::protobuf::PelorinPHP::StackTraceFrame>>>;
};

template <>
struct SourcesOf<php::detail::ZVal> {
    using Type = std::tuple<From<rpc::php::v1::ZVal>, From<pelorin::protobuf::PelorinPHP::ZVal>>;
};

template <>
struct SourcesOf<php::detail::PelorinArray> {
    using Type = std::tuple<From<rpc::php::v1::PelorinArray>, From<pelorin::protobuf::PelorinPHP::PelorinArray>>;
};

/// The sources of a record, a `std::tuple` of `From`.
template <class Record>
using sources_of_t = SourcesOf<payload_of_t<Record>>::Type;

/// Whether one of a record's constructors reads these.
template <class Record, class Message, class... Arguments>
inline constexpr bool is_built_from = []<class... Source>(std::type_identity<std::tuple<Source...>>) {
    return (std::is_same_v<Source, From<Message, Arguments...>> || ...);
}(std::type_identity<sources_of_t<Record>>());

/// The members of a list that are handles, and those that are values.
template <class... Members>
auto handles_of(Types<Members...>)
    -> decltype((Types<>() + ... + std::conditional_t<is_handle<Members>, Types<Members>, Types<>>()));
template <class... Members>
auto values_of(Types<Members...>)
    -> decltype((Types<>() + ... + std::conditional_t<is_handle<Members>, Types<>, Types<Members>>()));

using RecordHandles = decltype(handles_of(AllRecords()));
using RecordValues = decltype(values_of(AllRecords()));

} // namespace tarnwick::data
