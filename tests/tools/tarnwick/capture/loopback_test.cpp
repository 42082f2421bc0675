#include "capture/loopback.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <cstddef>
#include <dlfcn.h>
#include <initializer_list>
#include <new>
#include <string>
#include <string_view>
#include <utility>

#include <zmq.h>

namespace {

/// The call to send or receive that fails, counted from 1; 0 is none.
int failing_call = 0;
int error_of_call = 0;

bool fails()
{
    if (failing_call == 0)
        return false;
    --failing_call;
    if (failing_call != 0)
        return false;
    errno = error_of_call;
    return true;
}

template <class Function>
Function *next(Function *, char const *name)
{
    return reinterpret_cast<Function *>(::dlsym(RTLD_NEXT, name));
}

} // namespace

// Replacements of functions of ZeroMQ.
int zmq_msg_send(zmq_msg_t *message, void *socket, int flags)
{
    return fails() ? -1 : next(zmq_msg_send, "zmq_msg_send")(message, socket, flags);
}

int zmq_msg_recv(zmq_msg_t *message, void *socket, int flags)
{
    return fails() ? -1 : next(zmq_msg_recv, "zmq_msg_recv")(message, socket, flags);
}

int zmq_send(void *socket, void const *bytes, std::size_t size, int flags)
{
    return fails() ? -1 : next(zmq_send, "zmq_send")(socket, bytes, size, flags);
}

int zmq_recv(void *socket, void *bytes, std::size_t size, int flags)
{
    return fails() ? -1 : next(zmq_recv, "zmq_recv")(socket, bytes, size, flags);
}

namespace tarnwick::program::loopback_test {
namespace {

using testing::StrEq;
using testing::ThrowsMessage;

constexpr int calls_of_a_part = 4; // two to send and two to receive, if more parts follow

struct Faults {
    Faults(int call, int error)
    {
        failing_call = call;
        error_of_call = error;
    }
    ~Faults() { failing_call = 0; }
    Faults(Faults const &) = delete;
    Faults &operator=(Faults const &) = delete;
};

std::string bytes_of(zeromq::msg_t message)
{
    return {static_cast<char const *>(zmq_msg_data(message.handle())), zmq_msg_size(message.handle())};
}

TEST(Loopback, returns_each_part_with_its_bytes_and_more_flag)
{
    Loopback loopback;
    for (auto const size : std::initializer_list<std::size_t>{0, 1, 33, 34, 5'000'000}) {
        for (bool const more : {true, true, false, true, false, false}) {
            SCOPED_TRACE(size);
            SCOPED_TRACE(more);
            std::string const bytes(size, 'x');
            auto message = loopback.transfer(bytes, more);
            EXPECT_EQ(zmq_msg_more(message.handle()), more ? 1 : 0);
            EXPECT_EQ(bytes_of(std::move(message)), bytes);
        }
    }
}

TEST(Loopback, does_not_mix_messages_with_another_instance)
{
    Loopback first;
    Loopback second;
    auto message = first.transfer("first", true);
    auto other = second.transfer("second", false);
    EXPECT_EQ(zmq_msg_size(message.handle()), 5U);
    EXPECT_EQ(zmq_msg_size(other.handle()), 6U);
    EXPECT_EQ(zmq_msg_more(other.handle()), 0);
}

TEST(Loopback, repeats_calls_that_a_signal_interrupts)
{
    Loopback loopback;
    for (int call = 1; call <= calls_of_a_part; ++call) {
        SCOPED_TRACE(call);
        Faults const faults(call, EINTR);
        EXPECT_EQ(bytes_of(loopback.transfer("first", true)), "first");
        EXPECT_EQ(failing_call, 0);
        EXPECT_EQ(bytes_of(loopback.transfer("second", false)), "second");
    }
}

TEST(Loopback, drops_a_part_after_a_failure)
{
    Loopback loopback;
    for (int call = 1; call <= calls_of_a_part; ++call) {
        SCOPED_TRACE(call);
        for (auto const &[error, text] :
             {std::pair{ENOTSOCK, "Socket operation on non-socket"}, std::pair{ETERM, "Context was terminated"}}) {
            Faults const faults(call, error);
            EXPECT_THAT([&] { (void)loopback.transfer("first", true); }, ThrowsMessage<SocketError>(StrEq(text)));
            auto message = loopback.transfer("second", false);
            EXPECT_EQ(zmq_msg_more(message.handle()), 0);
            EXPECT_EQ(bytes_of(std::move(message)), "second");
        }
        Faults const faults(call, ENOMEM);
        EXPECT_THROW((void)loopback.transfer("first", true), std::bad_alloc);
        EXPECT_EQ(bytes_of(loopback.transfer("second", false)), "second");
    }
}

} // namespace
} // namespace tarnwick::program::loopback_test
