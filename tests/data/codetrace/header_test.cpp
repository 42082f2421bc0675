#include <tarnwick/data/codetrace/header.h>

#include <tarnwick/data/print.h>

#include "support/allocations.h"
#include "support/message_fields.h"
#include "support/table.h"
#include "support/textproto.h"
#include "support/wire.h"

#include <pelorin/protobuf/CT/header.pb.h>
#include <tarnwick/rpc/codetrace/v1/notify_request.pb.h>

#include <fmt/format.h>

#include <gmock/gmock.h>

#include <QtCore/QByteArray>
#include <QtCore/QVariant>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <string>
#include <type_traits>

namespace tarnwick::data::codetrace::header_test {
namespace {

using ProtobufHeader = pelorin::protobuf::CT::Header;
using RpcHeader = rpc::codetrace::v1::NotifyRequest;
using TraceKind = detail::Header::TraceKind;
using php::RequestId;
using test::field_names;
using test::from_text;
using test::from_wire;
using testing::ElementsAre;

static_assert(std::is_nothrow_constructible_v<detail::Header, RpcHeader const &>);
static_assert(std::is_nothrow_constructible_v<detail::Header, ProtobufHeader const &, RequestId>);
static_assert(std::is_same_v<std::underlying_type_t<TraceKind>, std::uint8_t>);
static_assert(static_cast<int>(TraceKind::kind_0) == 0);
static_assert(static_cast<int>(TraceKind::kind_1) == 1);
static_assert(static_cast<int>(TraceKind::kind_2) == 2);
static_assert(static_cast<int>(TraceKind::unknown) == 3);

constexpr auto from_rpc = test::record_from_text<Header, RpcHeader>;

Header from_protobuf(std::uint64_t request_id, std::string const &textproto)
{
    return test::record_from_text<Header, ProtobufHeader>(textproto, RequestId(request_id));
}

Header from_either(bool rpc, std::uint64_t request_id, std::string const &fields)
{
    return rpc ? from_rpc(fmt::format("request_id {{ id: {} }} header {{ {} }}", request_id, fields))
               : from_protobuf(request_id, fields);
}

/// The dump header as hexadecimal digits, separated by spaces between its fields.
std::string dump(Header const &header)
{
    auto const &bytes = header->dump_header();
    auto const hex = QByteArray(bytes.data(), static_cast<qsizetype>(bytes.size())).toHex();
    EXPECT_EQ(hex.size(), 80);
    std::string text;
    std::size_t at = 0;
    for (int const width : {2, 1, 1, 4, 4, 4, 4, 4, 8, 8}) {
        text += std::string_view(hex).substr(at, std::size_t{2} * static_cast<std::size_t>(width));
        text += ' ';
        at += std::size_t{2} * static_cast<std::size_t>(width);
    }
    text.pop_back();
    return text;
}

#define ZEROES "00000000 00000000 00000000 00000000 0000000000000000 0000000000000000"

struct Row {
    char const *name;
    std::uint64_t request_id;
    char const *fields;
    char const *dump;
};

Row const rows[] = {
    {"all_fields_0", 0x0000000100000002, "", "4354 00 00 00000002 " ZEROES},
    {"every_byte_in_its_place", 0xf1f2f3f411121314,
     "format_minor: 2 format_major: 1 word_8: 0x21222324 word_12: 0x31323334 word_16: 0x41424344 "
     "long_24: 0x5152535455565758 long_32: 0x6162636465666768",
     "4354 01 02 11121314 21222324 31323334 41424344 00000000 5152535455565758 6162636465666768"},
    {"only_format_major", 0, "format_major: 9", "4354 09 00 00000000 " ZEROES},
    {"only_format_minor", 0, "format_minor: 9", "4354 00 09 00000000 " ZEROES},
    {"format_major_loses_its_upper_bits", 0, "format_major: 0x1ff", "4354 ff 00 00000000 " ZEROES},
    {"format_minor_loses_its_upper_bits", 0, "format_minor: 0x1ff", "4354 00 ff 00000000 " ZEROES},
    {"a_version_without_low_bits_is_0", 0, "format_minor: 256 format_major: -256", "4354 00 00 00000000 " ZEROES},
    {"the_upper_half_of_the_id_is_dropped", 0xffffffff00000000, "", "4354 00 00 00000000 " ZEROES},
    {"the_lower_half_of_the_id_is_kept", 0x00000000ffffffff, "", "4354 00 00 ffffffff " ZEROES},
    {"word_8_alone", 0, "word_8: 0x01020304",
     "4354 00 00 00000000 01020304 00000000 00000000 00000000 0000000000000000 0000000000000000"},
    {"word_12_alone", 0, "word_12: 0x01020304",
     "4354 00 00 00000000 00000000 01020304 00000000 00000000 0000000000000000 0000000000000000"},
    {"word_16_alone", 0, "word_16: 0x01020304",
     "4354 00 00 00000000 00000000 00000000 01020304 00000000 0000000000000000 0000000000000000"},
    {"long_24_alone", 0, "long_24: 0x0102030405060708",
     "4354 00 00 00000000 00000000 00000000 00000000 00000000 0102030405060708 0000000000000000"},
    {"long_32_alone", 0, "long_32: 0x0102030405060708",
     "4354 00 00 00000000 00000000 00000000 00000000 00000000 0000000000000000 0102030405060708"},
    {"reserved_bytes_stay_0_between_ones", 0xffffffffffffffff,
     "format_minor: -1 format_major: -1 word_8: -1 word_12: -1 word_16: -1 long_24: -1 long_32: -1",
     "4354 ff ff ffffffff ffffffff ffffffff ffffffff 00000000 ffffffffffffffff ffffffffffffffff"},
    {"smallest_numbers", 0,
     "word_8: -2147483648 word_12: 2147483647 long_24: -9223372036854775808 long_32: 9223372036854775807",
     "4354 00 00 00000000 80000000 7fffffff 00000000 00000000 8000000000000000 7fffffffffffffff"},
};

class DumpHeader : public test::TableTest<Row> {};

TEST_P(DumpHeader, is_byte_for_byte_the_same_from_both_dialects)
{
    for (bool const rpc : {true, false}) {
        SCOPED_TRACE(rpc ? "rpc" : "protobuf");
        auto const header = from_either(rpc, GetParam().request_id, GetParam().fields);
        EXPECT_EQ(dump(header), GetParam().dump);
        EXPECT_EQ(header->request_id().id(), GetParam().request_id);
    }
}

INSTANTIATE_TEST_SUITE_P(Fields, DumpHeader, test::rows(rows), test::by_name);

struct KindRow {
    char const *name;
    std::int64_t sent;
    int in_protobuf;
    int in_rpc;
};

KindRow const kinds[] = {
    {"zero", 0, 0, 3},
    {"one", 1, 1, 0},
    {"two", 2, 2, 1},
    {"three", 3, 3, 2},
    {"four", 4, 3, 3},
    {"minus_1", -1, 3, 3},
    {"a_kind_in_its_low_byte", 257, 3, 3},
    {"largest", std::numeric_limits<std::int32_t>::max(), 3, 3},
    {"smallest", std::numeric_limits<std::int32_t>::min(), 3, 3},
};

class HeaderKind : public test::TableTest<KindRow> {};

TEST_P(HeaderKind, starts_at_a_different_number_in_each_dialect)
{
    auto const kind = fmt::format("kind: {}", GetParam().sent);
    EXPECT_EQ(static_cast<int>(from_protobuf(7, kind)->trace_kind()), GetParam().in_protobuf);
    EXPECT_EQ(static_cast<int>(from_rpc("header { request { " + kind + " } }")->trace_kind()), GetParam().in_rpc);
}

INSTANTIATE_TEST_SUITE_P(Kinds, HeaderKind, test::rows(kinds), test::by_name);

TEST(Header, an_unset_kind_is_kind_0_in_protobuf_and_unknown_in_rpc)
{
    EXPECT_EQ(from_protobuf(7, "")->trace_kind(), TraceKind::kind_0);
    for (auto const *report : {"header { }", "header { request { } }"})
        EXPECT_EQ(from_rpc(report)->trace_kind(), TraceKind::unknown) << report;
}

TEST(Header, of_an_rpc_report_without_a_header_has_the_id_but_a_dump_header_of_zeroes)
{
    // Field 4 is a member of the payload that this library does not know.
    auto const unknown_member = from_wire<RpcHeader>(std::string("\x0a\x02\x08\x07\x22\x00", 6));
    for (auto const &message : {from_text<RpcHeader>("request_id { id: 7 }"), unknown_member}) {
        Header const header(new detail::Header(message));
        EXPECT_EQ(header->request_id().id(), 7U);
        EXPECT_EQ(header->trace_kind(), TraceKind::unknown);
        EXPECT_EQ(dump(header), "4354 01 00 00000000 " ZEROES);
    }
}

TEST(Header, an_rpc_header_replaces_the_version)
{
    EXPECT_EQ(dump(from_rpc("header { }")), "4354 00 00 00000000 " ZEROES);
}

TEST(Header, an_rpc_report_without_an_id_has_id_0)
{
    auto const header = from_rpc("header { word_8: 1 }");
    EXPECT_EQ(header->request_id().id(), 0U);
    EXPECT_EQ(dump(header).substr(0, 28), "4354 00 00 00000000 00000001");
}

TEST(Header, equal_headers_are_equal_byte_for_byte)
{
    auto const rpc = from_text<RpcHeader>("request_id { id: 7 } header { format_major: 1 word_8: 5 long_32: 6 }");
    auto const protobuf = from_text<ProtobufHeader>("format_major: 1 word_8: 5 long_32: 6");
    alignas(detail::Header) std::byte first[sizeof(detail::Header)];
    alignas(detail::Header) std::byte second[sizeof(detail::Header)];
    std::memset(first, 0x00, sizeof first);
    std::memset(second, 0xff, sizeof second);
    auto *const one = new (first) detail::Header(rpc);
    auto *const other = new (second) detail::Header(protobuf, RequestId(7));

    EXPECT_EQ(one->dump_header().size(), 40U);
    EXPECT_EQ(std::memcmp(one->dump_header().data(), other->dump_header().data(), 40), 0);

    one->~Header();
    other->~Header();
}

TEST(Header, prints_its_bytes_in_hexadecimal)
{
    EXPECT_EQ(to_text(from_rpc("request_id { id: 4294967298 } header { request { kind: KIND_2 } format_major: 1 }")),
              "codetrace.Header{request_id: 4294967298, trace_kind: 1, dump_header: "
              "43540100000000020000000000000000000000000000000000000000000000000000000000000000}");
}

TEST(Header, is_built_without_heap_memory)
{
    auto const rpc = from_text<RpcHeader>("request_id { id: 7 } header { request { kind: KIND_2 } }");
    auto const protobuf = from_text<ProtobufHeader>("kind: KIND_2");

    EXPECT_EQ(test::allocations_to_build<detail::Header>(rpc), 0U);
    EXPECT_EQ(test::allocations_to_build<detail::Header>(protobuf, RequestId(7)), 0U);
}

TEST(Header, round_trips_through_a_qvariant)
{
    auto const header = from_rpc("");
    EXPECT_EQ(QVariant::fromValue(header).value<Header>().get(), header.get());
}

TEST(Header, message_fields_are_all_read)
{
    EXPECT_THAT(field_names<RpcHeader>(), ElementsAre("request_id", "header"));
    EXPECT_THAT(
        field_names<rpc::codetrace::v1::HeaderPayload>(),
        ElementsAre("request", "format_minor", "format_major", "word_8", "word_12", "long_24", "long_32", "word_16"));
    EXPECT_THAT(field_names<rpc::codetrace::v1::Request>(), ElementsAre("kind"));
    EXPECT_THAT(field_names<ProtobufHeader>(), ElementsAre("format_minor", "format_major", "word_8", "kind", "word_12",
                                                           "word_16", "long_24", "long_32"));
}

} // namespace
} // namespace tarnwick::data::codetrace::header_test

#undef ZEROES
