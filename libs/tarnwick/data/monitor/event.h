#pragma once

#include <tarnwick/data/description.h>
#include <tarnwick/data/handle.h>
#include <tarnwick/data/php/function.h>
#include <tarnwick/data/php/request_id.h>
#include <tarnwick/data/php/source_location.h>
#include <tarnwick/data/php/stack_trace.h>
#include <tarnwick/data/php/zval.h>
#include <tarnwick/data/time_pair.h>
#include <tarnwick/export.h>

#include <QtCore/QMetaType>
#include <QtCore/QSharedData>
#include <QtCore/QString>

#include <cstdint>
#include <optional>
#include <variant>

namespace pelorin::protobuf::Monitor {
class Event;
}
namespace tarnwick::rpc::monitor::v1 {
class NotifyRequest;
}

namespace tarnwick::data::monitor {
namespace detail {

/// One monitoring event of a PHP request. The sender decides what counts as slow or high; the library applies no
/// thresholds.
///
/// | Accessor        | Meaning, unit                 | rpc                              | protobuf                   |
/// |-----------------|-------------------------------|----------------------------------|----------------------------|
/// | `request_id()`  | request in which it occurred  | envelope, 0 when absent          | constructor argument       |
/// | `timestamp()`   | time of the report            | envelope, 0, 0 when absent       | 0, 0 when absent           |
/// | `kind()`        | what happened                 | by the member that is set        | by `type`, unset is 0      |
/// | `event_text()`  | text that every event has     | empty when unset                 | empty when unset           |
/// | `function()`    | function concerned            | by presence, kinds 0 and 1 only  | by presence, every kind    |
/// | `stack_trace()` | calls that led to the event   | by presence, even without        | absent without frames,     |
/// |                 |                               | frames; kinds 0, 1 and 5 only    | every kind                 |
/// | `event_flag()`  | flag that every event has     | false when unset                 | false when unset           |
/// | `details()`     | fields specific to the kind;  | as sent; zeroes and no location  | as sent; defaults when no  |
/// |                 | `FunctionError` when the kind | for absent sub-messages          | member or that of another  |
/// |                 | is unknown                    |                                  | kind is set                |
///
/// Null and empty texts in `details()` differ. A text is empty if its message leaves it unset, and null if there is no
/// such message. `PhpError::message` of the rpc dialect is never null.
///
/// Messages: `<tarnwick/rpc/monitor/v1/notify_request.pb.h>` and `<pelorin/protobuf/Monitor/event.pb.h>`.
class TARNWICK_EXPORT Event : public QSharedData {
public:
    /// Kind of an event. The numbers differ from the indices of `Details` and from the field numbers of the messages; 6
    /// and 7 are unused.
    enum class Kind : std::uint32_t {
        slow_function_exec = 0,
        function_error = 1,
        slow_request = 2,
        high_memory_usage = 3,
        php_error = 4,
        custom_event = 5,
        unknown = 8,
    };

    /// Details of `function_error`: none. The function and the stack trace are fields of the event.
    struct FunctionError {};

    /// Details of `slow_function_exec`.
    struct SlowFunctionExec {
        TimePair duration;
    };

    /// Details of `php_error`.
    struct PhpError {
        std::int32_t error_number = 0;
        QString error_name;                          ///< rpc: null without a `type`; protobuf: null without the member
        QString message;                             ///< rpc: never null; protobuf: null without the member
        std::optional<php::SourceLocation> location; ///< `line_extra` is always 0
    };

    /// Details of `slow_request`.
    struct SlowRequest {
        TimePair duration;
    };

    /// Details of `high_memory_usage`.
    struct HighMemoryUsage {
        std::int64_t usage = 0; ///< in the sender's unit
    };

    /// Details of an event that the application defined. In a report of the protobuf dialect without this member the
    /// texts are null, the value is `undefined` and the level is 2.
    struct CustomEvent {
        static constexpr std::int32_t other_level = 2;

        QString text_0;
        QString text_1;
        php::ZVal value{new php::detail::ZVal}; ///< never null
        std::int32_t level = other_level;       ///< -1, 0, 1, or 2 for any other number
    };

    using Details = std::variant<FunctionError, SlowFunctionExec, PhpError, SlowRequest, HighMemoryUsage, CustomEvent>;

    /// Reads a report of the rpc dialect.
    explicit Event(rpc::monitor::v1::NotifyRequest const &message);
    /// Reads a report of the protobuf dialect.
    Event(pelorin::protobuf::Monitor::Event const &message, php::RequestId request_id);
    Q_DISABLE_COPY_MOVE(Event)

