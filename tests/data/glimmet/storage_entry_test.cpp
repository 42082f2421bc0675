// Only the library makes entries: they are read as parts of a block.

#include <tarnwick/data/glimmet/storage.h>

#include <tarnwick/data/print.h>

#include "support/allocations.h"
#include "support/message_fields.h"
#include "support/textproto.h"

#include <pelorin/protobuf/Glimmet/storage.pb.h>
#include <tarnwick/rpc/glimmet/v1/notify_request.pb.h>

#include <gmock/gmock.h>

#include <string>

namespace tarnwick::data::glimmet::storage_entry_test {
namespace {

using rpc::glimmet::v1::NotifyRequest;
using ProtobufStorage = pelorin::protobuf::Glimmet::Storage;
using test::from_text;
using testing::ElementsAre;
using testing::IsEmpty;
using namespace Qt::StringLiterals;

static_assert(QTypeInfo<detail::StorageEntry>::isRelocatable);

struct Rpc {
    static NotifyRequest message(std::string const &entry)
    {
        return from_text<NotifyRequest>("storage { entries { " + entry + " } }");
    }
    static detail::StorageEntry entry(NotifyRequest const &message)
    {
        return Storage(new detail::Storage(message))->entries().front();
    }
};

struct Protobuf {
    static ProtobufStorage message(std::string const &entry)
    {
        return from_text<ProtobufStorage>("entries { " + entry + " }");
    }
    static detail::StorageEntry entry(ProtobufStorage const &message)
    {
        return Storage(new detail::Storage(message, php::RequestId(7)))->entries().front();
    }
};

template <class Dialect>
class StorageEntryFrom : public testing::Test {
public:
    static detail::StorageEntry read(std::string const &entry) { return Dialect::entry(Dialect::message(entry)); }
};

using Dialects = testing::Types<Rpc, Protobuf>;
TYPED_TEST_SUITE(StorageEntryFrom, Dialects);

TYPED_TEST(StorageEntryFrom, reads_every_field)
{
    auto const entry = this->read("values: 'b' values: 'a' values: 'b' name: 'e'");
    EXPECT_EQ(entry.name(), u"e"_s);
    EXPECT_THAT(entry.values(), ElementsAre("b"_ba, "a"_ba, "b"_ba));
}

TYPED_TEST(StorageEntryFrom, an_empty_entry_has_no_values_and_an_empty_name)
{
    auto const entry = this->read("");
    EXPECT_THAT(entry.values(), IsEmpty());
    EXPECT_TRUE(entry.name().isEmpty());
    EXPECT_FALSE(entry.name().isNull());
}

TYPED_TEST(StorageEntryFrom, keeps_empty_values)
{
    EXPECT_THAT(this->read("values: '' values: 'a' values: ''").values(), ElementsAre(""_ba, "a"_ba, ""_ba));
}

TYPED_TEST(StorageEntryFrom, values_keep_every_byte)
{
    EXPECT_THAT(this->read(R"(values: 'a\000b\000' values: '\377\303(')").values(),
                ElementsAre(QByteArray("a\0b\0", 4), QByteArray("\xff\xc3(")));
}

TYPED_TEST(StorageEntryFrom, values_of_json_text_are_bytes)
{
    EXPECT_THAT(this->read(R"(values: ' {"a": 1, "a":2}' values: '[1,')").values(),
                ElementsAre(R"( {"a": 1, "a":2})"_ba, "[1,"_ba));
}

TYPED_TEST(StorageEntryFrom, does_not_reserve_memory_and_copies_each_value_once)
{
    std::string values;
    for (int i = 0; i < 100; ++i)
        values += "values: 'value' ";
    auto const message = TypeParam::message(values);
    auto const entry = TypeParam::entry(message);
    QList<QByteArray> grown;
    auto const growth = test::allocations_of([&] {
        for (auto const &value : entry.values())
            grown.append(value);
    });
    EXPECT_EQ(entry.values().capacity(), grown.capacity());
    auto const payload_and_list_of_entries = 2U;
    EXPECT_EQ(test::allocations_of([&] { TypeParam::entry(message); }), payload_and_list_of_entries + growth + 100U);
}

TYPED_TEST(StorageEntryFrom, prints_every_field)
{
    EXPECT_EQ(to_text(this->read("values: 'a' values: '' name: 'e'")),
              R"(glimmet.StorageEntry{name: "e", values: ["a", ""]})");
}

TEST(StorageEntry, message_fields_are_all_read)
{
    EXPECT_THAT(test::field_names<rpc::glimmet::v1::StorageEntry>(), ElementsAre("values", "name"));
    EXPECT_THAT(test::field_names<pelorin::protobuf::Glimmet::StorageEntry>(), ElementsAre("values", "name"));
}

} // namespace
} // namespace tarnwick::data::glimmet::storage_entry_test
