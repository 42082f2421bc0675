#include "loopback.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>

namespace tarnwick::program {
namespace {

TEST(Loopback, gives_each_part_with_its_bytes_and_the_transports_word_on_further_ones)
{
    Loopback loopback;
    for (auto const size : std::initializer_list<std::size_t>{0, 1, 33, 34, 5'000'000}) {
        for (bool const more : {true, true, false, true, false, false}) {
            SCOPED_TRACE(size);
            SCOPED_TRACE(more);
            std::string const bytes(size, 'x');
            auto message = loopback.received(bytes, more);
            EXPECT_EQ(std::string_view(static_cast<char const *>(zmq_msg_data(message.handle())),
                                       zmq_msg_size(message.handle())),
                      bytes);
            EXPECT_EQ(zmq_msg_more(message.handle()), more ? 1 : 0);
        }
    }
}

TEST(Loopback, has_nothing_to_do_with_another_one)
{
    Loopback first;
    Loopback second;
    auto message = first.received("first", true);
    auto other = second.received("second", false);
    EXPECT_EQ(zmq_msg_size(message.handle()), 5U);
    EXPECT_EQ(zmq_msg_size(other.handle()), 6U);
    EXPECT_EQ(zmq_msg_more(other.handle()), 0);
}

} // namespace
} // namespace tarnwick::program
