#pragma once

#include <tarnwick/data/php/superglobals.h>
#include <tarnwick/data/php/zval.h>

#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

namespace tarnwick::program {

/// Place of a value in superglobals: a group such as `_GET`, or an element of its array.
struct ValuePlace {
    std::size_t group = 0;
    std::optional<std::size_t> element;
};

/// A value that differs from the state before.
struct SuperglobalChange {
    ValuePlace place;
    std::optional<ValuePlace> before; ///< the old value; nothing if the value is new
};

/// Returns the key and the value at a place.
std::pair<data::php::ZVal, data::php::ZVal> const &entry_at(data::php::Superglobals const &record, ValuePlace place);

/// Returns the values of `record` that differ from those of `before`, as whole values. If `before` is null, returns all
/// values.
std::vector<SuperglobalChange> superglobal_changes(data::php::Superglobals const &record,
                                                   data::php::Superglobals const *before);

} // namespace tarnwick::program
