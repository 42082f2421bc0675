#pragma once

// The handles of PHP values, apart from their payloads: a value can hold an array that holds values.

#include <tarnwick/data/handle.h>

#include <QtCore/QMetaType>

namespace tarnwick::data::php {
namespace detail {

class ZVal;
class PelorinArray;
class PelorinObject;
class PelorinResource;

} // namespace detail

/// Shared, read-only handle of a PHP value.
class ZVal : public Handle<detail::ZVal> {
public:
    using Handle::Handle;
};

/// Shared, read-only handle of a PHP array.
class PelorinArray : public Handle<detail::PelorinArray> {
public:
    using Handle::Handle;
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
