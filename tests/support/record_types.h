#pragma once

// All handles and values of the library, for tests that apply to each type.

#include <tarnwick/auth/request.h>
#include <tarnwick/auth/session.h>
#include <tarnwick/auth/user.h>
#include <tarnwick/data/records.h>
#include <tarnwick/data/time_pair.h>

namespace tarnwick::test {

using data::Types;

/// Whether a condition is true for every type of a list: `for_all<Handles>([]<class Handle> { return ...; })`.
template <class List, class Condition>
constexpr bool for_all(Condition condition)
{
    return
        [&]<class... Members>(Types<Members...>) { return (condition.template operator()<Members>() && ...); }(List());
}

using Handles = decltype(data::RecordHandles() +
                         Types<PelorinPHPX::Auth::Request, PelorinPHPX::Auth::User, PelorinPHPX::Session>());

/// Types that are copied by value and have no reference count.
using Values =
    decltype(data::RecordValues() +
             Types<data::TimePair, data::glimmet::detail::StorageEntry, data::monitor::detail::Event::CustomEvent,
                   data::monitor::detail::Event::FunctionError, data::monitor::detail::Event::HighMemoryUsage,
                   data::monitor::detail::Event::PhpError, data::monitor::detail::Event::SlowFunctionExec,
                   data::monitor::detail::Event::SlowRequest>());

} // namespace tarnwick::test
