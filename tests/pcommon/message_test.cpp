#include <zeromq/message.h>

#include "support/table.h"

#include <cerrno>
#include <cstddef>
#include <limits>
#include <new>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include <gtest/gtest.h>

namespace {

using tarnwick::test::by_name;
using tarnwick::test::TableTest;
using ZMQ::Message;

static_assert(!std::is_copy_constructible_v<Message> && !std::is_copy_assignable_v<Message>);
static_assert(std::is_nothrow_default_constructible_v<Message>);
static_assert(std::is_nothrow_move_constructible_v<Message> && std::is_nothrow_move_assignable_v<Message>);
static_assert(std::is_nothrow_destructible_v<Message>);
static_assert(!std::is_convertible_v<std::string_view, Message>);
static_assert(noexcept(std::declval<Message &>().move_to(nullptr)));

std::string bytes_of(zmq_msg_t *message)
{
    return {static_cast<char const *>(zmq_msg_data(message)), zmq_msg_size(message)};
}

TEST(Message, is_empty_by_default)
{
    Message message;
    EXPECT_TRUE(message.holds_message());
    EXPECT_EQ(zmq_msg_size(message.handle()), 0U);
}

TEST(Message, returns_its_bytes)
{
    Message source{std::string_view("a\0b", 3)};
    EXPECT_EQ(std::string_view(std::as_const(source).data(), std::as_const(source).size()),
              std::string_view("a\0b", 3));
    Message const target = std::move(source);
    EXPECT_EQ(std::string_view(target.data(), target.size()), std::string_view("a\0b", 3));
    EXPECT_EQ(source.size(), 0U); // NOLINT(bugprone-use-after-move): it is the message of 0 bytes
}

TEST(Message, throws_bad_alloc_when_there_is_no_memory)
{
    // The size is refused before any byte is read.
    std::string_view const endless("", std::numeric_limits<std::size_t>::max());
    EXPECT_THROW(Message{endless}, std::bad_alloc);
}

struct Row {
    char const *name;
    std::string bytes;
    bool stays_in_place;
};

class MessageBytes : public TableTest<Row> {};

TEST_P(MessageBytes, are_copied)
{
    std::string source = GetParam().bytes;
    Message message{source};
    source.assign(source.size(), '#');
    EXPECT_TRUE(message.holds_message());
    EXPECT_EQ(bytes_of(message.handle()), GetParam().bytes);
}

TEST_P(MessageBytes, move_by_construction_with_the_flag)
{
    Message source{GetParam().bytes};
    void const *const data = zmq_msg_data(source.handle());
    Message target(std::move(source));
    EXPECT_TRUE(target.holds_message());
    EXPECT_EQ(bytes_of(target.handle()), GetParam().bytes);
    EXPECT_EQ(zmq_msg_data(target.handle()) == data, GetParam().stays_in_place);
    EXPECT_FALSE(source.holds_message());
    EXPECT_EQ(zmq_msg_size(source.handle()), 0U);
}

TEST_P(MessageBytes, move_by_assignment_with_the_flag)
{
    for (std::string const &former : {std::string(), std::string("small"), std::string(5'000, 'f')}) {
        SCOPED_TRACE(former.size());
        Message source{GetParam().bytes};
        void const *const data = zmq_msg_data(source.handle());
        Message target{former};
        EXPECT_EQ(&(target = std::move(source)), &target);
        EXPECT_TRUE(target.holds_message());
        EXPECT_EQ(bytes_of(target.handle()), GetParam().bytes);
        EXPECT_EQ(zmq_msg_data(target.handle()) == data, GetParam().stays_in_place);
        EXPECT_FALSE(source.holds_message());
        EXPECT_EQ(zmq_msg_size(source.handle()), 0U);
    }
}

TEST_P(MessageBytes, stay_with_the_flag_when_moved_into_themselves)
{
    Message message{GetParam().bytes};
    Message &same = message;
    message = std::move(same);
    EXPECT_TRUE(message.holds_message());
    EXPECT_EQ(bytes_of(message.handle()), GetParam().bytes);
}

TEST_P(MessageBytes, move_to_a_message_of_the_caller)
{
    for (std::string const &former : {std::string(), std::string("small"), std::string(5'000, 'f')}) {
        SCOPED_TRACE(former.size());
        Message source{GetParam().bytes};
        void const *const data = zmq_msg_data(source.handle());
        zeromq::msg_t target{former};
        EXPECT_EQ(source.move_to(target.handle()), 0);
        EXPECT_FALSE(source.holds_message());
        EXPECT_EQ(zmq_msg_size(source.handle()), 0U);
        EXPECT_EQ(bytes_of(target.handle()), GetParam().bytes);
        EXPECT_EQ(zmq_msg_data(target.handle()) == data, GetParam().stays_in_place);
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, MessageBytes,
                         testing::Values(Row{"none", "", false}, Row{"embedded_nul", std::string("a\0b\0", 4), false},
                                         Row{"small", std::string(30, 's'), false},
                                         Row{"larger_than_the_struct", std::string(sizeof(zmq_msg_t) + 1, 'l'), true},
                                         Row{"large", std::string(1'000'000, 'L'), true}),
                         by_name);

TEST(Message, moved_from_passes_on_that_it_is_empty)
{
    Message source{"bytes"};
    Message const first(std::move(source));
    Message const second(std::move(source));
    EXPECT_TRUE(first.holds_message());
    EXPECT_FALSE(second.holds_message());

    Message third{"former"};
    third = std::move(source);
    EXPECT_FALSE(third.holds_message());
    EXPECT_EQ(zmq_msg_size(third.handle()), 0U);
}

TEST(Message, is_valid_again_after_assignment)
{
    Message message{"bytes"};
    Message const taken(std::move(message));
    message = Message{"again"};
    EXPECT_TRUE(message.holds_message());
    EXPECT_EQ(bytes_of(message.handle()), "again");
}

TEST(Message, keeps_its_flag_and_bytes_if_the_target_is_not_a_message)
{
    Message source{"bytes"};
    zmq_msg_t closed;
    zmq_msg_init(&closed);
    zmq_msg_close(&closed);
    EXPECT_EQ(source.move_to(&closed), -1);
    EXPECT_EQ(errno, EFAULT);
    EXPECT_TRUE(source.holds_message());
    EXPECT_EQ(bytes_of(source.handle()), "bytes");
}

TEST(Message, keeps_its_flag_when_its_own_message_was_closed)
{
    Message source{"bytes"};
    zmq_msg_close(source.handle());
    zeromq::msg_t target{"former"};
    EXPECT_EQ(source.move_to(target.handle()), -1);
    EXPECT_TRUE(source.holds_message());
    EXPECT_EQ(bytes_of(target.handle()), "former");
}

TEST(Message, moves_neither_bytes_nor_flag_from_a_closed_message)
{
    Message source{"bytes"};
    zmq_msg_close(source.handle());
    Message taken{"taken"};
    Message const empty(std::move(taken));
    taken = std::move(source);
    EXPECT_FALSE(taken.holds_message());
    EXPECT_TRUE(source.holds_message());
}

} // namespace
