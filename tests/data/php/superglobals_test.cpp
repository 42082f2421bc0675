#include <tarnwick/data/php/superglobals.h>

#include <tarnwick/data/print.h>

#include "support/message_fields.h"
#include "support/php_reports.h"
#include "support/table.h"
#include "support/textproto.h"

#include <pelorin/protobuf/Glimmet/superglobals.pb.h>
#include <pelorin/protobuf/Monitor/superglobals.pb.h>
#include <tarnwick/rpc/php/v1/notify_request.pb.h>

#include <gmock/gmock.h>

#include <QtCore/QVariant>

#include <cstddef>
#include <string>

namespace tarnwick::data::php::superglobals_test {
namespace {

using rpc::php::v1::NotifyRequest;
using test::field_names;
using test::from_text;
using testing::ElementsAre;
namespace glimmet = pelorin::protobuf::Glimmet;
namespace monitor = pelorin::protobuf::Monitor;
using init_t = Superglobals::init_t;
using change_t = Superglobals::change_t;

Superglobals from_monitor(std::string const &textproto)
{
    return test::record_from_text<Superglobals, monitor::Superglobals>(textproto, RequestId(7));
}

template <class View>
Superglobals from_glimmet(std::string const &textproto, View view)
{
    return test::record_from_text<Superglobals, glimmet::Superglobals>(textproto, RequestId(7), view);
}

std::string values(Superglobals const &record)
{
    return to_text(record->values());
}

constexpr char const *nothing_read = "php.Superglobals{request_id: 7, values: []}";

struct ReportCase {
    char const *name;
    NotifyRequest message;
    char const *init;
    char const *change;
};

ReportCase const report_cases[] = {
    {"no_payload", test::no_payload(), nothing_read, nothing_read},
    {"unknown_payload", test::unknown_payload(), nothing_read, nothing_read},
    {"request_start", test::request_start(), "php.Superglobals{request_id: 7, values: [\"_GET\" => [\"a\" => \"1\"]]}",
     nothing_read},
    {"request_end", test::request_end(), nothing_read,
     "php.Superglobals{request_id: 7, values: [\"_SESSION\" => [\"user\" => 5]]}"},
    {"php_error", test::php_error(), nothing_read, nothing_read},
    {"request_start_without_superglobals", from_text<NotifyRequest>("request_id { id: 7 } rinit { request { } }"),
     nothing_read, nothing_read},
    {"request_end_without_superglobals", from_text<NotifyRequest>("request_id { id: 7 } rshutdown { response { } }"),
     nothing_read, nothing_read},
    {"a_missing_id_is_0", from_text<NotifyRequest>("rinit { superglobals { elements { } } }"),
     "php.Superglobals{request_id: 0, values: [undefined => undefined]}",
     "php.Superglobals{request_id: 0, values: []}"},
    {"any_keys_and_values",
     from_text<NotifyRequest>("request_id { id: 7 } rinit { superglobals { elements { long_key: 1 value { "
                              "bool_value: true } } elements { long_key: 1 } } }"),
     "php.Superglobals{request_id: 7, values: [1 => true, 1 => undefined]}", nothing_read},
    {"any_keys_and_values_of_changes",
     from_text<NotifyRequest>("request_id { id: 7 } rshutdown { superglobals { elements { long_key: 1 value { "
                              "bool_value: true } } elements { long_key: 1 } } }"),
     nothing_read, "php.Superglobals{request_id: 7, values: [1 => true, 1 => undefined]}"},
};

class SuperglobalsFromReport : public test::TableTest<ReportCase> {};

TEST_P(SuperglobalsFromReport, is_read)
{
    auto const &[name, message, init, change] = GetParam();
    EXPECT_EQ(to_text(detail::Superglobals(message, init_t())), init);
    EXPECT_EQ(to_text(detail::Superglobals(message, change_t())), change);
}

INSTANTIATE_TEST_SUITE_P(Cases, SuperglobalsFromReport, test::rows(report_cases), test::by_name);

TEST(Superglobals, of_messages_without_groups_have_an_array_without_elements)
{
    EXPECT_EQ(to_text(from_monitor("")), nothing_read);
    EXPECT_EQ(to_text(from_glimmet("", init_t())), nothing_read);
    EXPECT_EQ(to_text(from_glimmet("", change_t())), nothing_read);
}

TEST(Superglobals, read_every_entry_of_a_monitor_report)
{
    EXPECT_EQ(values(from_monitor(R"pb(
                  groups {
                      entries { key: "a" value { type: TYPE_STRING string_value: "1" } }
                      entries { key: "b" }
                      name: "_GET"
                  }
                  groups { name: "_POST" }
                  groups { entries { key: "c" value { type: TYPE_LONG long_value: 3 } } })pb")),
              R"(["_GET" => ["a" => "1", "b" => undefined], "_POST" => [], "" => ["c" => 3]])");
}

struct EntryCase {
    char const *name;
    char const *entry;
    char const *init;
    char const *change;
};

EntryCase const entry_cases[] = {
    {"unchanged", "key: 'k' value { type: TYPE_LONG long_value: 1 }", R"(["k" => 1])", "[]"},
    {"changed", "key: 'k' value { type: TYPE_LONG long_value: 2 } initial_value { type: TYPE_LONG long_value: 1 }",
     R"(["k" => 1])", R"(["k" => 2])"},
    {"changed_from_an_empty_value", "key: 'k' value { type: TYPE_LONG long_value: 2 } initial_value { }",
     R"(["k" => undefined])", R"(["k" => 2])"},
    {"removed", "key: 'k' initial_value { type: TYPE_LONG long_value: 1 }", R"(["k" => 1])", R"(["k" => undefined])"},
    {"neither_value", "key: 'k'", R"(["k" => undefined])", "[]"},
};

class SuperglobalsEntry : public test::TableTest<EntryCase> {};

TEST_P(SuperglobalsEntry, is_read_by_view)
{
    auto const &[name, entry, init, change] = GetParam();
    auto const message = "groups { entries { " + std::string(entry) + " } name: 'g' }";
    EXPECT_EQ(values(from_glimmet(message, init_t())), R"(["g" => )" + std::string(init) + "]");
    EXPECT_EQ(values(from_glimmet(message, change_t())), R"(["g" => )" + std::string(change) + "]");
}

INSTANTIATE_TEST_SUITE_P(Cases, SuperglobalsEntry, test::rows(entry_cases), test::by_name);

TEST(Superglobals, keep_a_group_in_which_nothing_changed)
{
    EXPECT_EQ(values(from_glimmet(R"pb(
                                      groups {
                                          entries { key: "a" value { type: TYPE_NULL } }
                                          name: "_GET"
                                      }
                                      groups {
                                          entries { key: "b" value { type: TYPE_NULL } initial_value { } }
                                          entries { key: "c" value { type: TYPE_NULL } }
                                          name: "_POST"
                                      })pb",
                                  change_t())),
              R"(["_GET" => [], "_POST" => ["b" => null]])");
}

constexpr char const *same_names = R"pb(
    groups {
        entries { key: "k" value { type: TYPE_LONG long_value: 1 } }
        entries { key: "k" value { type: TYPE_LONG long_value: 2 } }
        name: "g"
    }
    groups {
        entries { key: "k" value { type: TYPE_LONG long_value: 3 } }
        name: "g"
    })pb";

/// The same entries, marked as changed.
std::string changed(std::string message)
{
    for (std::size_t at = 0; (at = message.find("} }", at)) != std::string::npos; at += 20)
        message.insert(at + 1, " initial_value { }");
    return message;
}

TEST(Superglobals, neither_merge_nor_reorder_groups_and_entries_of_the_same_name)
{
    auto const *const expected = R"(["g" => ["k" => 1, "k" => 2], "g" => ["k" => 3]])";
    EXPECT_EQ(values(from_monitor(same_names)), expected);
    EXPECT_EQ(values(from_glimmet(same_names, init_t())), expected);
    EXPECT_EQ(values(from_glimmet(changed(same_names), change_t())), expected);
}

TEST(Superglobals, keep_the_bytes_of_names_and_keys)
{
    auto const *const message = R"pb(
        groups {
            entries { key: "\377\000k" value { type: TYPE_BOOL } }
            name: "5\376"
        })pb";
    auto const *const expected = R"(["5\xfe" => ["\xff\x00k" => false]])";
    EXPECT_EQ(values(from_monitor(message)), expected);
    EXPECT_EQ(values(from_glimmet(message, init_t())), expected);
    EXPECT_EQ(values(from_glimmet(changed(message), change_t())), expected);
}

