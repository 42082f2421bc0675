#pragma once

#include <QtCore/QSharedData>

#include <type_traits>
#include <utility>

namespace tarnwick::test {

/// Bytes before a chunk of the protobuf dialect, in all records that tests build.
inline constexpr long chunk_skip = 3;

template <class Record>
struct ClassOf {
    using Type = Record;
};

template <class Record>
    requires std::is_base_of_v<QSharedData, typename Record::Type>
struct ClassOf<Record> {
    using Type = Record::Type;
};

/// The class whose constructor reads a message: the payload of a handle, otherwise the record itself.
template <class Record>
using class_of_t = ClassOf<Record>::Type;

/// Builds a record: a handle of a new payload, or a value.
template <class Record, class... Arguments>
Record make_record(Arguments &&...arguments)
{
    if constexpr (std::is_same_v<class_of_t<Record>, Record>)
        return Record(std::forward<Arguments>(arguments)...);
    else
        return Record(new class_of_t<Record>(std::forward<Arguments>(arguments)...));
}

} // namespace tarnwick::test
