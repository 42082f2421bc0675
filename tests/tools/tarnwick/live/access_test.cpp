// Which processes reach the sockets of `record` and `replay`.

#include "live/access.h"

#include "support/config_files.h"
#include "support/open_files.h"
#include "support/table.h"
#include "tools/tarnwick/support/files.h"

#include <gmock/gmock.h>

#include <arpa/inet.h>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <netinet/in.h>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <vector>

namespace tarnwick::test::access_test {
namespace {

using namespace program;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::ThrowsMessage;

std::string endpoint_of(SocketHandle const &socket)
{
    std::array<char, 256> text{};
    auto size = text.size();
    EXPECT_EQ(zmq_getsockopt(socket.get(), ZMQ_LAST_ENDPOINT, text.data(), &size), 0);
    return text.data();
}

struct Event {
    int id;
    std::uint32_t value;
    bool operator==(Event const &) const = default;
};

/// Receiver that checks clients, and records what happens.
class Server {
public:
    explicit Server(AccessOptions const &options, std::string const &endpoint = "tcp://127.0.0.1:*",
                    int handshake_milliseconds = 30'000)
        : access_(context_, Attachment::bind, options)
        , socket_(open_socket(context_, ZMQ_PULL))
        , monitor_(open_socket(context_, ZMQ_PAIR))
    {
        set_option(monitor_, ZMQ_RCVHWM,
                   0); // the thread of ZeroMQ would wait for a reader, with a lock that closing wants
        EXPECT_EQ(zmq_socket_monitor(socket_.get(), "inproc://monitor", ZMQ_EVENT_ALL), 0);
        EXPECT_EQ(zmq_connect(monitor_.get(), "inproc://monitor"), 0);
        set_option(socket_, ZMQ_HANDSHAKE_IVL, handshake_milliseconds);
        access_.attach(socket_, Endpoint(endpoint));
    }

    ~Server() { zmq_socket_monitor(socket_.get(), nullptr, 0); }
    Server(Server const &) = delete;
    Server &operator=(Server const &) = delete;

    /// Receives and admits until the condition is true.
    template <class Condition>
    void serve_until(Condition const &condition)
    {
        while (!condition()) {
            auto *const clients = access_.clients() == nullptr ? nullptr : access_.clients()->socket();
            std::array<zmq_pollitem_t, 3> items{
                {{.socket = monitor_.get(), .fd = 0, .events = ZMQ_POLLIN, .revents = 0},
                 {.socket = socket_.get(), .fd = 0, .events = ZMQ_POLLIN, .revents = 0},
                 {.socket = clients, .fd = 0, .events = ZMQ_POLLIN, .revents = 0}}};
            ASSERT_GT(zmq_poll(items.data(), clients == nullptr ? 2 : 3, -1), 0);
            if (items[0].revents != 0)
                receive_event();
            if (items[1].revents != 0)
                messages_.push_back(receive(socket_));
            if (items[2].revents != 0)
                problems_.push_back(access_.clients()->handle());
        }
    }
    void serve_until_message(std::string const &message)
    {
        serve_until([&] { return !messages_.empty() && messages_.back() == message; });
    }
    /// Stops at a message, which fails the tests that expect another event.
    void serve_until_event(int id, std::size_t count = 1)
    {
        auto const messages = messages_.size();
        serve_until([&] { return count_of(id) >= count || messages_.size() > messages; });
    }

    [[nodiscard]] std::size_t count_of(int id) const
    {
        std::size_t count = 0;
        for (auto const &event : events_)
            count += event.id == id ? 1 : 0;
        return count;
    }
    [[nodiscard]] std::string endpoint() const { return endpoint_of(socket_); }
    [[nodiscard]] ContextHandle const &context() const { return context_; }
    [[nodiscard]] ZapHandler &clients() { return *access_.clients(); }
    [[nodiscard]] std::vector<Event> const &events() const { return events_; }
    [[nodiscard]] std::vector<std::string> const &messages() const { return messages_; }
    [[nodiscard]] std::vector<std::string> const &problems() const { return problems_; }

private:
    static std::string receive(SocketHandle const &socket)
    {
        std::array<char, 1024> bytes{};
        auto const size = zmq_recv(socket.get(), bytes.data(), bytes.size(), 0);
        EXPECT_GE(size, 0);
        return {bytes.data(), static_cast<std::size_t>(size)};
    }
    void receive_event()
    {
        auto const bytes = receive(monitor_);
        receive(monitor_); // the address
        std::uint16_t id = 0;
        std::uint32_t value = 0;
        ASSERT_EQ(bytes.size(), sizeof id + sizeof value);
        std::memcpy(&id, bytes.data(), sizeof id);
        std::memcpy(&value, bytes.data() + sizeof id, sizeof value);
        events_.push_back({.id = id, .value = value});
    }

    ContextHandle context_ = open_context(1);
    Access access_;
    SocketHandle socket_;
    SocketHandle monitor_;
    std::vector<Event> events_;
    std::vector<std::string> messages_;
    std::vector<std::string> problems_;
};

/// Sender of one message, as soon as it is admitted.
class Client {
public:
    Client(std::string const &endpoint, std::string_view message, AccessOptions const &options = {})
        : access_(context_, Attachment::connect, options)
        , socket_(open_socket(context_, ZMQ_PUSH))
    {
        access_.attach(socket_, Endpoint(endpoint));
        EXPECT_GE(zmq_send(socket_.get(), message.data(), message.size(), 0), 0);
    }

private:
    ContextHandle context_ = open_context(1);
    Access access_;
    SocketHandle socket_;
};

class Clients : public testing::Test {
protected:
    Clients()
    {
        std::filesystem::create_directory(folder_.path("allowed"));
        for (std::string const name : {"server", "other", "allowed/good", "bad"})
            write_key_pair(folder_.path(name), make_key_pair());
    }

