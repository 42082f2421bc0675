#include "capture/loopback.h"

#include "error_text.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <memory>
#include <new>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>

#include <zmq.h>

namespace tarnwick::program {
namespace {

constexpr auto const *endpoint = "inproc://loopback";

[[noreturn]] void fail(int error)
{
    if (error == ENOMEM)
        throw std::bad_alloc();
    // ZeroMQ describes its own errors. Its descriptions of the system's errors are not thread-safe.
    throw SocketError(error < ZMQ_HAUSNUMERO ? error_text(error) : zmq_strerror(error));
}

void *checked(void *object)
{
    if (object == nullptr)
        fail(zmq_errno());
    return object;
}

void check(int result)
{
    if (result < 0)
        fail(zmq_errno());
}

/// Repeats a call while signals interrupt it, then checks its result.
template <class Call>
void check_uninterrupted(Call call)
{
    int result = 0;
    do
        result = call();
    while (result < 0 && zmq_errno() == EINTR);
    check(result);
}

// ZeroMQ ends the process if a new context runs out of descriptors or memory. Context and sockets take five
// descriptors.
void require_descriptors()
{
    constexpr std::size_t wanted = 8;
    std::array<int, wanted> descriptors{};
    std::size_t opened = 0;
    int error = 0;
    while (opened < wanted && error == 0) {
        descriptors[opened] = ::eventfd(0, EFD_CLOEXEC);
        if (descriptors[opened] < 0)
            error = errno;
        else
            ++opened;
    }
    while (opened > 0)
        ::close(descriptors[--opened]);
    if (error != 0)
        fail(error);
}

// A context starts a thread, whose stack takes most of its memory.
void require_memory()
{
    constexpr std::size_t rest = 1'048'576;
    std::size_t stack = 0;
    pthread_attr_t attributes;
    if (auto const error = ::pthread_attr_init(&attributes); error != 0)
        fail(error);
    ::pthread_attr_getstacksize(&attributes, &stack);
    ::pthread_attr_destroy(&attributes);
    auto *const memory = ::mmap(nullptr, stack + rest, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED)
        throw std::bad_alloc();
    ::munmap(memory, stack + rest);
}

} // namespace

void Loopback::Terminate::operator()(void *context) const noexcept
{
    while (zmq_ctx_term(context) < 0 && zmq_errno() == EINTR) {
    }
}

void Loopback::Close::operator()(void *socket) const noexcept
{
    zmq_close(socket);
}

Loopback::Pair::Pair()
{
    require_descriptors();
    require_memory();
    context.reset(checked(zmq_ctx_new()));
    // Messages inside the process need no I/O thread.
    check(zmq_ctx_set(context.get(), ZMQ_IO_THREADS, 0));
    sender = socket();
    receiver = socket();
    check(zmq_bind(receiver.get(), endpoint));
    check(zmq_connect(sender.get(), endpoint));
}

Loopback::Socket Loopback::Pair::socket() const
{
    Socket socket(checked(zmq_socket(context.get(), ZMQ_PAIR)));
    constexpr int nothing = 0;
    check(zmq_setsockopt(socket.get(), ZMQ_LINGER, &nothing, sizeof nothing));
    return socket;
}

zeromq::msg_t Loopback::transfer(std::string_view bytes, bool more)
{
    // If a call below throws, the pair is closed together with the parts in it.
    auto pair = pair_ ? std::move(pair_) : std::make_unique<Pair>();
    zeromq::msg_t message(bytes);
    check_uninterrupted([&] { return zmq_msg_send(message.handle(), pair->sender.get(), more ? ZMQ_SNDMORE : 0); });
    // The first part can be received only after the last one is sent.
    if (more)
        check_uninterrupted([&] { return zmq_send(pair->sender.get(), nullptr, 0, 0); });
    check_uninterrupted([&] { return zmq_msg_recv(message.handle(), pair->receiver.get(), 0); });
    if (more)
        check_uninterrupted([&] { return zmq_recv(pair->receiver.get(), nullptr, 0, 0); });
    pair_ = std::move(pair);
    return message;
}

} // namespace tarnwick::program
