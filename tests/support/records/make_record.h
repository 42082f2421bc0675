#pragma once

#include <tarnwick/data/records.h>

#include <utility>

namespace tarnwick::test {

/// Bytes before a chunk of the protobuf dialect, in all records that tests build.
inline constexpr long chunk_skip = 3;

/// Builds a record: a handle of a new payload, or a value.
template <class Record, class... Arguments>
Record make_record(Arguments &&...arguments)
{
    if constexpr (data::is_handle<Record>)
        return Record(new data::payload_of_t<Record>(std::forward<Arguments>(arguments)...));
    else
        return Record(std::forward<Arguments>(arguments)...);
}

} // namespace tarnwick::test
