#pragma once

// The formatters of records must compile together with those that {fmt} has for containers and the standard library, in
// either order of inclusion.

#include "support/record_types.h"

#include <fmt/format.h>

namespace tarnwick::test {

template <class T>
constexpr bool formats_as_a_record = fmt::is_formattable<T>::value && !fmt::is_range<T, char>::value;

constexpr bool all_format_as_records =
    for_all<Values>([]<class Value> { return formats_as_a_record<Value>; }) && for_all<Handles>([]<class Handle> {
        return formats_as_a_record<Handle> && formats_as_a_record<typename Handle::Type> &&
               formats_as_a_record<typename Handle::Pointer>;
    });

} // namespace tarnwick::test
