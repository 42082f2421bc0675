#pragma once

// Factories of PHP values: one for each kind, named after it. None of them picks a kind by the type of its argument.

#include <tarnwick/data/php/zval.h>
#include <tarnwick/data/time_pair.h>

#include <QtCore/QByteArray>

#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace tarnwick::data::php {

inline ZVal php_undefined()
{
    return ZVal(new detail::ZVal);
}

inline ZVal php_null()
{
    return ZVal(new detail::ZVal(std::in_place_type<detail::ZVal::null_t>));
}

/// Takes no pointer and no number, which would convert to `bool`.
inline ZVal php_bool(std::same_as<bool> auto value)
{
    return ZVal(new detail::ZVal(std::in_place_type<bool>, value));
}

inline ZVal php_long(std::int64_t value)
{
    return ZVal(new detail::ZVal(std::in_place_type<std::int64_t>, value));
}

inline ZVal php_double(double value)
{
    return ZVal(new detail::ZVal(std::in_place_type<double>, value));
}

/// A copy of the bytes, which need not be UTF-8.
inline ZVal php_string(std::string_view bytes)
{
    return ZVal(new detail::ZVal(std::in_place_type<std::string>, bytes));
}

/// An array that is no value yet: the properties of an object, say.
/// REQUIRES: no handle in `elements` is null.
inline PelorinArray php_elements(detail::PelorinArray::Elements elements = {})
{
    return PelorinArray(new detail::PelorinArray(std::move(elements)));
}

/// REQUIRES: no handle in `elements` is null.
inline ZVal php_array(detail::PelorinArray::Elements elements = {})
{
    return ZVal(new detail::ZVal(std::in_place_type<PelorinArray>, new detail::PelorinArray(std::move(elements))));
}

/// REQUIRES: `array` is not null.
inline ZVal php_array(std::same_as<PelorinArray> auto array)
{
    return ZVal(new detail::ZVal(std::in_place_type<PelorinArray>, std::move(array)));
}

/// REQUIRES: `object` is not null.
inline ZVal php_object(PelorinObject object)
{
    return ZVal(new detail::ZVal(std::in_place_type<PelorinObject>, std::move(object)));
}

/// REQUIRES: `resource` is not null.
inline ZVal php_resource(PelorinResource resource)
{
    return ZVal(new detail::ZVal(std::in_place_type<PelorinResource>, std::move(resource)));
}

/// Neither parses nor checks the text.
inline ZVal php_json(QByteArray text)
{
    return ZVal(new detail::ZVal(std::in_place_type<QByteArray>, std::move(text)));
}

inline ZVal php_timestamp(TimePair time)
{
    return ZVal(new detail::ZVal(std::in_place_type<TimePair>, time));
}

} // namespace tarnwick::data::php
