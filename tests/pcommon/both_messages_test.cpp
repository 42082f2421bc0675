// What zeromq::msg_t and ZMQ::Message have in common: each owns the bytes of one zmq_msg_t.

#include <zeromq/message.h>
#include <zeromq/msg.h>

#include <cstddef>
#include <limits>
#include <new>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include <gtest/gtest.h>

namespace tarnwick::test::both_messages_test {
namespace {

template <class Message>
struct BothMessages : testing::Test {
    static_assert(!std::is_copy_constructible_v<Message> && !std::is_copy_assignable_v<Message>);
    static_assert(std::is_nothrow_default_constructible_v<Message>);
    static_assert(std::is_nothrow_move_constructible_v<Message> && std::is_nothrow_move_assignable_v<Message>);
    static_assert(std::is_nothrow_destructible_v<Message>);
    static_assert(!std::is_convertible_v<std::string_view, Message>);
};

struct Names {
    template <class Message>
    static char const *GetName(int /*index*/)
    {
        return std::is_same_v<Message, ZMQ::Message> ? "zmq_message" : "msg_t";
    }
};

using Types = testing::Types<zeromq::msg_t, ZMQ::Message>;
TYPED_TEST_SUITE(BothMessages, Types, Names);

struct Row {
    char const *name;
    std::string bytes;
    bool is_inside; ///< ZeroMQ keeps the bytes inside the zmq_msg_t, so that they move with it
};

Row const rows[] = {
    {"none", "", true},
    {"one", "x", true},
    {"embedded_nul", std::string("a\0b\0", 4), true},
    {"not_utf8", "\xFF\xFE\x80", true},
    {"small", std::string(30, 's'), true},
    {"larger_than_the_struct", std::string(sizeof(zmq_msg_t) + 1, 'l'), false},
    {"large", std::string(1'000'000, 'L'), false},
};

template <class Message>
bool is_inside(Message &message)
{
    auto const *const data = static_cast<std::byte const *>(zmq_msg_data(message.handle()));
    auto const *const begin = reinterpret_cast<std::byte const *>(message.handle());
    return data >= begin && data < begin + sizeof(zmq_msg_t);
}

template <class Message>
void expect_bytes(Message &message, std::string_view bytes)
{
    if constexpr (std::is_same_v<Message, ZMQ::Message>) {
        EXPECT_TRUE(message.holds_message());
    }
    EXPECT_EQ(std::string_view(std::as_const(message).data(), std::as_const(message).size()), bytes);
    EXPECT_EQ(std::as_const(message).data(), zmq_msg_data(message.handle()));
    EXPECT_EQ(std::as_const(message).size(), zmq_msg_size(message.handle()));
}

template <class Message>
void expect_moved_from(Message &message)
{
    if constexpr (std::is_same_v<Message, ZMQ::Message>) {
        EXPECT_FALSE(message.holds_message());
    }
    EXPECT_EQ(zmq_msg_size(message.handle()), 0U);
    EXPECT_EQ(std::as_const(message).size(), 0U);
}

TYPED_TEST(BothMessages, default_constructed_is_empty)
{
    TypeParam message;
    expect_bytes(message, "");
}

TYPED_TEST(BothMessages, throws_bad_alloc_without_memory)
{
    // ZeroMQ rejects the size before any byte is read.
    std::string_view const endless("", std::numeric_limits<std::size_t>::max());
    EXPECT_THROW(TypeParam{endless}, std::bad_alloc);
}

TYPED_TEST(BothMessages, copies_the_bytes)
{
    for (auto const &row : rows) {
        SCOPED_TRACE(row.name);
        auto source = row.bytes;
        TypeParam message{source};
        source.assign(source.size(), '#');
        expect_bytes(message, row.bytes);
        EXPECT_EQ(is_inside(message), row.is_inside);
    }
}

TYPED_TEST(BothMessages, move_construction_moves_the_bytes)
{
    for (auto const &row : rows) {
        SCOPED_TRACE(row.name);
        TypeParam source{row.bytes};
        void const *const data = zmq_msg_data(source.handle());
        TypeParam target(std::move(source));
        expect_bytes(target, row.bytes);
        EXPECT_EQ(zmq_msg_data(target.handle()) == data, !row.is_inside);
        expect_moved_from(source);
    }
}

TYPED_TEST(BothMessages, move_assignment_moves_the_bytes)
{
    for (auto const &row : rows) {
        for (auto const &former : rows) {
            SCOPED_TRACE(std::string(row.name) + " to " + former.name);
            TypeParam source{row.bytes};
            void const *const data = zmq_msg_data(source.handle());
            TypeParam target{former.bytes};
            EXPECT_EQ(&(target = std::move(source)), &target);
            expect_bytes(target, row.bytes);
            EXPECT_EQ(zmq_msg_data(target.handle()) == data, !row.is_inside);
            expect_moved_from(source);
        }
    }
}

TYPED_TEST(BothMessages, self_assignment_keeps_the_bytes)
{
    for (auto const &row : rows) {
        SCOPED_TRACE(row.name);
        TypeParam message{row.bytes};
        auto &same = message;
        message = std::move(same);
        expect_bytes(message, row.bytes);
    }
}

TYPED_TEST(BothMessages, moved_from_can_be_assigned)
{
    for (auto const &row : rows) {
        SCOPED_TRACE(row.name);
        TypeParam message{std::string(100, 'x')};
        TypeParam const taken(std::move(message));
        message = TypeParam{row.bytes};
        expect_bytes(message, row.bytes);
    }
}

} // namespace
} // namespace tarnwick::test::both_messages_test
