#pragma once

// Records of every family, apart from their messages.

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

#include <cstdint>
#include <functional>
#include <string>
#include <variant>
#include <vector>

namespace tarnwick::test {

/// A handle of a record, copied and released as the handle in it is.
using Record =
    std::variant<data::php::RInit, data::php::RShutdown, data::php::RequestHeaders, data::php::ResponseHeaders,
                 data::php::PostData, data::php::ResponseBody, data::php::Superglobals, data::php::ErrorData,
                 data::php::ZVal, data::php::PelorinArray, data::php::PelorinObject, data::php::PelorinResource,
                 data::monitor::Event, data::codetrace::Header, data::codetrace::Data, data::codetrace::AddData,
                 data::glimmet::Functions, data::glimmet::Storage, data::glimmet::SqlQueries, data::glimmet::SqlQuery,
                 data::glimmet::SqlConnection, data::glimmet::SqlTransaction>;

/// All fields of a record, at every depth, as text.
std::string text_of(Record const &record);

/// How many handles a record has. Asking orders nothing between threads.
int handles(Record const &record);

enum class Source {
    one_message, ///< that all calls read
    bytes,       ///< which each call parses for itself
};

/// For each constructor of a record that has a handle, what makes it of a message that was filled by that number. The
/// functions can be called on several threads at once.
std::vector<std::function<Record()>> constructors(std::uint32_t shape, Source source = Source::one_message);

} // namespace tarnwick::test
