#include <tarnwick/data/glimmet/sql_transaction.h>

#include <tarnwick/data/reading.h>
#include <tarnwick/messages.h>

#include <pelorin/protobuf/Glimmet/sql.pb.h>
#include <tarnwick/rpc/glimmet/v1/sql.pb.h>

namespace tarnwick::data::glimmet::detail {

SqlTransaction::SqlTransaction(messages::rpc_glimmet::SqlTransaction const &message,
                               QMap<unsigned int, Pointer> const &transactions) noexcept
    : id_(message.id())
    , time_(time_pair(message.time()))
{
    if (message.has_parent_id())
        parent_ = transactions.value(message.parent_id());
    if (message.has_extra_number())
        extra_number_ = message.extra_number();
}

SqlTransaction::SqlTransaction(messages::protobuf_glimmet::SqlTransaction const &message,
                               QMap<unsigned int, Pointer> const &transactions) noexcept
    : id_(message.id())
    , extra_number_(number_unless_negative(message.extra_number()))
    , time_(time_pair(message.time()))
{
    if (message.parent_case() == messages::protobuf_glimmet::SqlTransaction::kParentId)
        parent_ = transactions.value(message.parent_id());
}

// Child before parent, as members are released. A parent with another handle keeps the rest of the chain.
SqlTransaction::~SqlTransaction()
{
    auto *link = parent_.take();
    while (link != nullptr && !link->ref.deref()) {
        auto *const next = link->parent_.take();
        delete link;
        link = next;
    }
}

} // namespace tarnwick::data::glimmet::detail
