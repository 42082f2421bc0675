// Chains of transactions whose links threads share. A release stops at the first link that another thread still holds,
// and the last of these threads continues it.

#include "threads/threads.h"

#include <tarnwick/data/glimmet/sql_transactions.h>

#include <pelorin/protobuf/Glimmet/sql.pb.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <utility>
#include <vector>

namespace tarnwick::data::glimmet::chains_test {
namespace {

using Pointer = QExplicitlySharedDataPointer<detail::SqlTransaction>;

constexpr int rounds = 20;
constexpr unsigned int tail_links = 5'000;

/// The last child of a chain of links with ids from `links - 1` down to 0, which is the root or the child of `parent`.
Pointer chain(unsigned int links, Pointer parent = {})
{
    pelorin::protobuf::Glimmet::SqlTransaction message;
    message.set_parent_id(0);
    SqlTransactions::Table table{{0, std::move(parent)}};
    for (unsigned int id = 0; id < links; ++id) {
        message.set_id(id);
        table[0] = Pointer(new detail::SqlTransaction(message, table));
    }
    return table.take(0);
}

Pointer root_of(Pointer link)
{
    while (link->parent())
        link = link->parent();
    return link;
}

TEST(SharedChain, with_a_shared_tail_is_released_by_the_last_thread)
{
    constexpr unsigned int own_links = 100;
    for (int round = 0; round < rounds; ++round) {
        auto tail = chain(tail_links);
        auto const root = root_of(tail);
        std::vector<Pointer> children(test::threads);
        std::ranges::generate(children, [&] { return chain(own_links, tail); });
        tail.reset();

        std::atomic<std::size_t> links = 0;
        test::on_threads([&](std::size_t thread) {
            // Reads while it releases, as a consumer would.
            std::size_t seen = 0;
            for (auto const *link = children[thread].get(); link != nullptr; link = link->parent().get())
                ++seen;
            links += seen;
            children[thread].reset();
        });
        EXPECT_EQ(links, test::threads * (own_links + tail_links));
        ASSERT_EQ(root->ref.loadRelaxed(), 1);
    }
}

// Every link has an owner on another thread while the chain is released.
TEST(SharedChain, with_every_link_shared_is_released_by_the_last_thread)
{
    for (int round = 0; round < rounds; ++round) {
        auto child = chain(tail_links);
        auto const root = root_of(child);
        std::vector<std::vector<Pointer>> held(test::threads);
        std::size_t number = 0;
        for (auto const *link = &child; (*link)->parent(); link = &(*link)->parent())
            held[++number % test::threads].push_back(*link);
        held[0].push_back(std::move(child));

        test::on_threads([&](std::size_t thread) { held[thread].clear(); });
        ASSERT_EQ(root->ref.loadRelaxed(), 1);
    }
}

} // namespace
} // namespace tarnwick::data::glimmet::chains_test
