#pragma once

#include "support/workload.h"

#include <tarnwick/data/php/make_values.h>

#include <utility>

namespace tarnwick::bench {

/// An array of `size` different string keys, numbered from `first`. Keys with the same number are equal.
inline data::php::PelorinArray key_array(int first, int size)
{
    data::php::detail::PelorinArray::Elements elements;
    for (int i = 0; i < size; ++i)
        elements.emplace_back(data::php::php_string(numbered("option_", first + i)), data::php::php_null());
    return data::php::php_elements(std::move(elements));
}

} // namespace tarnwick::bench
