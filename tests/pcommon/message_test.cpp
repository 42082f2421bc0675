// ZMQ::Message beyond the bytes of a message: holds_message() and move_to().

#include <zeromq/message.h>
#include <zeromq/msg.h>

#include <cerrno>
#include <string>
#include <string_view>
#include <utility>

#include <gtest/gtest.h>

namespace tarnwick::test::message_test {
namespace {

using ZMQ::Message;

static_assert(noexcept(std::declval<Message &>().move_to(nullptr)));

std::string bytes_of(zmq_msg_t *message)
{
    return {static_cast<char const *>(zmq_msg_data(message)), zmq_msg_size(message)};
}

TEST(Message, move_to_moves_into_a_message_of_the_caller)
{
    for (auto const &bytes : {std::string(), std::string("small"), std::string(1'000'000, 'L')}) {
        for (auto const &former : {std::string(), std::string("small"), std::string(5'000, 'f')}) {
            SCOPED_TRACE(std::to_string(bytes.size()) + " bytes to " + std::to_string(former.size()));
            Message source{bytes};
            void const *const data = zmq_msg_data(source.handle());
            zeromq::msg_t target{former};
            EXPECT_EQ(source.move_to(target.handle()), 0);
            EXPECT_FALSE(source.holds_message());
            EXPECT_EQ(zmq_msg_size(source.handle()), 0U);
            EXPECT_EQ(bytes_of(target.handle()), bytes);
            EXPECT_EQ(zmq_msg_data(target.handle()) == data, bytes.size() > sizeof(zmq_msg_t));
        }
    }
}

TEST(Message, move_from_a_moved_from_message_holds_nothing)
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

TEST(Message, move_to_a_closed_message_fails_and_keeps_the_bytes)
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

TEST(Message, move_to_from_a_closed_message_fails_and_keeps_the_target)
{
    Message source{"bytes"};
    zmq_msg_close(source.handle());
    zeromq::msg_t target{"former"};
    EXPECT_EQ(source.move_to(target.handle()), -1);
    EXPECT_TRUE(source.holds_message());
    EXPECT_EQ(bytes_of(target.handle()), "former");
}

TEST(Message, assignment_from_a_closed_message_moves_nothing)
{
    Message source{"bytes"};
    zmq_msg_close(source.handle());
    Message target{"taken"};
    Message const former(std::move(target));
    target = std::move(source);
    EXPECT_FALSE(target.holds_message());
    EXPECT_TRUE(source.holds_message());
}

} // namespace
} // namespace tarnwick::test::message_test
