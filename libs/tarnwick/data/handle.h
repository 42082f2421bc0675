#pragma once

#include <tarnwick/data/description.h>

#include <QtCore/QExplicitlySharedDataPointer>
#include <QtCore/QTypeInfo>

#include <concepts>
#include <utility>

namespace tarnwick::data {

/// Shared handle of a payload. A handle is one pointer wide, and a copy costs one atomic increment. The last handle
/// deletes the payload. Every handle class of the library derives from `Handle` and is a
/// `QExplicitlySharedDataPointer`, so functions that take that pointer type also take handles.
///
/// The pointer type converts implicitly to the handle of the same payload, because lists and tables contain pointers.
/// Nothing else converts. A handle is usable as a condition, but converts to no `bool`, number or handle of another
/// record.
///
/// Records are immutable, so there is no handle of a const payload. Users, authentication requests and sessions are the
/// exception: programs write their fields through the handles.
template <class Payload>
class Handle : public QExplicitlySharedDataPointer<Payload> {
public:
    using Pointer = QExplicitlySharedDataPointer<Payload>;

    Handle() noexcept = default;
    explicit Handle(Payload *payload) noexcept
        : Pointer(payload)
    {
    }
    /// Adopts a reference that the caller already counted.
    Handle(Payload *payload, QAdoptSharedDataTag tag) noexcept
        : Pointer(payload, tag)
    {
    }
    Handle(Pointer const &pointer) noexcept // NOLINT(google-explicit-constructor): list elements convert to handles
        : Pointer(pointer)
    {
    }
    Handle(Pointer &&pointer) noexcept // NOLINT(google-explicit-constructor): list elements convert to handles
        : Pointer(std::move(pointer))
    {
    }

    /// Returns whether the handle is not null. Hides the implicit conversion of the base class.
    explicit operator bool() const noexcept { return this->get() != nullptr; }

    // Deleted because Qt's pointer type declares conversions from and to the pointer type of every class.
    template <class Other>
        requires(!std::convertible_to<Other *, Payload *>)
    explicit Handle(QExplicitlySharedDataPointer<Other> const &) = delete;
    template <class Other>
        requires(!std::convertible_to<Payload *, Other *>)
    operator QExplicitlySharedDataPointer<Other>() const = delete;
};

namespace internal {

template <class Payload>
void as_handle(Handle<Payload> const &);

} // namespace internal

/// A class that derives from `Handle` and adds no data member.
template <class T>
concept HandleClass = requires(T const &handle) { internal::as_handle(handle); } && sizeof(T) == sizeof(void *);

} // namespace tarnwick::data

// Handles are relocatable: lists move them as bytes, and a QVariant stores one without an allocation.
template <tarnwick::data::HandleClass T>
Q_DECLARE_TYPEINFO_BODY(T, Q_RELOCATABLE_TYPE);
