#include <tarnwick/data/php/superglobals.h>

#include <tarnwick/data/php/make_values.h>
#include <tarnwick/messages.h>

#include <pelorin/protobuf/Glimmet/superglobals.pb.h>
#include <pelorin/protobuf/Monitor/superglobals.pb.h>
#include <tarnwick/rpc/php/v1/notify_request.pb.h>

#include <algorithm>
#include <cstddef>

namespace tarnwick::data::php::detail {
namespace {

using Value = messages::protobuf_php::ZVal;

// Each function returns the value of an entry, or null if the entry is left out.

constexpr auto every_value = [](messages::protobuf_monitor::SuperglobalEntry const &entry) -> Value const * {
    return &entry.value();
};

constexpr auto value_at_start = [](messages::protobuf_glimmet::SuperglobalEntry const &entry) -> Value const * {
    return entry.has_initial_value() ? &entry.initial_value() : &entry.value();
};

constexpr auto changed_value = [](messages::protobuf_glimmet::SuperglobalEntry const &entry) -> Value const * {
    return entry.has_initial_value() ? &entry.value() : nullptr;
};

template <class Group, class ValueOf>
PelorinArray::Elements entries_of(Group const &group, ValueOf value_of)
{
    PelorinArray::Elements entries;
    entries.reserve(static_cast<std::size_t>(std::ranges::count_if(group.entries(), value_of)));
    for (auto const &entry : group.entries()) {
        if (auto const *value = value_of(entry))
            entries.emplace_back(php_string(entry.key()), php::ZVal(new ZVal(*value)));
    }
    return entries;
}

template <class Message, class ValueOf>
php::PelorinArray values_of(Message const &message, ValueOf value_of)
{
    PelorinArray::Elements groups;
    groups.reserve(static_cast<std::size_t>(message.groups_size()));
    for (auto const &group : message.groups())
        groups.emplace_back(php_string(group.name()), php_array(entries_of(group, value_of)));
    return php_elements(std::move(groups));
}

} // namespace

// A report of another case reads as one without superglobals.
Superglobals::Superglobals(messages::rpc_php::NotifyRequest const &message, init_t /*view*/)
    : request_id_(message.request_id())
    , values_(new PelorinArray(message.rinit().superglobals()))
{
}

Superglobals::Superglobals(messages::rpc_php::NotifyRequest const &message, change_t /*view*/)
    : request_id_(message.request_id())
    , values_(new PelorinArray(message.rshutdown().superglobals()))
{
}

Superglobals::Superglobals(messages::protobuf_monitor::Superglobals const &message, RequestId request_id)
    : request_id_(request_id)
    , values_(values_of(message, every_value))
{
}

Superglobals::Superglobals(messages::protobuf_glimmet::Superglobals const &message, RequestId request_id,
                           init_t /*view*/)
    : request_id_(request_id)
    , values_(values_of(message, value_at_start))
{
}

Superglobals::Superglobals(messages::protobuf_glimmet::Superglobals const &message, RequestId request_id,
                           change_t /*view*/)
    : request_id_(request_id)
    , values_(values_of(message, changed_value))
{
}

} // namespace tarnwick::data::php::detail