    [[nodiscard]] AccessOptions server_options() const
    {
        return {.curve_keys = folder_.path("server.key"), .allow = folder_.path("allowed"), .server_key = {}};
    }
    [[nodiscard]] AccessOptions client_options(std::string const &keys, std::string const &server = "server") const
    {
        return {.curve_keys = folder_.path(keys + ".key"), .allow = {}, .server_key = folder_.path(server + ".pub")};
    }
    /// Expects that no message arrived, and that a client with an allowed key still gets through.
    void expect_only_good_client(Server &server) const
    {
        EXPECT_THAT(server.messages(), IsEmpty());
        EXPECT_EQ(server.count_of(ZMQ_EVENT_HANDSHAKE_SUCCEEDED), 0U);
        Client const good(server.endpoint(), "good", client_options("allowed/good"));
        server.serve_until_message("good");
        EXPECT_THAT(server.messages(), ElementsAre("good"));
    }

    ConfigFolder folder_; // NOLINT: fixture
};

TEST_F(Clients, with_an_allowed_key_are_admitted)
{
    Server server(server_options());
    expect_only_good_client(server);
    EXPECT_EQ(server.clients().refused(), 0U);
    EXPECT_THAT(server.problems(), ElementsAre(""));
}

TEST_F(Clients, without_a_key_are_refused)
{
    Server server(server_options());
    {
        Client const plain(server.endpoint(), "bad");
        // Either side can be the first to end the handshake.
        server.serve_until_event(ZMQ_EVENT_DISCONNECTED);
    }
    expect_only_good_client(server);
}

TEST_F(Clients, with_a_wrong_server_key_are_refused)
{
    Server server(server_options());
    {
        Client const wrong(server.endpoint(), "bad", client_options("allowed/good", "other"));
        server.serve_until_event(ZMQ_EVENT_HANDSHAKE_FAILED_PROTOCOL);
        EXPECT_EQ(server.events().back().value, std::uint32_t{ZMQ_PROTOCOL_ERROR_ZMTP_CRYPTOGRAPHIC});
    }
    expect_only_good_client(server);
}

TEST_F(Clients, with_a_key_that_is_not_allowed_are_refused)
{
    Server server(server_options());
    {
        Client const stranger(server.endpoint(), "bad", client_options("bad"));
        server.serve_until_event(ZMQ_EVENT_HANDSHAKE_FAILED_AUTH);
        EXPECT_EQ(server.events().back().value, 400U);
    }
    EXPECT_EQ(server.clients().refused(), 1U);
    EXPECT_THAT(server.problems(),
                ElementsAre("refused a client at 127.0.0.1: its key " + read_public_key(folder_.path("bad.pub")) +
                            " is not in " + folder_.path("allowed")));
    expect_only_good_client(server);
}

TEST_F(Clients, are_admitted_and_refused_as_the_list_changes)
{
    Server server(server_options());
    std::filesystem::rename(folder_.path("bad.pub"), folder_.path("allowed/bad.pub"));
    {
        Client const added(server.endpoint(), "added", client_options("bad"));
        server.serve_until_message("added");
    }
    std::filesystem::rename(folder_.path("allowed/bad.pub"), folder_.path("bad.pub"));
    Client const revoked(server.endpoint(), "revoked", client_options("bad"));
    server.serve_until_event(ZMQ_EVENT_HANDSHAKE_FAILED_AUTH);
    EXPECT_EQ(server.events().back().value, 400U);
    Client const good(server.endpoint(), "good", client_options("allowed/good"));
    server.serve_until_message("good");
    EXPECT_THAT(server.messages(), ElementsAre("added", "good"));
}

TEST_F(Clients, try_again_while_the_list_cannot_be_used)
{
    Server server(server_options(), "tcp://127.0.0.1:*", 1000);
    auto const damaged = folder_.write("allowed/damaged.pub", "damaged");
    Client const good(server.endpoint(), "good", client_options("allowed/good"));
    server.serve_until_event(ZMQ_EVENT_HANDSHAKE_FAILED_AUTH, 2);
    EXPECT_EQ(server.events().back().value, 300U);
    EXPECT_THAT(server.messages(), IsEmpty());
    EXPECT_EQ(server.problems().at(0),
              "refused a client at 127.0.0.1: cannot use " + damaged + ": line 1 does not start with a public key");
    EXPECT_EQ(server.problems().at(1), "") << "a line is printed once";
    std::filesystem::remove(damaged);
    server.serve_until_message("good");
}

TEST_F(Clients, of_an_ipc_socket_are_checked_too)
{
    Server server(server_options(), "ipc://" + folder_.path("socket"));
    {
        Client const plain(server.endpoint(), "bad");
        server.serve_until_event(ZMQ_EVENT_DISCONNECTED);
    }
    expect_only_good_client(server);
}

Descriptor connected_to(std::string const &endpoint)
{
    Descriptor descriptor(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(std::stoi(endpoint.substr(endpoint.rfind(':') + 1))));
    EXPECT_EQ(::connect(descriptor, reinterpret_cast<sockaddr const *>(&address), sizeof address), 0);
    return descriptor;
}

std::string random_bytes()
{
    std::mt19937 generator(1); // NOLINT: the same bytes each time
    std::string bytes(4096, '\0');
    for (auto &byte : bytes)
        byte = static_cast<char>(generator());
    return bytes;
}

std::string zmtp_greeting(std::string mechanism)
{
    mechanism.resize(20);
    return std::string("\xff\0\0\0\0\0\0\0\1\x7f\3\0", 12) + mechanism + std::string(32, '\0');
}

struct Stranger {
    std::string name;
    std::string bytes;
};

class Strangers : public Clients, public testing::WithParamInterface<Named<Stranger>> {};

TEST_P(Strangers, are_disconnected_without_a_message)
{
    Server server(server_options());
    auto const stranger = connected_to(server.endpoint());
    write_all(stranger, GetParam().bytes);
    ::shutdown(stranger, SHUT_WR);
    server.serve_until_event(ZMQ_EVENT_DISCONNECTED);
    expect_only_good_client(server);
}

Stranger const kinds_of_strangers[] = {
    {"silent", ""},
    {"http", "GET / HTTP/1.1\r\nHost: localhost\r\n\r\n"},
    {"tls_hello", std::string("\x16\3\1\0\x05\1\0\0\1\3", 10)},
    {"random", random_bytes()},
    {"cut_greeting", zmtp_greeting("CURVE").substr(0, 30)},
    {"greeting_without_handshake", zmtp_greeting("CURVE")},
    {"message_instead_of_handshake", zmtp_greeting("CURVE") + std::string("\0\3bad", 5)},
    {"no_security", zmtp_greeting("NULL") + std::string("\4\x1a\5READY\x0bSocket-Type\0\0\0\4PUSH\0\3bad", 33)},
    {"old_protocol_1", std::string("\1\0\4\0bad", 7)},
    {"old_protocol_2", std::string("\xff\0\0\0\0\0\0\0\1\x7f\1\x08\0\0\0\3bad", 19)},
};
INSTANTIATE_TEST_SUITE_P(Bytes, Strangers, rows(kinds_of_strangers), by_name);

TEST_F(Clients, get_through_while_1000_connections_are_half_open)
{
    auto const limit = OpenFiles::at_least(4096);
    Server server(server_options());
    std::vector<Descriptor> strangers;
    for (std::size_t count = 1; count <= 1000; ++count) {
        strangers.push_back(connected_to(server.endpoint()));
        write_all(strangers.back(), zmtp_greeting("CURVE").substr(0, count % 64));
        server.serve_until_event(ZMQ_EVENT_ACCEPTED, count);
    }
    expect_only_good_client(server);
}

/// Sends the parts as one request. Returns the parts of the reply.
std::vector<std::string> reply_to(std::vector<std::string> const &parts, Server &server)
{
    auto const requester = open_socket(server.context(), ZMQ_REQ);
    EXPECT_EQ(zmq_connect(requester.get(), "inproc://zeromq.zap.01"), 0);
    for (auto const &part : parts)
        EXPECT_GE(zmq_send(requester.get(), part.data(), part.size(), &part == &parts.back() ? 0 : ZMQ_SNDMORE), 0);
    zmq_pollitem_t item{.socket = server.clients().socket(), .fd = 0, .events = ZMQ_POLLIN, .revents = 0};
    EXPECT_EQ(zmq_poll(&item, 1, -1), 1);
    EXPECT_NE(server.clients().handle(), "");
    std::vector<std::string> reply;
    std::array<char, 256> bytes{};
    int has_more = 1;
    for (auto size = sizeof has_more; has_more != 0;) {
        auto const count = zmq_recv(requester.get(), bytes.data(), bytes.size(), 0);
        EXPECT_GE(count, 0);
        reply.emplace_back(bytes.data(), static_cast<std::size_t>(count));
        EXPECT_EQ(zmq_getsockopt(requester.get(), ZMQ_RCVMORE, &has_more, &size), 0);
    }
    return reply;
}

TEST_F(Clients, are_refused_if_the_request_is_not_valid)
{
    std::string const key(32, 'k');
    for (auto const &parts : std::vector<std::vector<std::string>>{
             {"1.0"},
             {"1.0", "7", "", "127.0.0.1", "", "CURVE"},
             {"1.0", "7", "", "127.0.0.1", "", "CURVE", key, ""},
             {"1.1", "7", "", "127.0.0.1", "", "CURVE", key},
             {"1.0", "7", "", "127.0.0.1", "", "NULL", key},
             {"1.0", "7", "", "127.0.0.1", "", "CURVE", key.substr(1)},
             {"1.0", "7", "", "127.0.0.1", "", "CURVE", key + "k"},
             {"1.0", "7", "", "127.0.0.1", "", "CURVE", key},
         }) {
        Server server(server_options());
        EXPECT_THAT(reply_to(parts, server), ElementsAre("1.0", parts.size() > 1 ? parts[1] : "", "400", "", "", ""));
        EXPECT_EQ(server.clients().refused(), 1U);
    }
}

TEST_F(Clients, are_checked_with_files_that_have_no_fault)
{
    auto const context = open_context(1);
    auto const options = server_options();
    folder_.write("allowed/damaged.pub", "damaged");
    EXPECT_THROW(Access(context, Attachment::bind, options), KeyFileError);
    EXPECT_THROW(Access(context, Attachment::bind,
                        {.curve_keys = folder_.path("none"), .allow = options.allow, .server_key = {}}),
                 KeyFileError);
    EXPECT_THROW(Access(context, Attachment::connect,
                        {.curve_keys = folder_.path("bad.key"), .allow = {}, .server_key = folder_.path("none")}),
                 KeyFileError);
}

struct Rule {
    std::string name;
    AccessOptions options;
    Attachment attachment;
    std::string endpoint;
    std::string problem; ///< empty if the options are permitted
};

class Rules : public TableTest<Rule> {};

TEST_P(Rules, decide_which_addresses_are_used)
{
    auto const &[name, options, attachment, endpoint, problem] = static_cast<Rule const &>(GetParam());
    std::string observed;
    try {
        check_access(options, attachment, Endpoint(endpoint));
    } catch (std::invalid_argument const &error) {
        observed = error.what();
    }
    EXPECT_EQ(observed, problem);
}

std::string const public_address = "tcp://192.0.2.1:5555";
Rule const rules[] = {
    {"bind_local_file", {}, Attachment::bind, "ipc:///run/tarnwick.sock", ""},
    {"bind_loopback", {}, Attachment::bind, "tcp://127.0.0.1:5555", ""},
    {"connect_loopback", {}, Attachment::connect, "tcp://[::1]:5555", ""},
    {"bind_public",
     {},
     Attachment::bind,
     "tcp://*:5555",
     "'tcp://*:5555' is not only for this machine: use --curve-keys and --allow, or an address ipc:// or "
     "tcp://127.0.0.1:PORT"},
    {"connect_public",
     {},
     Attachment::connect,
     public_address,
     "'tcp://192.0.2.1:5555' is not only for this machine: use --curve-keys and --server-key, or an address ipc:// or "
     "tcp://127.0.0.1:PORT"},
    {"bind_public_with_keys", {"k", "a", ""}, Attachment::bind, "tcp://*:5555", ""},
    {"connect_public_with_keys", {"k", "", "s"}, Attachment::connect, public_address, ""},
    {"bind_without_list",
     {"k", "", ""},
     Attachment::bind,
     "tcp://*:5555",
     "--curve-keys also requires --allow, with the keys of the clients"},
    {"bind_local_without_list",
     {"k", "", ""},
     Attachment::bind,
     "ipc://a",
     "--curve-keys also requires --allow, with the keys of the clients"},
    {"connect_without_server_key",
     {"k", "", ""},
     Attachment::connect,
     public_address,
     "--curve-keys also requires --server-key"},
    {"list_without_keys", {"", "a", ""}, Attachment::bind, "ipc://a", "--allow requires --curve-keys"},
    {"server_key_without_keys", {"", "", "s"}, Attachment::connect, "ipc://a", "--server-key requires --curve-keys"},
    {"bind_with_server_key",
     {"k", "a", "s"},
     Attachment::bind,
     "ipc://a",
     "--server-key is only for addresses that are connected to"},
    {"connect_with_list",
     {"k", "a", "s"},
     Attachment::connect,
     "ipc://a",
     "--allow is only for addresses that are bound"},
};
INSTANTIATE_TEST_SUITE_P(Options, Rules, rows(rules), by_name);

class Attach : public testing::Test {
protected:
    /// Binds an address without keys.
    [[nodiscard]] SocketHandle bound(std::string const &endpoint)
    {
        auto socket = open_socket(context_, ZMQ_PULL);
        access_.emplace(context_, Attachment::bind, AccessOptions{}).attach(socket, Endpoint(endpoint));
        return socket;
    }
    void expect_failure(std::string const &endpoint, std::string const &reason)
    {
        EXPECT_THAT([&] { (void)bound(endpoint); },
                    ThrowsMessage<SocketError>("cannot bind " + endpoint + ": " + reason));
    }

