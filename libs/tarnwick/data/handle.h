#pragma once

#include <tarnwick/data/description.h>

#include <QtCore/QExplicitlySharedDataPointer>
#include <QtCore/QTypeInfo>

#include <concepts>
#include <utility>

namespace tarnwick::data {

/// Shared handle of a payload: one pointer wide, copied at the cost of one atomic increment. The last handle deletes the
/// payload. Every handle class of the library derives from this one and is a `QExplicitlySharedDataPointer`, so functions
/// of Qt and of programs that take the pointer type take handles.
///
/// The pointer type converts to the handle of the same payload, because lists and tables hold it. Nothing else converts:
/// a handle is no `bool` except in a condition, no number, and no handle of another record.
///
/// Records have no operation that changes them, so there is no handle of a const payload. The fields of users,
/// authentication requests and sessions are written through their handles.
template <class Payload>
class Handle : public QExplicitlySharedDataPointer<Payload> {
public:
    using Pointer = QExplicitlySharedDataPointer<Payload>;

    Handle() noexcept = default;
    explicit Handle(Payload *payload) noexcept
        : Pointer(payload)
    {
    }
    /// Takes over one count that the caller holds.
    Handle(Payload *payload, QAdoptSharedDataTag tag) noexcept
        : Pointer(payload, tag)
    {
    }
    Handle(Pointer const &pointer) noexcept // NOLINT(google-explicit-constructor): elements of lists pass for handles
        : Pointer(pointer)
    {
    }
    Handle(Pointer &&pointer) noexcept // NOLINT(google-explicit-constructor): elements of lists pass for handles
        : Pointer(std::move(pointer))
    {
    }

    /// Whether the handle is not null. Hides the implicit conversion of the base class.
    explicit operator bool() const noexcept { return this->get() != nullptr; }

    // Qt's pointer type claims to convert from and to that of every other type.
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

/// A class that derives from `Handle` and adds no member.
template <class T>
concept HandleClass = requires(T const &handle) { internal::as_handle(handle); } && sizeof(T) == sizeof(void *);

} // namespace tarnwick::data

// Lists move handles as bytes, and a QVariant holds one without an allocation.
template <tarnwick::data::HandleClass T>
Q_DECLARE_TYPEINFO_BODY(T, Q_RELOCATABLE_TYPE);