TEST(Superglobals, have_strings_for_keys_from_protobuf_reports)
{
    auto const record = from_monitor("groups { entries { key: '5' } name: '6' }");
    auto const &[name, entries] = record->values()->elements().at(0);

    EXPECT_EQ(name->kind(), detail::ZVal::Kind::string);
    EXPECT_EQ(entries->kind(), detail::ZVal::Kind::array);
    EXPECT_EQ(std::get<PelorinArray>(entries->value())->elements().at(0).first->kind(), detail::ZVal::Kind::string);
}

TEST(Superglobals, is_the_same_in_both_dialects)
{
    auto const rpc_array = R"pb(superglobals {
        elements {
            string_key: "_GET"
            value { array_value { elements { string_key: "a" value { string_value: "1" } } } }
        }
    })pb";
    std::string const envelope = "request_id { id: 7 } ";
    auto const start = from_text<NotifyRequest>(envelope + "rinit {" + rpc_array + "}");
    auto const end = from_text<NotifyRequest>(envelope + "rshutdown {" + rpc_array + "}");
    auto const *const unchanged = R"pb(groups {
        entries { key: "a" value { type: TYPE_STRING string_value: "1" } }
        name: "_GET"
    })pb";
    auto const *const changed = R"pb(groups {
        entries { key: "a" value { type: TYPE_STRING string_value: "1" } initial_value { } }
        name: "_GET"
    })pb";

    auto const expected = to_text(detail::Superglobals(start, init_t()));
    EXPECT_EQ(to_text(detail::Superglobals(end, change_t())), expected);
    EXPECT_EQ(to_text(from_monitor(unchanged)), expected);
    EXPECT_EQ(to_text(from_glimmet(unchanged, init_t())), expected);
    EXPECT_EQ(to_text(from_glimmet(changed, change_t())), expected);
}

TEST(Superglobals, round_trip_through_a_qvariant)
{
    auto const record = from_monitor(same_names);

    EXPECT_EQ(QVariant::fromValue(record).value<Superglobals>(), record);
}

TEST(Superglobals, message_fields_are_all_read_or_known_to_be_ignored)
{
    EXPECT_THAT(field_names<monitor::Superglobals>(), ElementsAre("groups"));
    EXPECT_THAT(field_names<monitor::SuperglobalGroup>(), ElementsAre("entries", "name"));
    EXPECT_THAT(field_names<monitor::SuperglobalEntry>(), ElementsAre("key", "value"));
    EXPECT_THAT(field_names<glimmet::Superglobals>(), ElementsAre("groups"));
    EXPECT_THAT(field_names<glimmet::SuperglobalGroup>(), ElementsAre("entries", "name"));
    EXPECT_THAT(field_names<glimmet::SuperglobalEntry>(), ElementsAre("key", "value", "initial_value"));
}

} // namespace
} // namespace tarnwick::data::php::superglobals_test
