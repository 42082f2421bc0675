#pragma once

#include <QtCore/QExplicitlySharedDataPointer>

#include <utility>

namespace tarnwick::data {

/// Shared, read-only hold on a record: one pointer wide, copied at the cost of one atomic increment. The payload lives
/// until its last handle goes. Payloads have no operation that changes them, so a handle to a const and to a non-const
/// one would be the same thing. Every handle class of the library derives from this one.
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
