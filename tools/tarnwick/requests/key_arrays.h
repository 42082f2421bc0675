#pragma once

#include "requests/request_records.h"

#include <tarnwick/data/php/pelorin_array.h>
#include <tarnwick/data/php/request_headers.h>
#include <tarnwick/data/php/response_headers.h>
#include <tarnwick/data/php/superglobals.h>
#include <tarnwick/data/php/zval.h>

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace tarnwick::program {

/// The arrays of a request whose keys are compared, by the names that people read.
inline constexpr std::array<std::string_view, 5> key_array_names{"request headers", "response headers", "superglobals",
                                                                 "changed superglobals", "monitored superglobals"};
/// The first of the superglobals, which one record or another has.
inline constexpr std::size_t first_superglobals = 2;

/// The arrays of a request; null if it does not report them.
using KeyArrays = std::array<data::php::PelorinArray, key_array_names.size()>;

/// The array that a record has.
struct KeyArray {
    std::size_t index; ///< in `key_array_names`
    data::php::PelorinArray const &array;
};
KeyArray key_array_of(data::php::RequestHeaders const &record, std::string_view view);
KeyArray key_array_of(data::php::ResponseHeaders const &record, std::string_view view);
KeyArray key_array_of(data::php::Superglobals const &record, std::string_view view);

template <class Record>
inline constexpr bool has_key_array =
    requires(Record const &record, std::string_view view) { key_array_of(record, view); };

std::string key_text(data::php::ZVal const &key);

/// Returns the arrays of a request. If a request reports an array several times, the first counts.
KeyArrays key_arrays_of(RequestRecords const &records);

} // namespace tarnwick::program
