#pragma once

#include <QtCore/QSharedData>

#include <type_traits>
#include <utility>

namespace tarnwick::test {

/// What stands in front of a chunk of the protobuf dialect, as its records are told here.
inline constexpr long chunk_skip = 3; // bytes

template <class Record>
struct ClassOf {
    using Type = Record;
};

template <class Record>
    requires std::is_base_of_v<QSharedData, typename Record::Type>
struct ClassOf<Record> {
    using Type = Record::Type;
};

/// The class whose constructor is meant: of a handle, the payload.
template <class Record>
using class_of_t = ClassOf<Record>::Type;

template <class Record, class... Arguments>
Record made(Arguments &&...arguments)
{
    if constexpr (std::is_same_v<class_of_t<Record>, Record>)
        return Record(std::forward<Arguments>(arguments)...);
    else
        return Record(new class_of_t<Record>(std::forward<Arguments>(arguments)...));
}

} // namespace tarnwick::test
