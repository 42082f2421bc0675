#pragma once

#include <QtCore/QExplicitlySharedDataPointer>

#include <utility>

namespace tarnwick::data {

/// Shared hold on a payload: one pointer wide, copied at the cost of one atomic increment. The payload lives until its
/// last handle goes. Records have no operation that changes them, so a handle to a const and to a non-const one would be
/// the same thing; the fields of users, authentication requests and sessions are written through it. Every handle class
/// of the library derives from this one.
template <class Payload>
class Handle : public QExplicitlySharedDataPointer<Payload> {
public:
    using Pointer = QExplicitlySharedDataPointer<Payload>;
    using Pointer::Pointer;

    Handle() noexcept = default;
    /// Lists and tables hold the pointer type itself.
    explicit Handle(Pointer const &pointer) noexcept
        : Pointer(pointer)
    {
    }
    explicit Handle(Pointer &&pointer) noexcept
        : Pointer(std::move(pointer))
    {
    }
};

} // namespace tarnwick::data
