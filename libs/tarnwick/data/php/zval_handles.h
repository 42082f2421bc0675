#pragma once

// Handles of PHP values. They are declared before their payloads, because values nest: an array's payload contains
// values. Types that a payload shares with its handle are here too.

#include <tarnwick/data/handle.h>
#include <tarnwick/data/time_pair.h>

#include <QtCore/QByteArray>
#include <QtCore/QMetaType>

#include <cstdint>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace tarnwick::data::php {
namespace detail {

class ZVal;
class PelorinArray;
class PelorinObject;
class PelorinResource;

} // namespace detail

class PelorinArray;
class PelorinObject;
class PelorinResource;

/// Shared, read-only handle of a PHP value.
class ZVal : public Handle<detail::ZVal> {
public:
    using Handle::Handle;

    /// Content of a value that no message set.
    struct undefined_t {};
    /// Content of PHP's null.
    struct null_t {};

    /// Content of a value; `detail::ZVal` describes the alternatives.
    using Value = std::variant<undefined_t, null_t, bool, std::int64_t, double, std::string, PelorinArray,
                               PelorinObject, PelorinResource, QByteArray, TimePair>;

    /// Kind of a value. The numbers are the indices of `Value`.
    enum class Kind : std::uint8_t {
        undefined,
        null,
        bool_,
        long_,
        double_,
        string,
        array,
        object,
        resource,
        json,
        timestamp,
    };
};

/// Shared, read-only handle of a PHP array.
class PelorinArray : public Handle<detail::PelorinArray> {
public:
    using Handle::Handle;

    /// Pairs of a key and a value; no handle is null.
    using Elements = std::vector<std::pair<ZVal, ZVal>>;
};

/// Shared, read-only handle of a PHP object.
class PelorinObject : public Handle<detail::PelorinObject> {
public:
    using Handle::Handle;
};

/// Shared, read-only handle of a PHP resource.
class PelorinResource : public Handle<detail::PelorinResource> {
public:
    using Handle::Handle;
};

} // namespace tarnwick::data::php
