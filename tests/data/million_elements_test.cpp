// Every record with a list is built, read and released with a million elements on a small stack.

#include <tarnwick/data/records.h>

#include "support/records/make_record.h"
#include "support/records/symbol.h"
#include "support/small_stack.h"
#include "support/table.h"

#include <pelorin/protobuf/Glimmet/functions.pb.h>
#include <pelorin/protobuf/Glimmet/headers.pb.h>
#include <pelorin/protobuf/Glimmet/sql.pb.h>
#include <pelorin/protobuf/Glimmet/storage.pb.h>
#include <pelorin/protobuf/Glimmet/superglobals.pb.h>
#include <pelorin/protobuf/Monitor/function_data.pb.h>
#include <pelorin/protobuf/Monitor/superglobals.pb.h>
#include <pelorin/protobuf/PelorinPHP/stack_trace.pb.h>
#include <pelorin/protobuf/PelorinPHP/zval.pb.h>
#include <tarnwick/rpc/glimmet/v1/notify_request.pb.h>
#include <tarnwick/rpc/php/v1/function.pb.h>
#include <tarnwick/rpc/php/v1/notify_request.pb.h>

#include <google/protobuf/arena.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <iterator>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace tarnwick::data::million_elements_test {
namespace {

namespace Glimmet = pelorin::protobuf::Glimmet;
namespace Monitor = pelorin::protobuf::Monitor;
namespace PelorinPHP = pelorin::protobuf::PelorinPHP;
using GlimmetReport = rpc::glimmet::v1::NotifyRequest;
using PhpReport = rpc::php::v1::NotifyRequest;

#ifdef TARNWICK_SANITIZED
constexpr std::uint32_t many = 100'000;
#else
constexpr std::uint32_t many = 1'000'000;
#endif

constexpr php::RequestId id(7);

/// A record built from a message with many elements, each of which contains its number.
struct List {
    std::string name;
    std::string record; ///< its class
    std::function<void()> run;
};

template <class Record, class Message, class... Arguments>
List list(std::string name, void (*add)(Message &, std::uint32_t number),
          std::uint32_t (*count_in_place)(Record const &), Arguments const &...arguments)
{
    return {std::move(name), test::symbol<Record>(), [=] {
                google::protobuf::Arena arena;
                auto &message = *google::protobuf::Arena::Create<Message>(&arena);
                for (std::uint32_t number = 0; number < many; ++number)
                    add(message, number);
                std::uint32_t in_place = 0;
                test::on_small_stack([&] {
                    auto const record = test::make_record<Record>(message, arguments...);
                    in_place = count_in_place(record);
                });
                EXPECT_EQ(in_place, many);
            }};
}

/// Returns how many elements contain their number.
template <class Elements, class Number>
std::uint32_t in_place(Elements const &elements, Number const &number_of)
{
    std::uint32_t number = 0;
    std::uint32_t count = 0;
    for (auto const &element : elements)
        count += static_cast<std::uint32_t>(number_of(element)) == number++;
    return number == many ? count : number;
}

constexpr auto by_id = [](auto const &element) { return element->id(); };

constexpr auto functions = [](glimmet::Functions const &record) {
    return in_place(record->functions(), [](auto const &function) { return function.count(); });
};
constexpr auto storage = [](glimmet::Storage const &record) {
    return in_place(record->entries(), [](auto const &entry) { return entry.name().toInt(); });
};
constexpr auto values = [](glimmet::Storage const &record) {
    return in_place(record->entries().front().values(), [](auto const &value) { return value.toInt(); });
};
constexpr auto queries = [](glimmet::SqlQueries const &record) {
    return in_place(record->queries(), [](auto const &query) { return query->wide_number(); });
};
constexpr auto trace = [](php::StackTrace const &record) {
    return in_place(record.frames(), [](auto const &frame) { return frame.frame_number(); });
};
/// The number that the key of an element is, or whose digits it contains.
constexpr auto number_of_key = [](std::pair<php::ZVal, php::ZVal> const &element) {
    auto const &key = element.first->value();
    auto const *const text = std::get_if<std::string>(&key);
    return text != nullptr ? std::stoll(*text) : std::get<std::int64_t>(key);
};
constexpr auto keys = [](php::PelorinArray const &record) { return in_place(record->elements(), number_of_key); };
constexpr auto headers = [](auto const &record) { return keys(record->headers()); };
constexpr auto groups = [](php::Superglobals const &record) { return keys(record->values()); };
constexpr auto entries = [](php::Superglobals const &record) {
    return keys(std::get<php::PelorinArray>(record->values()->elements().front().second->value()));
};
constexpr auto connection_table = [](glimmet::SqlConnections const &table) { return in_place(table, by_id); };
constexpr auto transaction_table = [](glimmet::SqlTransactions const &table) { return in_place(table, by_id); };

void chain(auto &transaction, std::uint32_t number)
{
    transaction.set_id(number);
    if (number > 0)
        transaction.set_parent_id(number - 1);
}

constexpr auto add_line = [](auto &message, std::uint32_t number) {
    message.add_lines(std::to_string(number) + ": 7");
};
constexpr auto add_group = [](auto &message, std::uint32_t number) {
    message.add_groups()->set_name(std::to_string(number));
};
constexpr auto add_entry = [](auto &message, std::uint32_t number) {
    auto &entry = *(number == 0 ? message.add_groups() : message.mutable_groups(0))->add_entries();
    entry.set_key(std::to_string(number));
    if constexpr (requires { entry.mutable_initial_value(); }) // it changed
        entry.mutable_initial_value();
};

List const lists[] = {
    list<php::RequestHeaders, PhpReport>(
        "request_headers_of_rpc",
        [](PhpReport &message, std::uint32_t number) {
            message.mutable_rinit()->mutable_request()->mutable_headers()->add_elements()->set_long_key(number);
        },
        headers),
    list<php::RequestHeaders, Glimmet::RequestHeaders>("request_headers_of_protobuf", add_line, headers, id),
    list<php::ResponseHeaders, PhpReport>(
        "response_headers_of_rpc",
        [](PhpReport &message, std::uint32_t number) {
            message.mutable_rshutdown()->mutable_response()->mutable_headers()->add_elements()->set_long_key(number);
        },
        headers),
    list<php::ResponseHeaders, Glimmet::ResponseHeaders>("response_headers_of_protobuf", add_line, headers, id),
    list<php::Superglobals, PhpReport>(
        "superglobals_of_rpc",
        [](PhpReport &message, std::uint32_t number) {
            message.mutable_rinit()->mutable_superglobals()->add_elements()->set_long_key(number);
        },
        groups, php::Superglobals::init_t()),
    list<php::Superglobals, Monitor::Superglobals>("superglobals_of_a_monitor", add_group, groups, id),
    list<php::Superglobals, Monitor::Superglobals>("entries_of_a_superglobal_of_a_monitor", add_entry, entries, id),
    list<php::Superglobals, Glimmet::Superglobals>("superglobals_of_a_profiler", add_group, groups, id,
                                                   php::Superglobals::init_t()),
    list<php::Superglobals, Glimmet::Superglobals>("entries_of_a_superglobal_at_the_start", add_entry, entries, id,
                                                   php::Superglobals::init_t()),
    list<php::Superglobals, Glimmet::Superglobals>("entries_of_a_superglobal_that_changed", add_entry, entries, id,
                                                   php::Superglobals::change_t()),
    list<glimmet::Functions, GlimmetReport>(
        "functions_of_rpc",
        [](GlimmetReport &message, std::uint32_t number) {
            message.mutable_functions()->add_functions()->mutable_stats()->set_count(number);
        },
        functions),
    list<glimmet::Functions, Glimmet::Functions>(
        "functions_of_protobuf",
        [](Glimmet::Functions &message, std::uint32_t number) { message.add_functions()->set_count(number); },
        functions, id),
    list<glimmet::Storage, GlimmetReport>(
        "entries_of_rpc",
        [](GlimmetReport &message, std::uint32_t number) {
            message.mutable_storage()->add_entries()->set_name(std::to_string(number));
        },
        storage),
    list<glimmet::Storage, Glimmet::Storage>(
        "entries_of_protobuf",
        [](Glimmet::Storage &message, std::uint32_t number) {
            message.add_entries()->set_name(std::to_string(number));
        },
        storage, id),
    list<glimmet::Storage, GlimmetReport>(
        "values_of_an_entry_of_rpc",
        [](GlimmetReport &message, std::uint32_t number) {
            auto &sent = *message.mutable_storage();
            (number == 0 ? sent.add_entries() : sent.mutable_entries(0))->add_values(std::to_string(number));
        },
        values),
    list<glimmet::Storage, Glimmet::Storage>(
        "values_of_an_entry_of_protobuf",
        [](Glimmet::Storage &message, std::uint32_t number) {
            (number == 0 ? message.add_entries() : message.mutable_entries(0))->add_values(std::to_string(number));
        },
        values, id),
    list<glimmet::SqlQueries, GlimmetReport>(
        "queries_of_rpc",
        [](GlimmetReport &message, std::uint32_t number) {
            message.mutable_sql_queries()->add_queries()->set_wide_number(number);
        },
        queries),
    list<glimmet::SqlQueries, Glimmet::SqlQueries>(
        "queries_of_protobuf",
        [](Glimmet::SqlQueries &message, std::uint32_t number) { message.add_queries()->set_wide_number(number); },
        queries, id, glimmet::SqlConnections::Table(), glimmet::SqlTransactions::Table()),
    list<glimmet::SqlQueries, GlimmetReport>(
        "connections_of_rpc",
        [](GlimmetReport &message, std::uint32_t number) {
            message.mutable_sql_queries()->add_connections()->set_id(number);
        },
        [](glimmet::SqlQueries const &record) { return in_place(record->connections(), by_id); }),
    list<glimmet::SqlQueries, GlimmetReport>(
        "transactions_of_rpc",
        [](GlimmetReport &message, std::uint32_t number) {
            chain(*message.mutable_sql_queries()->add_transactions(), number);
        },
        [](glimmet::SqlQueries const &record) { return in_place(record->transactions(), by_id); }),
    list<glimmet::SqlConnections, Glimmet::SqlConnections>(
        "connections_of_protobuf",
        [](Glimmet::SqlConnections &message, std::uint32_t number) { message.add_connections()->set_id(number); },
        connection_table),
    list<glimmet::SqlTransactions, Glimmet::SqlTransactions>(
        "transactions_of_protobuf",
        [](Glimmet::SqlTransactions &message, std::uint32_t number) { chain(*message.add_transactions(), number); },
        transaction_table),
    list<php::StackTrace, rpc::php::v1::StackTrace>(
        "frames_of_rpc",
        [](rpc::php::v1::StackTrace &message, std::uint32_t number) { message.add_frames()->set_frame_number(number); },
        trace),
    list<php::StackTrace, PelorinPHP::StackTrace>(
        "frames_of_protobuf",
        [](PelorinPHP::StackTrace &message, std::uint32_t number) { message.add_frames()->set_frame_number(number); },
        trace),
    list<php::PelorinArray, rpc::php::v1::PelorinArray>(
        "elements_of_rpc",
        [](rpc::php::v1::PelorinArray &message, std::uint32_t number) { message.add_elements()->set_long_key(number); },
        keys),
    list<php::PelorinObject, rpc::php::v1::PelorinObject>(
        "properties",
        [](rpc::php::v1::PelorinObject &message, std::uint32_t number) {
            message.mutable_properties()->add_elements()->set_long_key(number);
        },
        [](php::PelorinObject const &record) { return keys(record->properties()); }),
    list<php::Function, Monitor::FunctionData>(
        "arguments",
        [](Monitor::FunctionData &message, std::uint32_t number) {
            message.mutable_arguments()->add_elements()->set_long_key(number);
        },
        [](php::Function const &record) { return keys(record.args()); }),
    list<php::PelorinArray, PelorinPHP::PelorinArray>(
        "elements_of_protobuf",
        [](PelorinPHP::PelorinArray &message, std::uint32_t number) { message.add_elements()->set_long_key(number); },
        keys),
};

class MillionElements : public test::TableTest<List> {};

TEST_P(MillionElements, are_built_read_and_released_on_a_small_stack)
{
    GetParam().run();
}

INSTANTIATE_TEST_SUITE_P(As, MillionElements, test::rows(lists), test::by_name);

template <class T>
inline constexpr bool is_list = std::is_convertible_v<T, php::PelorinArray>;
template <class T>
inline constexpr bool is_list<QList<T>> = true;
template <class Key, class T>
inline constexpr bool is_list<QMap<Key, T>> = true;

template <class Payload>
constexpr bool has_list()
{
    bool found = false; // NOLINT(misc-const-correctness): records without a Description leave it
    if constexpr (Described<Payload>) {
        for_each_field<Payload>([&](auto const &field) {
            found |= is_list<std::remove_cvref_t<std::invoke_result_t<decltype(field.read), Payload const &>>>;
        });
    }
    return found;
}

TEST(MillionElements, are_tested_for_every_record_with_a_list)
{
    std::vector<std::string> lacking;
    for_each_type(AllRecords(), [&]<class Record> {
        if (has_list<payload_of_t<Record>>() &&
            std::ranges::find(lists, test::symbol<Record>(), &List::record) == std::end(lists))
            lacking.push_back(test::symbol<Record>());
    });
    EXPECT_THAT(lacking, testing::IsEmpty());
}

} // namespace
} // namespace tarnwick::data::million_elements_test