    [[nodiscard]] php::RequestId request_id() const noexcept { return request_id_; }
    [[nodiscard]] TimePair timestamp() const noexcept { return timestamp_; }
    [[nodiscard]] Kind kind() const noexcept { return kind_; }
    [[nodiscard]] QString const &event_text() const noexcept { return event_text_; }
    [[nodiscard]] std::optional<php::Function> const &function() const noexcept { return function_; }
    [[nodiscard]] std::optional<php::StackTrace> const &stack_trace() const noexcept { return stack_trace_; }
    [[nodiscard]] bool event_flag() const noexcept { return event_flag_; }
    [[nodiscard]] Details const &details() const noexcept { return details_; }

private:
    php::RequestId request_id_;
    TimePair timestamp_;
    Kind kind_;
    QString event_text_;
    std::optional<php::Function> function_;
    std::optional<php::StackTrace> stack_trace_;
    bool event_flag_ = false;
    Details details_;
};

} // namespace detail

/// Shared handle of an immutable `detail::Event`.
class Event : public Handle<detail::Event> {
public:
    using Handle::Handle;
    using Kind = detail::Event::Kind;
    using FunctionError = detail::Event::FunctionError;
    using SlowFunctionExec = detail::Event::SlowFunctionExec;
    using PhpError = detail::Event::PhpError;
    using SlowRequest = detail::Event::SlowRequest;
    using HighMemoryUsage = detail::Event::HighMemoryUsage;
    using CustomEvent = detail::Event::CustomEvent;
    using Details = detail::Event::Details;
};

} // namespace tarnwick::data::monitor

template <>
struct tarnwick::data::Description<tarnwick::data::monitor::detail::Event::FunctionError> {
    static constexpr std::string_view name = "monitor.FunctionError";
    static constexpr std::tuple fields{};
};

template <>
struct tarnwick::data::Description<tarnwick::data::monitor::detail::Event::SlowFunctionExec> {
    using Record = monitor::detail::Event::SlowFunctionExec;
    static constexpr std::string_view name = "monitor.SlowFunctionExec";
    static constexpr std::tuple fields{Field{"duration", &Record::duration, Sense::span}};
};

template <>
struct tarnwick::data::Description<tarnwick::data::monitor::detail::Event::PhpError> {
    using Record = monitor::detail::Event::PhpError;
    static constexpr std::string_view name = "monitor.PhpError";
    static constexpr std::tuple fields{
        Field{"error_number", &Record::error_number},
        Field{"error_name", &Record::error_name},
        Field{"message", &Record::message},
        Field{"location", &Record::location},
    };
};

template <>
struct tarnwick::data::Description<tarnwick::data::monitor::detail::Event::SlowRequest> {
    using Record = monitor::detail::Event::SlowRequest;
    static constexpr std::string_view name = "monitor.SlowRequest";
    static constexpr std::tuple fields{Field{"duration", &Record::duration, Sense::span}};
};

template <>
struct tarnwick::data::Description<tarnwick::data::monitor::detail::Event::HighMemoryUsage> {
    using Record = monitor::detail::Event::HighMemoryUsage;
    static constexpr std::string_view name = "monitor.HighMemoryUsage";
    static constexpr std::tuple fields{Field{"usage", &Record::usage}};
};

template <>
struct tarnwick::data::Description<tarnwick::data::monitor::detail::Event::CustomEvent> {
    using Record = monitor::detail::Event::CustomEvent;
    static constexpr std::string_view name = "monitor.CustomEvent";
    static constexpr std::tuple fields{
        Field{"text_0", &Record::text_0},
        Field{"text_1", &Record::text_1},
        Field{"value", &Record::value},
        Field{"level", &Record::level},
    };
};

template <>
struct tarnwick::data::Description<tarnwick::data::monitor::detail::Event> {
    using Record = monitor::detail::Event;
    static constexpr std::string_view name = "monitor.Event";
    using Sources =
        std::tuple<From<rpc::monitor::v1::NotifyRequest>, From<pelorin::protobuf::Monitor::Event, php::RequestId>>;
    static constexpr Label kinds[] = {
        {static_cast<int>(Record::Kind::slow_function_exec), "slow function"},
        {static_cast<int>(Record::Kind::function_error), "function error"},
        {static_cast<int>(Record::Kind::slow_request), "slow request"},
        {static_cast<int>(Record::Kind::high_memory_usage), "high memory usage"},
        {static_cast<int>(Record::Kind::php_error), "PHP error"},
        {static_cast<int>(Record::Kind::custom_event), "custom event"},
        {static_cast<int>(Record::Kind::unknown), "unknown"},
    };
    static constexpr std::tuple fields{
        Field{"request_id", &Record::request_id},
        Field{"timestamp", &Record::timestamp, Sense::instant},
        Field{"kind", &Record::kind, Sense::plain, kinds},
        Field{"event_text", &Record::event_text},
        Field{"function", &Record::function},
        Field{"stack_trace", &Record::stack_trace},
        Field{"event_flag", &Record::event_flag},
        Field{"details", &Record::details},
    };
};

Q_DECLARE_TYPEINFO(tarnwick::data::monitor::Event::PhpError, Q_RELOCATABLE_TYPE);
Q_DECLARE_TYPEINFO(tarnwick::data::monitor::Event::CustomEvent, Q_RELOCATABLE_TYPE);
Q_DECLARE_METATYPE(tarnwick::data::monitor::Event)
