#pragma once

// All handles and values of the library, for tests that apply to each type.

#include <tarnwick/auth/request.h>
#include <tarnwick/auth/session.h>
#include <tarnwick/auth/user.h>
#include <tarnwick/data/codetrace/add_data.h>
#include <tarnwick/data/codetrace/data.h>
#include <tarnwick/data/codetrace/header.h>
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
#include <tarnwick/data/time_pair.h>

namespace tarnwick::test {

template <class... Members>
struct Types {};

/// Whether a condition is true for every type of a list: `for_all<Handles>([]<class Handle> { return ...; })`.
template <class List, class Condition>
constexpr bool for_all(Condition condition)
{
    return
        [&]<class... Members>(Types<Members...>) { return (condition.template operator()<Members>() && ...); }(List());
}

using Handles =
    Types<data::codetrace::AddData, data::codetrace::Data, data::codetrace::Header, data::glimmet::Functions,
          data::glimmet::SqlConnection, data::glimmet::SqlQueries, data::glimmet::SqlQuery,
          data::glimmet::SqlTransaction, data::glimmet::Storage, data::monitor::Event, data::php::ErrorData,
          data::php::PelorinArray, data::php::PelorinObject, data::php::PelorinResource, data::php::PostData,
          data::php::RequestHeaders, data::php::ResponseBody, data::php::ResponseHeaders, data::php::RInit,
          data::php::RShutdown, data::php::Superglobals, data::php::ZVal, PelorinPHPX::Auth::Request,
          PelorinPHPX::Auth::User, PelorinPHPX::Session>;

/// Types that are copied by value and have no reference count.
using Values = Types<data::TimePair, data::glimmet::FunctionStats, data::glimmet::SqlConnections,
                     data::glimmet::SqlError, data::glimmet::SqlTransactions, data::glimmet::detail::StorageEntry,
                     data::monitor::detail::Event::CustomEvent, data::monitor::detail::Event::FunctionError,
                     data::monitor::detail::Event::HighMemoryUsage, data::monitor::detail::Event::PhpError,
                     data::monitor::detail::Event::SlowFunctionExec, data::monitor::detail::Event::SlowRequest,
                     data::php::Error, data::php::Exception, data::php::Function, data::php::RequestId,
                     data::php::SourceLocation, data::php::StackTrace>;

} // namespace tarnwick::test
