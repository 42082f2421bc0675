#include <tarnwick/data/glimmet/storage_entry.h>

#include <tarnwick/data/reading.h>
#include <tarnwick/messages.h>

#include <pelorin/protobuf/Glimmet/storage.pb.h>
#include <tarnwick/rpc/glimmet/v1/storage.pb.h>

namespace tarnwick::data::glimmet::detail {
namespace {

// No reserve(): memory then depends on the values that exist, not on the number that a message announces.
template <class Values>
QList<QByteArray> list_of(Values const &values)
{
    QList<QByteArray> list;
    for (auto const &value : values)
        list.append(bytes(value));
    return list;
}

} // namespace

StorageEntry::StorageEntry(messages::rpc_glimmet::StorageEntry const &message)
    : name_(text(message.name()))
    , values_(list_of(message.values()))
{
}

StorageEntry::StorageEntry(messages::protobuf_glimmet::StorageEntry const &message)
    : name_(text(message.name()))
    , values_(list_of(message.values()))
{
}

} // namespace tarnwick::data::glimmet::detail
