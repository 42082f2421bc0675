#include "live/endpoint.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace tarnwick::program {
namespace {

TEST(EndpointTest, is_local_if_only_this_machine_reaches_it)
{
    for (std::string const text : {"ipc:///run/tarnwick.sock", "ipc://relative", "tcp://127.0.0.1:5555",
                                   "tcp://127.1.2.3:*", "tcp://localhost:5555", "tcp://[::1]:5555"})
        EXPECT_TRUE(Endpoint(text).is_local()) << text;
    for (std::string const text :
         {"tcp://*:5555", "tcp://0.0.0.0:5555", "tcp://192.168.0.1:5555", "tcp://[::]:5555", "tcp://[fe80::1]:5555",
          "tcp://lo:5555", "tcp://localhost.example:5555", "tcp://127.0.0.1.example:5555", "tcp://eth0;127.0.0.1:5555",
          "tcp://128.0.0.1:5555", "tcp://::1:5555"})
        EXPECT_FALSE(Endpoint(text).is_local()) << text;
}

TEST(EndpointTest, keeps_the_file_of_an_ipc_address)
{
    EXPECT_EQ(Endpoint("ipc:///run/tarnwick.sock").path(), "/run/tarnwick.sock");
    EXPECT_EQ(Endpoint("tcp://127.0.0.1:5555").path(), "");
}

TEST(EndpointTest, refuses_other_texts)
{
    for (std::string const text :
         {"", "5555", "tcp://", "tcp://:5555", "tcp://127.0.0.1", "tcp://127.0.0.1:", "tcp://127.0.0.1:0",
          "tcp://127.0.0.1:65536", "tcp://127.0.0.1:x", "tcp://127.0.0.1:1x", "udp://127.0.0.1:5555", "inproc://x",
          "ipc://", "ipc://@abstract", "ipc://*"})
        EXPECT_THROW(Endpoint{text}, std::invalid_argument) << text;
}

TEST(EndpointTest, refuses_a_path_that_the_system_cannot_bind)
{
    EXPECT_EQ(Endpoint("ipc://" + std::string(107, 'x')).path().size(), 107U);
    EXPECT_THROW(Endpoint("ipc://" + std::string(108, 'x')), std::invalid_argument);
}

} // namespace
} // namespace tarnwick::program
