// Both records of chunks follow the same rules.

#include <tarnwick/data/codetrace/add_data.h>
#include <tarnwick/data/codetrace/data.h>

#include <tarnwick/data/print.h>

#include "support/allocations.h"

#include <gtest/gtest.h>

#include <QtCore/QVariant>

#include <cstddef>
#include <limits>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace tarnwick::data::codetrace::chunk_test {
namespace {

using php::RequestId;

// Neither converts to the other.
static_assert(!std::is_same_v<detail::Data, detail::AddData>);
static_assert(!std::is_convertible_v<detail::Data *, detail::AddData *>);
static_assert(!std::is_convertible_v<detail::AddData *, detail::Data *>);
static_assert(!std::is_convertible_v<detail::Data *, detail::Chunk *>);
static_assert(!std::is_convertible_v<detail::AddData *, detail::Chunk *>);

static_assert(std::is_nothrow_constructible_v<detail::Data, ZMQ::Message, RequestId, long>);
static_assert(std::is_nothrow_constructible_v<detail::Data, zeromq::msg_t, RequestId>);
static_assert(std::is_nothrow_constructible_v<detail::AddData, ZMQ::Message, RequestId, long>);
static_assert(std::is_nothrow_constructible_v<detail::AddData, zeromq::msg_t, RequestId>);

/// Sizes around the largest message that ZeroMQ keeps inside the zmq_msg_t.
constexpr std::size_t sizes[] = {1, 10, 33, 34, 64, 1000, 5'000'000};

std::string bytes_of_size(std::size_t size)
{
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<char>(i * 31);
    return bytes;
}

bool is_inside(void const *pointer, zmq_msg_t const *message)
{
    auto const *const begin = reinterpret_cast<char const *>(message);
    return pointer >= begin && pointer < begin + sizeof *message;
}

/// Two sockets that are connected within the process.
class Connection {
public:
    Connection()
        : context_(zmq_ctx_new(), zmq_ctx_term)
        , sender_(zmq_socket(context_.get(), ZMQ_PUSH), zmq_close)
        , receiver_(zmq_socket(context_.get(), ZMQ_PULL), zmq_close)
    {
        EXPECT_EQ(zmq_bind(receiver_.get(), "inproc://chunks"), 0);
        EXPECT_EQ(zmq_connect(sender_.get(), "inproc://chunks"), 0);
    }

    void send(std::string_view part, bool more)
    {
        EXPECT_EQ(zmq_send(sender_.get(), part.data(), part.size(), more ? ZMQ_SNDMORE : 0),
                  static_cast<int>(part.size()));
    }
    template <class Message>
    Message receive()
    {
        Message message;
        EXPECT_GE(zmq_msg_recv(message.handle(), receiver_.get(), 0), 0);
        return message;
    }

private:
    std::unique_ptr<void, int (*)(void *)> context_;
    std::unique_ptr<void, int (*)(void *)> sender_;
    std::unique_ptr<void, int (*)(void *)> receiver_;
};

template <class Record>
class ChunkOf : public testing::Test {
public:
    using Payload = Record::Pointer::Type;

