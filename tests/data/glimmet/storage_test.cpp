#include <tarnwick/data/glimmet/storage.h>

#include <tarnwick/data/print.h>

#include "support/allocations.h"
#include "support/lists.h"
#include "support/message_fields.h"
#include "support/table.h"
#include "support/textproto.h"

#include <pelorin/protobuf/Glimmet/storage.pb.h>
#include <tarnwick/rpc/glimmet/v1/notify_request.pb.h>

#include <gmock/gmock.h>

#include <QtCore/QVariant>

#include <cstdint>
#include <string>

namespace tarnwick::data::glimmet::storage_test {
namespace {

using rpc::glimmet::v1::NotifyRequest;
using ProtobufStorage = pelorin::protobuf::Glimmet::Storage;
using test::allocations_of;
using test::field_names;
using test::from_text;
using testing::ElementsAre;
using namespace Qt::StringLiterals;

constexpr auto from_rpc = test::record_from_text<Storage, NotifyRequest>;

Storage from_protobuf(std::uint64_t request_id, std::string const &textproto)
{
    return test::record_from_text<Storage, ProtobufStorage>(textproto, php::RequestId(request_id));
}

void expect_every_field(Storage const &record)
{
    EXPECT_EQ(record->request_id().id(), 18446744073709551615U);
    EXPECT_EQ(record->name(), u"block"_s);
    ASSERT_EQ(record->entries().size(), 2);
    EXPECT_EQ(record->entries()[0].name(), u"b"_s);
    EXPECT_THAT(record->entries()[0].values(), ElementsAre("v"_ba));
    EXPECT_EQ(record->entries()[1].name(), u"a"_s);
}

TEST(Storage, reads_an_rpc_report)
{
    expect_every_field(from_rpc(R"pb(
        request_id { id: 18446744073709551615 }
        storage { entries { values: "v" name: "b" } entries { name: "a" } name: "block" })pb"));
}

TEST(Storage, reads_a_protobuf_report)
{
    expect_every_field(from_protobuf(18446744073709551615U, R"pb(
        entries { values: "v" name: "b" }
        entries { name: "a" }
        name: "block")pb"));
}

TEST(Storage, is_the_same_in_both_dialects)
{
    EXPECT_EQ(to_text(from_rpc(R"pb(
                  request_id { id: 7 }
                  storage { entries { values: "1" values: "\377" name: "e" } entries { } name: "n" })pb")),
              to_text(from_protobuf(7, R"pb(
                  entries { values: "1" values: "\377" name: "e" }
                  entries { }
                  name: "n")pb")));
}

test::PrintedCase const cases[] = {
    {"an_empty_message_has_a_null_name", "", "glimmet.Storage{request_id: 0, name: null, entries: []}"},
    {"without_a_case_has_only_the_id", "request_id { id: 7 } timestamp { seconds: 8 }",
     "glimmet.Storage{request_id: 7, name: null, entries: []}"},
    {"functions_have_only_the_id", "request_id { id: 7 } functions { functions { name: 'f' } }",
     "glimmet.Storage{request_id: 7, name: null, entries: []}"},
    {"queries_have_only_the_id", "request_id { id: 7 } sql_queries { queries { text: 'q' } }",
     "glimmet.Storage{request_id: 7, name: null, entries: []}"},
    {"an_empty_block_has_an_empty_name", "request_id { id: 7 } storage { }",
     "glimmet.Storage{request_id: 7, name: \"\", entries: []}"},
    {"a_missing_id_is_0", "storage { name: 'n' }", "glimmet.Storage{request_id: 0, name: \"n\", entries: []}"},
    {"a_block_without_entries_keeps_its_name", "request_id { id: 7 } storage { name: 'n' }",
     "glimmet.Storage{request_id: 7, name: \"n\", entries: []}"},
};

class StorageFromRpc : public test::TableTest<test::PrintedCase> {};

TEST_P(StorageFromRpc, is_read)
{
    EXPECT_EQ(to_text(from_rpc(GetParam().textproto)), GetParam().printed);
}

INSTANTIATE_TEST_SUITE_P(Cases, StorageFromRpc, test::rows(cases), test::by_name);

TEST(Storage, of_an_empty_protobuf_report_has_an_empty_name_and_not_a_null_one)
{
    auto const record = from_protobuf(7, "");
    EXPECT_EQ(to_text(record), "glimmet.Storage{request_id: 7, name: \"\", entries: []}");
    EXPECT_FALSE(record->name().isNull());
}

TEST(Storage, of_an_empty_protobuf_block_keeps_its_name)
{
    EXPECT_EQ(to_text(from_protobuf(7, "name: 'n'")), "glimmet.Storage{request_id: 7, name: \"n\", entries: []}");
}

/// The blocks of both dialects differ only in their type.
struct Rpc {
    using Message = NotifyRequest;
    static Storage record(Message const &message) { return Storage(new detail::Storage(message)); }
    static auto &block(Message &message) { return *message.mutable_storage(); }
};

struct Protobuf {
    using Message = ProtobufStorage;
    static Storage record(Message const &message) { return Storage(new detail::Storage(message, php::RequestId(7))); }
    static auto &block(Message &message) { return message; }
};

template <class Dialect>
class StorageFrom : public testing::Test {
public:
    static Storage read(std::string const &textproto)
    {
        typename Dialect::Message message;
        test::read_text(textproto, Dialect::block(message));
        return Dialect::record(message);
    }

    static Dialect::Message message_of(int entries)
    {
        typename Dialect::Message message;
        for (int i = 0; i < entries; ++i)
            Dialect::block(message).add_entries()->set_name("entry_" + std::to_string(i));
        return message;
    }
};

using Dialects = testing::Types<Rpc, Protobuf>;
TYPED_TEST_SUITE(StorageFrom, Dialects);

TYPED_TEST(StorageFrom, entries_with_the_same_name_stay_separate_and_in_order)
{
    auto const record = this->read("entries { name: 'e' values: '1' } entries { name: 'd' } entries { name: 'e' }");
    ASSERT_EQ(record->entries().size(), 3);
    EXPECT_EQ(record->entries()[0].name(), u"e"_s);
    EXPECT_EQ(record->entries()[0].values().size(), 1);
    EXPECT_EQ(record->entries()[1].name(), u"d"_s);
    EXPECT_EQ(record->entries()[2].name(), u"e"_s);
    EXPECT_TRUE(record->entries()[2].values().isEmpty());
}

TYPED_TEST(StorageFrom, names_keep_nul_bytes_and_replace_invalid_utf8)
{
    auto const record = this->read(R"(name: 'n\000\377' entries { name: 'e\000\377' })");
    EXPECT_EQ(record->name(), u"n\0\ufffd"_s);
    EXPECT_EQ(record->entries()[0].name(), u"e\0\ufffd"_s);
}

TYPED_TEST(StorageFrom, does_not_reserve_memory_for_its_list)
{
    auto const record = TypeParam::record(this->message_of(100));
    ASSERT_EQ(record->entries().size(), 100);
    EXPECT_EQ(record->entries().capacity(), test::appended_one_by_one(record->entries()).capacity());
}

TYPED_TEST(StorageFrom, allocates_only_the_name_of_an_entry)
{
    auto const message = this->message_of(100);
    auto const record = TypeParam::record(message);
    auto const growth = allocations_of([&] { test::appended_one_by_one(record->entries()); });
    EXPECT_EQ(allocations_of([&] { TypeParam::record(message); }), 1U + growth + 100U);
}

TEST(Storage, round_trips_through_a_qvariant)
{
    auto const record = from_rpc("storage { }");
    auto const variant = QVariant::fromValue(record);
    EXPECT_STREQ(variant.metaType().name(), "tarnwick::data::glimmet::Storage");
    EXPECT_EQ(variant.value<Storage>().get(), record.get());
}

TEST(Storage, message_fields_are_all_read_or_known_to_be_ignored)
{
    EXPECT_THAT(field_names<rpc::glimmet::v1::Storage>(), ElementsAre("entries", "name"));
    EXPECT_THAT(field_names<ProtobufStorage>(), ElementsAre("entries", "name"));
}

} // namespace
} // namespace tarnwick::data::glimmet::storage_test
