// Fuzz target: PHP values converted between messages, QVariant and records.

#include "fuzz/message_inputs.h"
#include "fuzz/naive_text.h"
#include "fuzz/promise.h"
#include "fuzz/target.h"

#include <tarnwick/data/php/zval.h>
#include <tarnwick/tarnwick_utils.h>

#include <pelorin/protobuf/PelorinPHP/zval.pb.h>
#include <tarnwick/rpc/php/v1/zval.pb.h>

#include <QtCore/QDateTime>
#include <QtCore/QVariant>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

namespace tarnwick::fuzz {
namespace {

namespace php = data::php;
using RpcZVal = rpc::php::v1::ZVal;
using ProtobufZVal = pelorin::protobuf::PelorinPHP::ZVal;
using Kind = php::detail::ZVal::Kind;
using PelorinPHPX::qvariant_from_protobuf_zval;
using PelorinPHPX::to_protobuf_zval;

std::string utf8(QString const &text)
{
    return text.toUtf8().toStdString();
}

bool is_text(QString const &text, std::string_view bytes)
{
    return QStringView(text) == QStringView(naive_text(bytes));
}

bool is_same(double left, double right)
{
    return std::bit_cast<std::uint64_t>(left) == std::bit_cast<std::uint64_t>(right);
}

// Records.

bool reads_back(php::ZVal const &written, php::ZVal const &read);

bool key_reads_back(php::ZVal const &written, php::ZVal const &read)
{
    auto const is_kept = written->kind() == Kind::long_ || written->kind() == Kind::string;
    return is_kept ? reads_back(written, read) : read->kind() == Kind::undefined;
}

bool reads_back(php::PelorinArray const &written, php::PelorinArray const &read)
{
    auto const &elements = written->elements();
    if (read->elements().size() != elements.size())
        return false;
    for (std::size_t i = 0; i < elements.size(); ++i) {
        auto const &[key, value] = read->elements()[i];
        if (!key_reads_back(elements[i].first, key) || !reads_back(elements[i].second, value))
            return false;
    }
    return true;
}

/// Whether `read` is what the table of `to_protobuf` describes for a record that is written into a message and read from
/// it. Each decoding of a name drops a byte-order mark at its start.
bool reads_back(php::ZVal const &written, php::ZVal const &read)
{
    if (written->kind() == Kind::undefined || written->kind() == Kind::null)
        return read->kind() == Kind::undefined;
    if (written->kind() != read->kind())
        return false;
    return std::visit(
        [&]<class Content>(Content const &content) {
            using php::detail::ZVal;
            auto const &other = std::get<Content>(read->value());
            if constexpr (std::is_same_v<Content, double>)
                return is_same(content, other);
            else if constexpr (std::is_same_v<Content, php::PelorinArray>)
                return reads_back(content, other);
            else if constexpr (std::is_same_v<Content, php::PelorinObject>)
                return is_text(other->class_name(), utf8(content->class_name())) &&
                       reads_back(content->properties(), other->properties()) &&
                       reads_back(content->value(), other->value());
            else if constexpr (std::is_same_v<Content, php::PelorinResource>)
                return is_text(other->type_name(), utf8(content->type_name())) &&
                       reads_back(content->value(), other->value());
            else if constexpr (std::is_same_v<Content, ZVal::undefined_t> || std::is_same_v<Content, ZVal::null_t>)
                return false; // handled above
            else
                return content == other;
        },
        written->value());
}

template <class Message>
void check_record(Message const &message)
{
    php::ZVal const record(new php::detail::ZVal(message));
    RpcZVal written;
    record->to_protobuf(written);
    php::ZVal const read(new php::detail::ZVal(written));
    expect(reads_back(record, read), "a record that is written to a message reads back as documented");
}

// The bridge.

/// The kind of the value in a message of either dialect.
Kind kind_of(RpcZVal const &message)
{
    switch (message.value_case()) {
    case RpcZVal::kBoolValue:
        return Kind::bool_;
    case RpcZVal::kLongValue:
        return Kind::long_;
    case RpcZVal::kDoubleValue:
        return Kind::double_;
    case RpcZVal::kStringValue:
        return Kind::string;
    case RpcZVal::kJsonValue:
        return Kind::json;
    case RpcZVal::kTimestampValue:
        return Kind::timestamp;
    default:
        return Kind::undefined;
    }
}

Kind kind_of(ProtobufZVal const &message)
{
    switch (static_cast<int>(message.type())) {
    case 2:
        return Kind::bool_;
    case 3:
        return Kind::string;
    case 4:
        return Kind::long_;
    case 5:
        return Kind::double_;
    case 6:
        return Kind::json;
    case 7:
        return Kind::timestamp;
    default:
        return Kind::undefined;
    }
}

/// Milliseconds since 1970, if the time is in the range that both conversions support.
std::optional<std::int64_t> milliseconds(google::protobuf::Timestamp const &time)
{
    constexpr std::int64_t most_seconds = std::int64_t{1} << 46; // beyond year 2,000,000
    if (time.seconds() > most_seconds || time.seconds() < -most_seconds)
        return std::nullopt;
    return time.seconds() * 1'000 + time.nanos() / 1'000'000;
}

/// Checks that `value` is the value of the message.
template <class Message>
void expect_value(Message const &message, QVariant const &value)
{
    constexpr auto row = "the value of a message is that of its table row";
    switch (kind_of(message)) {
    case Kind::bool_:
        return expect(value.typeId() == QMetaType::Bool && value.toBool() == message.bool_value(), row);
    case Kind::long_:
        return expect(value.typeId() == QMetaType::LongLong && value.toLongLong() == message.long_value(), row);
    case Kind::double_:
        return expect(value.typeId() == QMetaType::Double && is_same(value.toDouble(), message.double_value()), row);
    case Kind::string:
        return expect(value.typeId() == QMetaType::QString && is_text(value.toString(), message.string_value()), row);
    case Kind::json:
        return expect(!value.isValid() || value.typeId() == QMetaType::QVariantMap ||
                          value.typeId() == QMetaType::QVariantList,
                      row);
    case Kind::timestamp: {
        expect(value.typeId() == QMetaType::QDateTime, row);
        auto const expected = milliseconds(message.timestamp_value());
        return expect(!expected || value.toDateTime().toMSecsSinceEpoch() == *expected, row);
    }
    default:
        return expect(!value.isValid(), row);
    }
}

/// A time is written as its seconds, truncated towards 1970, and the milliseconds of its second. Before 1970 a time
/// with a fraction of a second therefore reads back one second later.
std::int64_t read_back(std::int64_t milliseconds)
{
    auto const whole = milliseconds / 1'000;
    auto const rest = milliseconds % 1'000;
    return whole * 1'000 + (rest < 0 ? rest + 1'000 : rest);
}

/// Whether a JSON text can read back as `read`: a byte-order mark at its start may be lost.
bool is_json_text(QString const &read, QString const &written)
{
    return read == written || (written.startsWith(QChar::ByteOrderMark) && read == QStringView(written).mid(1));
}

bool reads_back(QVariant const &written, QVariant const &read);

/// Keys that are equal without their byte-order marks may be merged; one of their values remains.
bool reads_back(QVariantMap const &written, QVariantMap const &read)
{
    auto const entries = written.asKeyValueRange();
    auto const read_entries = read.asKeyValueRange();
    return std::ranges::all_of(entries,
                               [&](auto const &entry) {
                                   return std::ranges::any_of(read_entries, [&](auto const &other) {
                                       return is_json_text(other.first, entry.first);
                                   });
                               }) &&
           std::ranges::all_of(read_entries, [&](auto const &other) {
               return std::ranges::any_of(entries, [&](auto const &entry) {
                   return is_json_text(other.first, entry.first) && reads_back(entry.second, other.second);
               });
           });
}

/// Compares nested JSON: everything but its texts is unchanged, but a number may change its type.
bool reads_back(QVariant const &written, QVariant const &read)
{
    switch (read.typeId() == written.typeId() ? written.typeId() : QMetaType::UnknownType) {
    case QMetaType::QString:
        return is_json_text(read.toString(), written.toString());
    case QMetaType::QVariantMap:
        return reads_back(written.toMap(), read.toMap());
    case QMetaType::QVariantList: {
        auto const list = written.toList();
        auto const read_list = read.toList();
        return std::ranges::equal(list, read_list,
                                  [](auto const &left, auto const &right) { return reads_back(left, right); });
    }
    default:
        return read.isValid() == written.isValid() && read == written;
    }
}

/// Checks a value that was written into a message and read back.
template <class Message>
void expect_read_back(QVariant const &value, QVariant const &read)
{
    constexpr auto row = "a value that is written to a message reads back as documented";
    switch (value.typeId()) {
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
        return expect(read.typeId() == QMetaType::LongLong && read.toLongLong() == value.toLongLong(), row);
    case QMetaType::Float:
        return expect(!read.isValid(), row);
    case QMetaType::Double:
        return expect(read.typeId() == QMetaType::Double && is_same(value.toDouble(), read.toDouble()), row);
    case QMetaType::QString: {
        auto bytes = utf8(value.toString());
        if constexpr (std::is_same_v<Message, ProtobufZVal>)
            bytes.resize(std::min(bytes.find('\0'), bytes.size()));
        return expect(read.typeId() == QMetaType::QString && is_text(read.toString(), bytes), row);
    }
    case QMetaType::QDateTime: {
        auto const time = value.toDateTime();
        return expect(
            read.typeId() == QMetaType::QDateTime &&
                (!time.isValid() || read.toDateTime().toMSecsSinceEpoch() == read_back(time.toMSecsSinceEpoch())),
            row);
    }
    default:
        return expect(reads_back(value, read), row);
    }
}

/// Writes the value as `QVariant`, or as the list or map in it, and checks what reads back.
template <class Message, class Value>
void check_round_trip_of(QVariant const &value, Value const &written)
{
    Message message;
    to_protobuf_zval(message, written);
    expect_read_back<Message>(value, qvariant_from_protobuf_zval(message));
}

template <class Message>
void check_round_trip(QVariant const &value)
{
    check_round_trip_of<Message>(value, value);
    switch (value.typeId()) {
    case QMetaType::LongLong:
        for (auto const type : {QMetaType::Int, QMetaType::UInt, QMetaType::ULongLong}) {
            auto other = value;
            if (other.convert(QMetaType(type)))
                check_round_trip_of<Message>(other, other);
        }
        break;
    case QMetaType::Double: {
        auto const other = QVariant::fromValue(static_cast<float>(value.toDouble()));
        check_round_trip_of<Message>(other, other);
        break;
    }
    case QMetaType::QVariantList:
        check_round_trip_of<Message>(value, value.toList());
        break;
    case QMetaType::QVariantMap:
        check_round_trip_of<Message>(value, value.toMap());
        break;
    default:
        break;
    }
}

template <class Message>
void check_message(Message const &message)
{
    check_record(message);
    auto const value = qvariant_from_protobuf_zval(message);
    expect_value(message, value);
    check_round_trip<RpcZVal>(value);
    check_round_trip<ProtobufZVal>(value);
}

MessageInputs &inputs()
{
    static MessageInputs inputs{&RpcZVal::default_instance(), &ProtobufZVal::default_instance()};
    return inputs;
}

bool check(std::string_view input)
{
    auto const *const message = inputs().parsed(input);
    if (message == nullptr)
        return false;
    expect_clean_run([&] {
        if (auto const *rpc_message = dynamic_cast<RpcZVal const *>(message))
            check_message(*rpc_message);
        else
            check_message(dynamic_cast<ProtobufZVal const &>(*message));
    });
    return true;
}

} // namespace

constinit Target const bridge{
    .name = "bridge",
    .check = check,
    .mutated = [](std::string_view input, std::uint32_t seed,
                  MutateBytes mutate_bytes) { return inputs().mutated(input, seed, mutate_bytes); },
    .crossed = [](std::string_view input, std::string_view other,
                  std::uint32_t seed) { return inputs().crossed(input, other, seed); }};

} // namespace tarnwick::fuzz
