#pragma once

#include <tarnwick/data/php/zval.h>

namespace tarnwick::test {

/// `own.diff_keys(other)` by a linear search of `own` for each element of `other`. The library must agree with it.
data::php::PelorinArray plain_key_difference(data::php::detail::PelorinArray const &own,
                                             data::php::detail::PelorinArray const &other);

} // namespace tarnwick::test