    static Record from_rpc(zeromq::msg_t &&message, std::uint64_t request_id = 7)
    {
        return Record(new Payload(std::move(message), RequestId(request_id)));
    }
    static Record from_protobuf(ZMQ::Message message, long skip, std::uint64_t request_id = 7)
    {
        return Record(new Payload(std::move(message), RequestId(request_id), skip));
    }
    static Record from_protobuf(std::string_view bytes, long skip) { return from_protobuf(ZMQ::Message(bytes), skip); }
};

class RecordNames {
public:
    template <class Record>
    static std::string GetName(int /*index*/)
    {
        return std::is_same_v<Record, Data> ? "Data" : "AddData";
    }
};
using Records = testing::Types<Data, AddData>;
TYPED_TEST_SUITE(ChunkOf, Records, RecordNames);

template <class Payload>
std::string_view chunk(Payload const &payload)
{
    return {payload->data(), payload->size()};
}

template <class Record>
void expect_no_view(Record const &record)
{
    EXPECT_EQ(record->data(), nullptr);
    EXPECT_EQ(record->size(), 0U);
    EXPECT_EQ(record->view(), std::nullopt);
    EXPECT_FALSE(record->more());
}

TYPED_TEST(ChunkOf, rpc_is_the_whole_message)
{
    for (auto const size : sizes) {
        SCOPED_TRACE(size);
        auto const bytes = bytes_of_size(size);
        auto const record = this->from_rpc(zeromq::msg_t(bytes), std::numeric_limits<std::uint64_t>::max());
        EXPECT_EQ(record->request_id().id(), std::numeric_limits<std::uint64_t>::max());
        EXPECT_EQ(chunk(record), bytes);
        EXPECT_EQ(record->view(), bytes);
        EXPECT_FALSE(record->more());
    }
}

TYPED_TEST(ChunkOf, rpc_has_a_view_even_if_the_data_pointer_is_null)
{
    zeromq::msg_t message;
    ASSERT_EQ(zmq_msg_init_data(message.handle(), nullptr, 0, nullptr, nullptr), 0);
    ASSERT_EQ(message.data(), nullptr);

    auto const record = this->from_rpc(std::move(message));
    EXPECT_EQ(record->data(), nullptr);
    EXPECT_EQ(record->size(), 0U);
    EXPECT_EQ(record->view(), std::string_view());
}

TYPED_TEST(ChunkOf, of_protobuf_starts_after_the_bytes_to_skip)
{
    for (auto const size : sizes) {
        SCOPED_TRACE(size);
        auto const bytes = bytes_of_size(size);
        auto const record =
            this->from_protobuf(ZMQ::Message("abcd" + bytes), 4, std::numeric_limits<std::uint64_t>::max());
        EXPECT_EQ(record->request_id().id(), std::numeric_limits<std::uint64_t>::max());
        EXPECT_EQ(chunk(record), bytes);
        EXPECT_EQ(record->view(), bytes);
        EXPECT_FALSE(record->more());
    }
}

TYPED_TEST(ChunkOf, protobuf_has_a_view_only_if_bytes_are_skipped_and_some_remain)
{
    std::string const bytes = "0123456789";
    EXPECT_EQ(chunk(this->from_protobuf(bytes, 1)), "123456789");
    EXPECT_EQ(chunk(this->from_protobuf(bytes, 4)), "456789");
    EXPECT_EQ(chunk(this->from_protobuf(bytes, 9)), "9");
    for (long const skip : {0L, -1L, 10L, 11L, std::numeric_limits<long>::max(), std::numeric_limits<long>::min()}) {
        SCOPED_TRACE(skip);
        expect_no_view(this->from_protobuf(bytes, skip));
    }
    for (long const skip : {-1L, 0L, 1L}) {
        SCOPED_TRACE(skip);
        expect_no_view(this->from_protobuf("", skip));
    }
}

TYPED_TEST(ChunkOf, an_empty_rpc_message_is_an_empty_chunk)
{
    auto const record = this->from_rpc(zeromq::msg_t());
    EXPECT_EQ(record->size(), 0U);
    EXPECT_EQ(record->view(), "");
}

TYPED_TEST(ChunkOf, does_not_copy_a_large_message)
{
    std::string const bytes(5'000'000, 'x');

    zeromq::msg_t rpc(bytes);
    void const *const rpc_bytes = zmq_msg_data(rpc.handle());
    EXPECT_EQ(this->from_rpc(std::move(rpc))->data(), rpc_bytes);

    ZMQ::Message protobuf(bytes);
    auto const *const protobuf_bytes = static_cast<char const *>(zmq_msg_data(protobuf.handle()));
    EXPECT_EQ(this->from_protobuf(std::move(protobuf), 4)->data(), protobuf_bytes + 4);
}

TYPED_TEST(ChunkOf, views_the_bytes_of_a_small_message_inside_the_record)
{
    using Payload = TestFixture::Payload;
    alignas(Payload) std::byte place[sizeof(Payload)];
    auto const is_inside_the_record = [&](char const *data) {
        auto const *const begin = reinterpret_cast<char const *>(place);
        return data >= begin && data < begin + sizeof place;
    };

    zeromq::msg_t rpc("small");
    ASSERT_TRUE(is_inside(zmq_msg_data(rpc.handle()), rpc.handle())) << "no message of the kind that is tested";
    auto *record = new (place) Payload(std::move(rpc), RequestId(7));
    EXPECT_TRUE(is_inside_the_record(record->data()));
    EXPECT_EQ(chunk(record), "small");
    record->~Payload();

    ZMQ::Message protobuf("small");
    ASSERT_TRUE(is_inside(zmq_msg_data(protobuf.handle()), protobuf.handle()));
    record = new (place) Payload(std::move(protobuf), RequestId(7), 1);
    EXPECT_TRUE(is_inside_the_record(record->data()));
    EXPECT_EQ(chunk(record), "mall");
    record->~Payload();
}

TYPED_TEST(ChunkOf, leaves_its_argument_empty)
{
    for (auto const size : sizes) {
        SCOPED_TRACE(size);
        zeromq::msg_t rpc(bytes_of_size(size));
        auto const record = this->from_rpc(std::move(rpc));
        EXPECT_EQ(zmq_msg_size(rpc.handle()), 0U);
        // With a view or without one.
        for (long const skip : {1L, 0L}) {
            ZMQ::Message protobuf(bytes_of_size(size));
            auto const other = this->from_protobuf(std::move(protobuf), skip);
            EXPECT_FALSE(protobuf.holds_message());
            EXPECT_EQ(zmq_msg_size(protobuf.handle()), 0U);
        }
    }
}

/// Counts the releases of a message's bytes.
void count_release(void * /*bytes*/, void *count)
{
    ++*static_cast<int *>(count);
}

template <class Message>
Message lent(std::string &bytes, int &releases)
{
    Message message;
    EXPECT_EQ(zmq_msg_init_data(message.handle(), bytes.data(), bytes.size(), count_release, &releases), 0);
    return message;
}

TYPED_TEST(ChunkOf, owns_the_message_until_the_last_handle_is_gone)
{
    std::string bytes = "lent bytes";
    int releases = 0;
    for (bool const rpc : {true, false}) {
        SCOPED_TRACE(rpc);
        releases = 0;
        auto record = rpc ? this->from_rpc(lent<zeromq::msg_t>(bytes, releases))
                          : this->from_protobuf(lent<ZMQ::Message>(bytes, releases), 5);
        auto copy = record;
        record.reset();
        EXPECT_EQ(releases, 0);
        EXPECT_EQ(chunk(copy), rpc ? "lent bytes" : "bytes");
        copy.reset();
        EXPECT_EQ(releases, 1);
    }
}

TYPED_TEST(ChunkOf, owns_a_message_without_a_view_of_it)
{
    std::string bytes = "lent bytes";
    int releases = 0;
    auto record = this->from_protobuf(lent<ZMQ::Message>(bytes, releases), 0);
    EXPECT_EQ(releases, 0);
    record.reset();
    EXPECT_EQ(releases, 1);
}

TYPED_TEST(ChunkOf, more_follows_the_parts_of_a_received_rpc_message)
{
    for (auto const size : sizes) {
        SCOPED_TRACE(size);
        auto const bytes = bytes_of_size(size);
        Connection connection;
        connection.send(bytes, true);
        connection.send("", true);
        connection.send(bytes, false);
        connection.send("another message", false);

        for (auto const &[expected, more] : {std::pair{std::string_view(bytes), true},
                                             {"", true},
                                             {std::string_view(bytes), false},
                                             {"another message", false}}) {
            auto const record = this->from_rpc(connection.receive<zeromq::msg_t>());
            EXPECT_EQ(record->view(), expected);
            EXPECT_EQ(record->more(), more);
        }
    }
}

TYPED_TEST(ChunkOf, more_is_always_false_in_protobuf)
{
    Connection connection;
    connection.send("first", true);
    connection.send("last", false);

    auto first = connection.receive<ZMQ::Message>();
    ASSERT_EQ(zmq_msg_more(first.handle()), 1) << "no message of the kind that is tested";
    EXPECT_FALSE(this->from_protobuf(std::move(first), 1)->more());
    EXPECT_FALSE(this->from_protobuf(connection.receive<ZMQ::Message>(), 1)->more());
}

TYPED_TEST(ChunkOf, does_not_copy_a_received_message)
{
    Connection connection;
    connection.send(std::string(5'000'000, 'x'), false);
    auto message = connection.receive<zeromq::msg_t>();
    void const *const bytes = zmq_msg_data(message.handle());
    EXPECT_EQ(this->from_rpc(std::move(message))->data(), bytes);
}

TYPED_TEST(ChunkOf, of_a_message_that_cannot_be_moved_is_empty)
{
    zeromq::msg_t rpc("bytes");
    zmq_msg_close(rpc.handle());
    auto const record = this->from_rpc(std::move(rpc));
    EXPECT_EQ(record->request_id().id(), 7U);
    EXPECT_EQ(record->view(), "");
    EXPECT_FALSE(record->more());

    ZMQ::Message protobuf("bytes");
    zmq_msg_close(protobuf.handle());
    expect_no_view(this->from_protobuf(std::move(protobuf), 1));
    EXPECT_TRUE(protobuf.holds_message());
}

TYPED_TEST(ChunkOf, of_a_moved_from_argument_is_empty)
{
    ZMQ::Message protobuf("bytes");
    ZMQ::Message const taken(std::move(protobuf));
    expect_no_view(this->from_protobuf(std::move(protobuf), 1));

    zeromq::msg_t rpc("bytes");
    zeromq::msg_t const other(std::move(rpc));
    EXPECT_EQ(this->from_rpc(std::move(rpc))->view(), "");
}

TYPED_TEST(ChunkOf, is_built_without_heap_memory)
{
    using Payload = TestFixture::Payload;
    for (auto const size : sizes) {
        SCOPED_TRACE(size);
        zeromq::msg_t rpc(bytes_of_size(size));
        ZMQ::Message protobuf(bytes_of_size(size));
        EXPECT_EQ(test::allocations_to_build<Payload>(std::move(rpc), RequestId(7)), 0U);
        EXPECT_EQ(test::allocations_to_build<Payload>(std::move(protobuf), RequestId(7), 1), 0U);
    }
}

TYPED_TEST(ChunkOf, prints_its_first_bytes)
{
    std::string const name = std::is_same_v<TypeParam, Data> ? "codetrace.Data" : "codetrace.AddData";
    EXPECT_EQ(to_text(this->from_rpc(zeromq::msg_t("a\"\xff"))),
              name + R"({request_id: 7, data: "a\"\xff", size: 3, more: false})");
    EXPECT_EQ(to_text(this->from_rpc(zeromq::msg_t(std::string(33, 'x')))),
              name + "{request_id: 7, data: \"" + std::string(32, 'x') + "\"..., size: 33, more: false}");
    EXPECT_EQ(to_text(this->from_protobuf("bytes", 0)), name + "{request_id: 7, data: none, size: 0, more: false}");
}

TYPED_TEST(ChunkOf, round_trips_through_a_qvariant)
{
    auto const record = this->from_rpc(zeromq::msg_t("bytes"));
    EXPECT_EQ(QVariant::fromValue(record).template value<TypeParam>().get(), record.get());
}

} // namespace
} // namespace tarnwick::data::codetrace::chunk_test
