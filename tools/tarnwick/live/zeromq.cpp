#include "live/zeromq.h"

#include "error_text.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <new>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/mman.h>
#include <unistd.h>

namespace tarnwick::program {
namespace {

[[noreturn]] void fail_zeromq(int error)
{
    if (error == ENOMEM)
        throw std::bad_alloc();
    // ZeroMQ describes its own errors. Its descriptions of the system's errors are not thread-safe.
    throw SocketError(error < ZMQ_HAUSNUMERO ? error_text(error) : zmq_strerror(error));
}

void *checked_zeromq(void *object)
{
    if (object == nullptr)
        fail_zeromq(zmq_errno());
    return object;
}

// ZeroMQ ends the process if a new context runs out of descriptors or memory. The context and two sockets take five
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
        fail_zeromq(error);
}

// A context starts a thread, whose stack takes most of its memory.
void require_memory()
{
    constexpr std::size_t rest = 1'048'576;
    std::size_t stack = 0;
    pthread_attr_t attributes;
    if (auto const error = ::pthread_attr_init(&attributes); error != 0)
        fail_zeromq(error);
    ::pthread_attr_getstacksize(&attributes, &stack);
    ::pthread_attr_destroy(&attributes);
    auto *const memory = ::mmap(nullptr, stack + rest, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED)
        throw std::bad_alloc();
    ::munmap(memory, stack + rest);
}

} // namespace

void TerminateContext::operator()(void *context) const noexcept
{
    while (zmq_ctx_term(context) < 0 && zmq_errno() == EINTR) {
    }
}

void CloseSocket::operator()(void *socket) const noexcept
{
    zmq_close(socket);
}

void check_zeromq(int result)
{
    if (result < 0)
        fail_zeromq(zmq_errno());
}

ContextHandle open_context(int threads)
{
    require_descriptors();
    require_memory();
    ContextHandle context(checked_zeromq(zmq_ctx_new()));
    check_zeromq(zmq_ctx_set(context.get(), ZMQ_IO_THREADS, threads));
    return context;
}

SocketHandle open_socket(ContextHandle const &context, int type)
{
    SocketHandle socket(checked_zeromq(zmq_socket(context.get(), type)));
    set_option(socket, ZMQ_LINGER, 0);
    return socket;
}

void set_option(SocketHandle const &socket, int option, int value)
{
    check_zeromq(zmq_setsockopt(socket.get(), option, &value, sizeof value));
}

} // namespace tarnwick::program
