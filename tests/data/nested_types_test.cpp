// What a payload calls its own can be named by its handle, so that programs need no `detail`.

#include "support/record_types.h"

#include <type_traits>

namespace tarnwick::data::nested_types_test {
namespace {

template <class Left, class Right>
inline constexpr bool same = std::is_same_v<Left, Right>;

using Event = monitor::Event;
using EventPayload = monitor::detail::Event;
static_assert(same<Event::Kind, EventPayload::Kind>);
static_assert(same<Event::Details, EventPayload::Details>);
static_assert(same<Event::CustomEvent, EventPayload::CustomEvent>);
static_assert(same<Event::FunctionError, EventPayload::FunctionError>);
static_assert(same<Event::HighMemoryUsage, EventPayload::HighMemoryUsage>);
static_assert(same<Event::PhpError, EventPayload::PhpError>);
static_assert(same<Event::SlowFunctionExec, EventPayload::SlowFunctionExec>);
static_assert(same<Event::SlowRequest, EventPayload::SlowRequest>);

static_assert(same<php::ZVal::Kind, php::detail::ZVal::Kind>);
static_assert(same<php::ZVal::Value, php::detail::ZVal::Value>);
static_assert(same<php::ZVal::undefined_t, php::detail::ZVal::undefined_t>);
static_assert(same<php::ZVal::null_t, php::detail::ZVal::null_t>);
static_assert(same<php::PelorinArray::Elements, php::detail::PelorinArray::Elements>);

static_assert(same<php::ErrorData::Details, php::detail::ErrorData::Details>);
static_assert(same<php::ErrorData::undef_t, php::detail::ErrorData::undef_t>);
static_assert(same<php::Superglobals::init_t, php::detail::Superglobals::init_t>);
static_assert(same<php::Superglobals::change_t, php::detail::Superglobals::change_t>);

static_assert(same<codetrace::Header::TraceKind, codetrace::detail::Header::TraceKind>);
static_assert(same<codetrace::Header::DumpHeader, codetrace::detail::Header::DumpHeader>);
static_assert(codetrace::Header::dump_header_size == codetrace::detail::Header::dump_header_size);

static_assert(same<glimmet::SqlTransaction::Pointer, glimmet::detail::SqlTransaction::Pointer>);

static_assert(same<PelorinPHPX::Auth::User::Kind, PelorinPHPX::Auth::UserData::Kind>);

} // namespace
} // namespace tarnwick::data::nested_types_test
