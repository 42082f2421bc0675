#include <zeromq/msg.h>

#include "support/table.h"

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
using zeromq::msg_t;

static_assert(!std::is_copy_constructible_v<msg_t> && !std::is_copy_assignable_v<msg_t>);
static_assert(std::is_nothrow_default_constructible_v<msg_t>);
static_assert(std::is_nothrow_move_constructible_v<msg_t> && std::is_nothrow_move_assignable_v<msg_t>);
static_assert(std::is_nothrow_destructible_v<msg_t>);
static_assert(!std::is_convertible_v<std::string_view, msg_t>);
static_assert(sizeof(msg_t) == sizeof(zmq_msg_t) && alignof(msg_t) == alignof(zmq_msg_t));

static_assert(noexcept(std::declval<msg_t const &>().data()) && noexcept(std::declval<msg_t const &>().size()));

std::string bytes_of(msg_t const &message)
{
    return {message.data(), message.size()};
}

// Whether ZeroMQ keeps the bytes inside the zmq_msg_t.
bool is_inside(msg_t &message)
{
    auto const *const data = static_cast<std::byte const *>(zmq_msg_data(message.handle()));
    auto const *const begin = reinterpret_cast<std::byte const *>(message.handle());
    return data >= begin && data < begin + sizeof(zmq_msg_t);
}

TEST(Msg, made_from_nothing_is_empty)
{
    msg_t const message;
    EXPECT_EQ(message.size(), 0U);
}

TEST(Msg, shows_the_bytes_that_zeromq_shows)
{
    for (auto const *bytes : {"small", "more bytes than a zmq_msg_t has room for, so in a block of their own"}) {
        msg_t message{std::string_view(bytes)};
        EXPECT_EQ(std::as_const(message).data(), zmq_msg_data(message.handle()));
        EXPECT_EQ(std::as_const(message).size(), zmq_msg_size(message.handle()));
    }
}

TEST(Msg, throws_bad_alloc_when_there_is_no_memory)
{
    // The size is refused before any byte is read.
    std::string_view const endless("", std::numeric_limits<std::size_t>::max());
    EXPECT_THROW(msg_t{endless}, std::bad_alloc);
}

struct Row {
    char const *name;
    std::string bytes;
    bool inside;
};

class MsgBytes : public TableTest<Row> {};

TEST_P(MsgBytes, are_copied)
{
    std::string source = GetParam().bytes;
    msg_t message{source};
    source.assign(source.size(), '#');
    EXPECT_EQ(bytes_of(message), GetParam().bytes);
    EXPECT_EQ(is_inside(message), GetParam().inside);
}

TEST_P(MsgBytes, move_by_construction)
{
    msg_t source{GetParam().bytes};
    void const *const data = zmq_msg_data(source.handle());
    msg_t target(std::move(source));
    EXPECT_EQ(bytes_of(target), GetParam().bytes);
    EXPECT_EQ(zmq_msg_size(source.handle()), 0U);
    EXPECT_EQ(zmq_msg_data(target.handle()) == data, !GetParam().inside);
}

TEST_P(MsgBytes, move_by_assignment)
{
    for (std::string const &former : {std::string(), std::string("small"), std::string(5'000, 'f')}) {
        SCOPED_TRACE(former.size());
        msg_t source{GetParam().bytes};
        void const *const data = zmq_msg_data(source.handle());
        msg_t target{former};
        EXPECT_EQ(&(target = std::move(source)), &target);
        EXPECT_EQ(bytes_of(target), GetParam().bytes);
        EXPECT_EQ(zmq_msg_size(source.handle()), 0U);
        EXPECT_EQ(zmq_msg_data(target.handle()) == data, !GetParam().inside);
    }
}

TEST_P(MsgBytes, stay_when_moved_into_themselves)
{
    msg_t message{GetParam().bytes};
    msg_t &same = message;
    message = std::move(same);
    EXPECT_EQ(bytes_of(message), GetParam().bytes);
}

TEST_P(MsgBytes, can_be_assigned_to_a_moved_from_message)
{
    msg_t message{std::string(100, 'x')};
    msg_t const taken(std::move(message));
    message = msg_t{GetParam().bytes};
    EXPECT_EQ(bytes_of(message), GetParam().bytes);
}

INSTANTIATE_TEST_SUITE_P(Sizes, MsgBytes,
                         testing::Values(Row{"none", "", true}, Row{"one", "x", true},
                                         Row{"embedded_nul", std::string("a\0b\0", 4), true},
                                         Row{"not_utf8", "\xFF\xFE\x80", true},
                                         Row{"small", std::string(30, 's'), true},
                                         Row{"larger_than_the_struct", std::string(sizeof(zmq_msg_t) + 1, 'l'), false},
                                         Row{"large", std::string(1'000'000, 'L'), false}),
                         by_name);

void note_release(void *, void *hint)
{
    ++*static_cast<int *>(hint);
}

TEST(Msg, releases_its_bytes_once_at_its_end)
{
    std::string bytes(100, 'x');
    int released = 0;
    {
        msg_t target;
        {
            msg_t source;
            zmq_msg_init_data(source.handle(), bytes.data(), bytes.size(), note_release, &released);
            target = std::move(source);
        }
        EXPECT_EQ(released, 0);
    }
    EXPECT_EQ(released, 1);
}

TEST(Msg, releases_its_bytes_when_others_are_moved_in)
{
    std::string bytes(100, 'x');
    int released = 0;
    msg_t message;
    zmq_msg_init_data(message.handle(), bytes.data(), bytes.size(), note_release, &released);
    message = msg_t{"other"};
    EXPECT_EQ(released, 1);
    EXPECT_EQ(bytes_of(message), "other");
}

} // namespace
