#pragma once

// Factories of PHP values: one for each kind, named after the kind. The argument's type never selects the kind.

#include <tarnwick/data/php/zval.h>
#include <tarnwick/data/time_pair.h>

#include <QtCore/QByteArray>

#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace tarnwick::data::php {

/// Returns a value of kind `undefined`.
inline ZVal php_undefined()
{
    return ZVal(new detail::ZVal);
}

/// Returns PHP's null.
inline ZVal php_null()
{
    return ZVal(new detail::ZVal(std::in_place_type<detail::ZVal::null_t>));
}

/// Returns a bool. Takes only `bool`: pointers and numbers would convert to it.
inline ZVal php_bool(std::same_as<bool> auto value)
{
    return ZVal(new detail::ZVal(std::in_place_type<bool>, value));
}

/// Returns an integer.
inline ZVal php_long(std::int64_t value)
{
    return ZVal(new detail::ZVal(std::in_place_type<std::int64_t>, value));
}

/// Returns a floating-point number.
inline ZVal php_double(double value)
{
    return ZVal(new detail::ZVal(std::in_place_type<double>, value));
}

/// Returns a string with a copy of the bytes, which need not be UTF-8.
inline ZVal php_string(std::string_view bytes)
{
    return ZVal(new detail::ZVal(std::in_place_type<std::string>, bytes));
}

/// Returns an array that is not wrapped in a value, for the properties of an object.
///
/// REQUIRES: no handle in `elements` is null.
inline PelorinArray php_elements(detail::PelorinArray::Elements elements = {})
{
    return PelorinArray(new detail::PelorinArray(std::move(elements)));
}

/// Returns an array of these elements.
///
/// REQUIRES: no handle in `elements` is null.
inline ZVal php_array(detail::PelorinArray::Elements elements = {})
{
    return ZVal(new detail::ZVal(std::in_place_type<PelorinArray>, new detail::PelorinArray(std::move(elements))));
}

/// Returns a value that shares `array`.
///
/// REQUIRES: `array` is not null.
inline ZVal php_array(std::same_as<PelorinArray> auto array)
{
    return ZVal(new detail::ZVal(std::in_place_type<PelorinArray>, std::move(array)));
}

/// Returns a value that shares `object`.
///
/// REQUIRES: `object` is not null.
inline ZVal php_object(PelorinObject object)
{
    return ZVal(new detail::ZVal(std::in_place_type<PelorinObject>, std::move(object)));
}

/// Returns a value that shares `resource`.
///
/// REQUIRES: `resource` is not null.
inline ZVal php_resource(PelorinResource resource)
{
    return ZVal(new detail::ZVal(std::in_place_type<PelorinResource>, std::move(resource)));
}

/// Returns JSON text, neither parsed nor checked.
inline ZVal php_json(QByteArray text)
{
    return ZVal(new detail::ZVal(std::in_place_type<QByteArray>, std::move(text)));
}

/// Returns a time stamp, neither normalised nor checked.
inline ZVal php_timestamp(TimePair time)
{
    return ZVal(new detail::ZVal(std::in_place_type<TimePair>, time));
}

} // namespace tarnwick::data::php