    ConfigFolder folder_;                     // NOLINT: fixture
    ContextHandle context_ = open_context(1); // NOLINT: fixture
    std::optional<Access> access_;            // NOLINT: fixture
};

TEST_F(Attach, refuses_public_addresses_itself)
{
    EXPECT_THROW((void)bound("tcp://*:*"), std::invalid_argument);
}

TEST_F(Attach, creates_a_file_that_only_its_owner_can_use)
{
    auto const file = folder_.path("socket");
    auto const before = ::umask(0);
    auto const socket = bound("ipc://" + file);
    EXPECT_EQ(::umask(before), 0U) << "the umask is restored";
    struct stat status = {};
    ASSERT_EQ(::stat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0600U);
}

TEST_F(Attach, removes_the_file_at_the_end)
{
    auto const file = folder_.path("socket");
    (void)bound("ipc://" + file);
    EXPECT_TRUE(std::filesystem::exists(file));
    access_.reset();
    EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(Attach, keeps_the_file_of_its_successor)
{
    auto const file = folder_.path("socket");
    (void)bound("ipc://" + file);
    std::filesystem::rename(file, file + ".old"); // its inode remains in use
    folder_.write("socket", "successor");
    access_.reset();
    EXPECT_TRUE(std::filesystem::exists(file));
}

TEST_F(Attach, keeps_files_that_are_not_sockets)
{
    auto const file = folder_.write("file", "content");
    folder_.link("file", "link");
    for (auto const &name : {file, folder_.path("link"), folder_.path()})
        expect_failure("ipc://" + name, "the file exists and is not a socket");
    EXPECT_EQ(std::filesystem::file_size(file), 7U);
}

TEST_F(Attach, keeps_the_socket_of_another_process)
{
    auto const endpoint = "ipc://" + folder_.path("socket");
    auto const first = open_socket(context_, ZMQ_PULL);
    Access access(context_, Attachment::bind, {});
    access.attach(first, Endpoint(endpoint));
    expect_failure(endpoint, "another process uses it");
    Client const client(endpoint, "first");
    std::array<char, 5> bytes{};
    EXPECT_EQ(zmq_recv(first.get(), bytes.data(), bytes.size(), 0), 5);
}

TEST_F(Attach, replaces_the_socket_of_a_process_that_was_killed)
{
    auto const file = folder_.path("socket");
    {
        Descriptor const killed(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        file.copy(address.sun_path, sizeof address.sun_path - 1);
        ASSERT_EQ(::bind(killed, reinterpret_cast<sockaddr const *>(&address), sizeof address), 0);
    }
    auto const socket = bound("ipc://" + file);
    Client const client("ipc://" + file, "first");
    std::array<char, 5> bytes{};
    EXPECT_EQ(zmq_recv(socket.get(), bytes.data(), bytes.size(), 0), 5);
}

TEST_F(Attach, reports_why_an_address_cannot_be_bound)
{
    auto const first = bound("tcp://127.0.0.1:*");
    expect_failure(endpoint_of(first), "Address already in use");
    expect_failure("ipc://" + folder_.path("none/socket"), "No such file or directory");
}

TEST_F(Attach, binds_ipv6_loopback)
{
    EXPECT_THAT(endpoint_of(bound("tcp://[::1]:*")), HasSubstr("[::1]:"));
}

} // namespace
} // namespace tarnwick::test::access_test
