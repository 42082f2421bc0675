// Operations on values, users and configuration files when memory runs out, and the faults that Qt and protobuf do not
// survive.

#include "support/allocation_faults.h"
#include "support/records/message_filler.h"

#include "support/config_files.h"
#include "support/table.h"

#include <tarnwick/auth/request.h>
#include <tarnwick/auth/session.h>
#include <tarnwick/auth/user.h>
#include <tarnwick/data/php/zval.h>
#include <tarnwick/data/print.h>
#include <tarnwick/pconfigfile.h>
#include <tarnwick/pexception.h>
#include <tarnwick/tarnwick_utils.h>

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <google/protobuf/arena.h>
#include <pelorin/protobuf/PelorinPHP/zval.pb.h>
#include <tarnwick/rpc/php/v1/zval.pb.h>

#include <QtCore/QDir>
#include <QtCore/QJsonArray>
#include <QtCore/QMultiHash>
#include <QtCore/QRegularExpression>
#include <QtCore/QVariant>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace tarnwick::test::operations_test {
namespace {

namespace php = data::php;
namespace protobuf_php = pelorin::protobuf::PelorinPHP;
namespace rpc_php = rpc::php::v1;
using PelorinPHPX::Session;
using PelorinPHPX::SessionData;
using PelorinPHPX::Auth::Request;
using PelorinPHPX::Auth::RequestData;
using PelorinPHPX::Auth::User;
using PelorinPHPX::Auth::UserData;
using testing::IsEmpty;

constexpr auto nothing = [] { return nullptr; };
constexpr auto record_text = [](auto const &record) { return data::to_text(record); };
constexpr auto qstring_text = [](QString const &text) { return text.toStdString(); };
constexpr auto message_bytes = [](auto const *message) { return message->SerializeAsString(); };
constexpr auto unchanged = [](std::string const &text) { return text; };
constexpr auto variant_text = [](QVariant const &value) {
    rpc_php::ZVal message;
    PelorinPHPX::to_protobuf_zval(message, value);
    return message.SerializeAsString();
};
constexpr auto config_text = [](ConfigFile const &config) { return fmt::format("{}", fmt::join(table(config), "\n")); };

/// An operation, in one shape for each number. Shape 0 is the emptiest.
struct Deed {
    std::string name;
    std::function<AllocationFaults(std::uint32_t shape)> fail_each_allocation;
};

template <class Message>
struct OnArena {
    google::protobuf::Arena arena;
    Message *message = google::protobuf::Arena::Create<Message>(&arena);
};

/// Writes a record of the rpc dialect into a message of its own kind.
template <class Record, class Message>
Deed write(std::string name)
{
    return {std::move(name), [](std::uint32_t shape) {
                Record const record(new Record::Type(shaped<Message>(shape)));
                return fail_each_allocation(Operation{[] { return OnArena<Message>(); },
                                                      [&](OnArena<Message> const &target) {
                                                          record->to_protobuf(*target.message);
                                                          return target.message;
                                                      },
                                                      message_bytes});
            }};
}

php::PelorinArray array_of_shape(std::uint32_t shape)
{
    return php::PelorinArray(new php::detail::PelorinArray(shaped<rpc_php::PelorinArray>(shape)));
}

AllocationFaults difference(std::uint32_t shape)
{
    auto const array = array_of_shape(shape);
    auto const other = array_of_shape(shape + 1);
    return fail_each_allocation(Operation{nothing, [&](auto) { return array->diff_keys(*other); }, record_text});
}

AllocationFaults print(std::uint32_t shape)
{
    auto const array = array_of_shape(shape);
    return fail_each_allocation(Operation{nothing, [&](auto) { return data::to_text(array); }, unchanged});
}

QString text_of(MessageFiller &filler)
{
    return QString::fromStdString(filler.text());
}

User user_of_shape(std::uint32_t shape)
{
    MessageFiller filler(shape);
    User user(new UserData);
    user->kind = static_cast<std::uint8_t>(filler.below(5));
    if (filler.below(4) != 0)
        user->name = text_of(filler);
    if (filler.below(2) != 0)
        user->id = filler.below(100'000);
    for (auto left = filler.below(5); left > 0; --left)
        user->entries.insert(filler.below(100));
    return user;
}

AllocationFaults user_filled(std::uint32_t shape)
{
    return fail_each_allocation(Operation{nothing, [&](auto) { return user_of_shape(shape); }, record_text});
}

AllocationFaults user_as_text(std::uint32_t shape)
{
    auto const user = user_of_shape(shape);
    return fail_each_allocation(Operation{nothing, [&](auto) { return user.to_string(); }, qstring_text});
}

AllocationFaults request_filled(std::uint32_t shape)
{
    return fail_each_allocation(Operation{nothing,
                                          [&](auto) {
                                              MessageFiller filler(shape);
                                              Request request(new RequestData);
                                              request->text_1 = text_of(filler);
                                              request->text_2 = text_of(filler);
                                              if (filler.below(2) != 0)
                                                  request->optional_text = text_of(filler);
                                              return request;
                                          },
                                          record_text});
}

Session session_of_shape(std::uint32_t shape)
{
    MessageFiller filler(shape);
    Session session(new SessionData);
    session->blob = QByteArray::fromStdString(filler.text());
    if (filler.below(4) != 0)
        session->user = user_of_shape(shape);
    return session;
}

AllocationFaults session_filled(std::uint32_t shape)
{
    return fail_each_allocation(Operation{nothing, [&](auto) { return session_of_shape(shape); }, record_text});
}

AllocationFaults session_as_text(std::uint32_t shape)
{
    auto const session = session_of_shape(shape);
    return fail_each_allocation(Operation{nothing, [&](auto) { return session.user_as_string(); }, qstring_text});
}

/// A file of a few values, with more values for a larger shape.
ConfigFile config_of_shape(std::uint32_t shape)
{
    ConfigFile config{QString(), QString()};
    for (std::uint32_t value = 0; value <= shape; ++value)
        config.add_value(q(fmt::format("key.{}", value % 7)), q(fmt::format("a value of its own, {}", value)));
    return config;
}

/// Calls a query of a configuration file.
template <class Ask, class TextOf>
Deed ask(std::string name, Ask asked, TextOf text_of)
{
    return {std::move(name), [=](std::uint32_t shape) {
                auto const config = config_of_shape(shape);
                auto const key = q("key.0");
                return fail_each_allocation(Operation{nothing, [&](auto) { return asked(config, key); }, text_of});
            }};
}

constexpr auto list_text = [](QStringList const &list) { return list.join(u'\n').toStdString(); };
constexpr auto optional_text = [](std::optional<QString> const &text) { return text.value().toStdString(); };

/// Every second message contains JSON.
template <class Message>
Deed read_variant(std::string name)
{
    return {std::move(name), [](std::uint32_t shape) {
                auto message = shaped<Message>(shape);
                if (shape % 2 != 0) {
                    if constexpr (std::is_same_v<Message, protobuf_php::ZVal>)
                        message.set_type(Message::TYPE_JSON);
                    message.set_json_value(fmt::format(R"({{"a":[1,"a text, {0}",{{"b":{0}.5}}],"c":null}})", shape));
                }
                return fail_each_allocation(Operation{
                    nothing, [&](auto) { return PelorinPHPX::qvariant_from_protobuf_zval(message); }, variant_text});
            }};
}

template <class Message>
constexpr auto write_variant = [](QVariant const &value) {
    return Operation{[] { return OnArena<Message>(); },
                     [&value](OnArena<Message> const &target) {
                         PelorinPHPX::to_protobuf_zval(*target.message, value);
                         return target.message;
                     },
                     message_bytes};
};

/// Values that are neither a list nor a table.
template <class Message>
Deed write_plain_variant(std::string name)
{
    return {std::move(name), [](std::uint32_t shape) {
                auto const value = PelorinPHPX::qvariant_from_protobuf_zval(shaped<Message>(shape));
                return fail_each_allocation(write_variant<Message>(value));
            }};
}

std::vector<Deed> deeds()
{
    return {
        write<php::ZVal, rpc_php::ZVal>("ZVal_to_protobuf"),
        write<php::PelorinArray, rpc_php::PelorinArray>("PelorinArray_to_protobuf"),
        write<php::PelorinObject, rpc_php::PelorinObject>("PelorinObject_to_protobuf"),
        write<php::PelorinResource, rpc_php::PelorinResource>("PelorinResource_to_protobuf"),
        {"PelorinArray_diff_keys", difference},
        {"PelorinArray_print", print},
        {"User", user_filled},
        {"User_to_string", user_as_text},
        {"Request", request_filled},
        {"Session", session_filled},
        {"Session_user_as_string", session_as_text},
        ask(
            "ConfigFile_values", [](auto const &config, auto const &key) { return config.values(key); }, list_text),
        ask(
            "ConfigFile_keys", [](auto const &config, auto const & /*key*/) { return config.keys(); }, list_text),
        ask(
            "ConfigFile_copy",
            [](auto const &config, auto const & /*key*/) {
                auto copy = config;
                copy.set_file_name(q("/a/file"));
                return copy;
            },
            config_text),
        ask(
            "ConfigFile_child", [](auto const &config, auto const &key) { return ConfigFile(config, key).file_path(); },
            qstring_text),
        ask(
            "ConfigFile_get_var_of_the_environment",
            [](auto const &config, auto const & /*key*/) { return config.get_var(q("PATH"), {}); }, optional_text),
        read_variant<rpc_php::ZVal>("qvariant_from_protobuf_zval_rpc"),
        read_variant<protobuf_php::ZVal>("qvariant_from_protobuf_zval_protobuf"),
        write_plain_variant<rpc_php::ZVal>("to_protobuf_zval_rpc"),
        write_plain_variant<protobuf_php::ZVal>("to_protobuf_zval_protobuf"),
    };
}

class AllocationFaultsIn : public TableTest<Deed> {};

TEST_P(AllocationFaultsIn, end_in_bad_alloc_or_a_complete_result)
{
    std::size_t count = 0;
    for (std::uint32_t shape = 0; shape < 40; ++shape) {
        auto const faults = GetParam().fail_each_allocation(shape);
        ASSERT_THAT(faults.violations, IsEmpty()) << "shape " << shape;
        count += faults.count;
    }
    EXPECT_GT(count, 0U);
}

INSTANTIATE_TEST_SUITE_P(, AllocationFaultsIn, rows(deeds()), by_name);

struct Load {
    char const *name;
    char const *content;
};

template <class Fail>
AllocationFaults faults_of(Load const &load, Fail const &fail)
{
    ConfigFolder const folder;
    folder.write("included.conf", "; nothing in it\n");
    auto const file = q(folder.write("f.conf", load.content));
    auto const app = q("app");
    return fail(Operation{nothing, [&](auto) { return ConfigFile::load(file, app); }, config_text});
}

/// Faults while a file is loaded and refused with an exception.
AllocationFaults faults_of_refusal(Load const &load)
{
    ConfigFolder const folder;
    folder.write("bad.conf", "; comment\nno value\n");
    folder.write("worse.conf", "include = bad.conf\n");
    auto const file = q(folder.write("f.conf", load.content));
    auto const app = q("app");
    return fail_each_allocation(Operation{nothing,
                                          [&](auto) -> std::string {
                                              try {
                                                  return config_text(ConfigFile::load(file, app));
                                              } catch (PException const &error) {
                                                  return error.what();
                                              }
                                          },
                                          unchanged});
}

constexpr auto in_this_process = [](auto const &operation) { return fail_each_allocation(operation); };
constexpr auto in_processes = [](auto const &operation) { return fail_each_allocation_in_processes(operation); };

class AllocationFaultsInLoading : public TableTest<Load> {};

TEST_P(AllocationFaultsInLoading, end_in_bad_alloc_or_a_complete_table)
{
    auto const faults = faults_of(GetParam(), in_this_process);
    EXPECT_THAT(faults.violations, IsEmpty());
    EXPECT_GT(faults.count, 0U);
}

INSTANTIATE_TEST_SUITE_P(, AllocationFaultsInLoading,
                         testing::Values(Load{"nothing", ""}, Load{"comments", "; one\n# another\n"},
                                         Load{"a_value_outside_the_prefix", "another.key = a value\n"},
                                         Load{"an_include", "include = included.conf\n"},
                                         Load{"an_include_in_quotes", "include = \"included.conf\"\n"}),
                         by_name);

class AllocationFaultsInRefusing : public TableTest<Load> {};

TEST_P(AllocationFaultsInRefusing, end_in_bad_alloc_or_a_complete_message)
{
    auto const faults = faults_of_refusal(GetParam());
    EXPECT_THAT(faults.violations, IsEmpty());
    EXPECT_GT(faults.count, 0U);
}

INSTANTIATE_TEST_SUITE_P(, AllocationFaultsInRefusing,
                         testing::Values(Load{"a_line_without_a_value", "no value\n"},
                                         Load{"a_file_that_is_not_there", "include = none.conf\n"},
                                         Load{"a_line_two_includes_deep", "include = worse.conf\n"},
                                         Load{"a_file_that_includes_itself", "include = f.conf\n"}),
                         by_name);

/// Faults that no caller of Qt or protobuf survives, as listed in docs/reliability.md.
struct Limit {
    char const *name;
    AllocationFaults (*faults)();
};

AllocationFaults faults_of_load(char const *content)
{
    return faults_of(Load{"", content}, in_processes);
}

AllocationFaults insert_into_table()
{
    auto const text = q("a text of its own");
    return in_processes(Operation{[] { return QMultiHash<QString, QString>(); },
                                  [&](auto &table) {
                                      table.emplace(text, text);
                                      return table.value(text);
                                  },
                                  qstring_text});
}

AllocationFaults match()
{
    QRegularExpression const expression(q("^(a|b)+$"));
    return in_processes(
        Operation{nothing, [&](auto) { return expression.match(q("abba")).captured(1); }, qstring_text});
}

AllocationFaults list_folder()
{
    ConfigFolder const folder;
    folder.write("f.conf", "");
    auto const path = q(folder.path());
    return in_processes(Operation{nothing, [&](auto) { return QDir(path, q("*")).entryInfoList().size(); },
                                  [](auto size) { return std::to_string(size); }});
}

AllocationFaults make_json()
{
    QVariantList const list{1, q("a text of its own")};
    return in_processes(Operation{nothing, [&](auto) { return QJsonArray::fromVariantList(list); },
                                  [](QJsonArray const &array) { return std::to_string(array.size()); }});
}

AllocationFaults write_list()
{
    QVariant const list(QVariantList{1, q("a text of its own")});
    return in_processes(write_variant<rpc_php::ZVal>(list));
}

AllocationFaults fill_message_outside_an_arena()
{
    return in_processes(Operation{[] { return std::make_unique<rpc_php::ZVal>(); },
                                  [](auto const &message) {
                                      message->mutable_array_value()->add_elements();
                                      return message.get();
                                  },
                                  message_bytes});
}

Limit const limits[] = {
    {"QMultiHash_emplace", insert_into_table},
    {"ConfigFile_load_of_a_value", [] { return faults_of_load("app.key = value\n"); }},
    {"QRegularExpression_match", match},
    {"ConfigFile_load_of_a_reference", [] { return faults_of_load("app.key = ${of_no_such_variable}\n"); }},
    {"QDir_entryInfoList", list_folder},
    {"ConfigFile_load_of_a_wildcard", [] { return faults_of_load("include = included*.conf\n"); }},
    {"QJsonArray_fromVariantList", make_json},
    {"to_protobuf_zval_of_a_list", write_list},
    {"message_outside_an_arena", fill_message_outside_an_arena},
};

class AllocationFaultsBeyondUs : public TableTest<Limit> {};

TEST_P(AllocationFaultsBeyondUs, are_known)
{
    EXPECT_THAT(GetParam().faults().violations, testing::Not(IsEmpty()))
        << "It is survived now: strike it from this table and from docs/reliability.md.";
}

INSTANTIATE_TEST_SUITE_P(, AllocationFaultsBeyondUs, rows(limits), by_name);

} // namespace
} // namespace tarnwick::test::operations_test
