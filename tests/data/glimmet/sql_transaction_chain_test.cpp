// Chains of parents, which one report can make as long as it likes: their release takes no stack, keeps its order, and
// stops at a link that has another owner.

#include <tarnwick/data/glimmet/sql_queries.h>

#include "support/allocations.h"
#include "support/small_stack.h"

#include <pelorin/protobuf/Glimmet/sql.pb.h>
#include <tarnwick/rpc/glimmet/v1/notify_request.pb.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <utility>
#include <vector>

namespace tarnwick::data::glimmet::sql_transaction_chain_test {
namespace {

using ProtobufTransaction = pelorin::protobuf::Glimmet::SqlTransaction;
using rpc::glimmet::v1::NotifyRequest;
using Pointer = QExplicitlySharedDataPointer<detail::SqlTransaction>;

#ifdef TARNWICK_SANITIZED
constexpr unsigned int very_many = 300'000;
#else
constexpr unsigned int very_many = 5'000'000;
#endif
/// Nested calls, one a link, would exhaust a small stack at some 8,000.
constexpr unsigned int many = 100'000;

/// The last child of a chain of links with ids from `links - 1` down to 0, which is the root or the child of `parent`.
Pointer chain(unsigned int links, Pointer parent = {})
{
    ProtobufTransaction message;
    message.set_parent_id(0);
    SqlTransactions::Table table{{0, std::move(parent)}};
    for (unsigned int id = 0; id < links; ++id) {
        message.set_id(id);
        Pointer link(new detail::SqlTransaction(message, table));
        table[0] = std::move(link);
    }
    return table.take(0);
}

Pointer ancestor(Pointer link, unsigned int generations)
{
    for (; generations > 0; --generations)
        link = link->parent();
    return link;
}

/// The links of a chain from a child on, all still there.
std::vector<Pointer> links_of(Pointer link)
{
    std::vector<Pointer> links;
    for (; link; link = link->parent())
        links.push_back(link);
    return links;
}

TEST(SqlTransactionChain, is_released_on_a_small_stack_whatever_its_length)
{
    auto child = chain(very_many);
    auto const root = ancestor(child, very_many - 1);
    ASSERT_EQ(root->id(), 0U);
    ASSERT_EQ(root->ref.loadRelaxed(), 2);
    test::on_small_stack([&] { child.reset(); });
    EXPECT_EQ(root->ref.loadRelaxed(), 1); // the whole chain before it is gone
}

TEST(SqlTransactionChain, is_built_and_released_with_a_table_and_a_record_on_a_small_stack)
{
    NotifyRequest message;
    auto &payload = *message.mutable_sql_queries();
    for (unsigned int id = 0; id < many; ++id) {
        auto &transaction = *payload.add_transactions();
        transaction.set_id(id);
        transaction.set_parent_id(id - 1);
    }
    payload.add_queries()->set_transaction_id(many - 1);
    Pointer root;
    test::on_small_stack([&] {
        SqlTransactions table(payload);
        ASSERT_EQ(table.size(), many);
        table.clear();
        SqlQueries record(new detail::SqlQueries(message));
        root = record->transactions().front();
        auto query = record->queries().front();
        record.reset(); // the query owns the chain
        ASSERT_EQ(ancestor(query->transaction(), many - 1).get(), root.get());
        query.reset();
    });
    ASSERT_TRUE(root);
    EXPECT_EQ(root->ref.loadRelaxed(), 1);
}

TEST(SqlTransactionChain, of_one_id_is_released_on_a_small_stack)
{
    rpc::glimmet::v1::SqlQueries message;
    for (unsigned int i = 0; i < many; ++i) {
        auto &transaction = *message.add_transactions();
        transaction.set_id(1);
        transaction.set_parent_id(1);
    }
    test::on_small_stack([&] {
        SqlTransactions table(message);
        EXPECT_EQ(table.size(), 1);
        auto const root = ancestor(table.first(), many - 1);
        EXPECT_FALSE(root->parent());
        table.clear();
        EXPECT_EQ(root->ref.loadRelaxed(), 1);
    });
}

TEST(SqlTransactionChain, releases_each_link_before_its_parent)
{
    constexpr unsigned int links = 6;
    auto child = chain(links);
    std::vector<void const *> parents; // from the child's own to the root
    for (auto const *link = child->parent().get(); link != nullptr; link = link->parent().get())
        parents.push_back(link);
    ASSERT_EQ(parents.size(), links - 1);

    auto const freed = test::frees_of([&] { child.reset(); });
    std::vector<void const *> freed_parents;
    std::ranges::copy_if(freed, std::back_inserter(freed_parents),
                         [&](void const *block) { return std::ranges::find(parents, block) != parents.end(); });
    EXPECT_EQ(freed_parents, parents);
}

TEST(SqlTransactionChain, keeps_the_links_that_another_owner_has)
{
    auto child = chain(many);
    auto const middle = ancestor(child, many / 2);
    ASSERT_EQ(middle->ref.loadRelaxed(), 2);
    child.reset();

    EXPECT_EQ(middle->ref.loadRelaxed(), 1);
    auto const tail = links_of(middle);
    ASSERT_EQ(tail.size(), many / 2);
    for (std::size_t i = 0; i < tail.size(); ++i)
        ASSERT_EQ(tail[i]->id(), many / 2 - 1 - i);
}

TEST(SqlTransactionChain, stops_at_a_second_owner_and_frees_nothing_after_it)
{
    auto child = chain(6);
    auto const middle = ancestor(child, 3);
    EXPECT_EQ(test::frees_of([&] { child.reset(); }).size(), 3U);
    EXPECT_EQ(links_of(middle).size(), 3U);
}

TEST(SqlTransactionChain, with_two_children_is_released_with_the_last_child)
{
    auto shared = chain(many);
    auto one = chain(10, shared);
    auto other = chain(10, std::exchange(shared, {}));
    auto const root = ancestor(one, 10 + many - 1);
    one.reset();
    EXPECT_EQ(ancestor(other, 10)->ref.loadRelaxed(), 2); // its child, and the temporary
    EXPECT_EQ(root->ref.loadRelaxed(), 2);
    test::on_small_stack([&] { other.reset(); });
    EXPECT_EQ(root->ref.loadRelaxed(), 1);
}

} // namespace
} // namespace tarnwick::data::glimmet::sql_transaction_chain_test
