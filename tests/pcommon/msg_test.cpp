// What zeromq::msg_t has besides the bytes of a message: its layout and the release of its bytes.

#include <zeromq/msg.h>

#include <string>
#include <string_view>
#include <utility>

#include <gtest/gtest.h>

namespace tarnwick::test::msg_test {
namespace {

using zeromq::msg_t;

static_assert(sizeof(msg_t) == sizeof(zmq_msg_t) && alignof(msg_t) == alignof(zmq_msg_t));
static_assert(noexcept(std::declval<msg_t const &>().data()) && noexcept(std::declval<msg_t const &>().size()));

void count_release(void *, void *hint)
{
    ++*static_cast<int *>(hint);
}

TEST(Msg, releases_its_bytes_once)
{
    std::string bytes(100, 'x');
    int released = 0;
    {
        msg_t target;
        {
            msg_t source;
            zmq_msg_init_data(source.handle(), bytes.data(), bytes.size(), count_release, &released);
            target = std::move(source);
        }
        EXPECT_EQ(released, 0);
    }
    EXPECT_EQ(released, 1);
}

TEST(Msg, move_assignment_releases_the_former_bytes)
{
    std::string bytes(100, 'x');
    int released = 0;
    msg_t message;
    zmq_msg_init_data(message.handle(), bytes.data(), bytes.size(), count_release, &released);
    message = msg_t{"other"};
    EXPECT_EQ(released, 1);
    EXPECT_EQ(std::string_view(message.data(), message.size()), "other");
}

} // namespace
} // namespace tarnwick::test::msg_test
