#pragma once

#include "capture/dialect.h"
#include "capture/loopback.h"
#include "capture/sql_tables.h"

#include <tarnwick/capture/v1/capture.pb.h>
#include <tarnwick/data/php/request_id.h>

#include <google/protobuf/arena.h>

#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace tarnwick::data::codetrace {
class AddData;
class Data;
} // namespace tarnwick::data::codetrace
namespace tarnwick::rpc::glimmet::v1 {
class NotifyRequest;
}
namespace tarnwick::rpc::php::v1 {
class NotifyRequest;
}

namespace tarnwick::program {

/// Request that a report belongs to.
struct ReportSource {
    Dialect dialect;
    data::php::RequestId request_id;
};

/// Part of a trace, which is no message.
struct TraceChunk {};

/// Whether records of a class are built from parts of traces. They are the largest records, and contain only names.
template <class Record>
inline constexpr bool is_trace_chunk =
    std::is_same_v<Record, data::codetrace::Data> || std::is_same_v<Record, data::codetrace::AddData>;

/// Builds the records of reports and passes them to a sink. The sink has these members:
///
/// | Member                                | Meaning                                                              |
/// |---------------------------------------|----------------------------------------------------------------------|
/// | `bool accepts(Dialect)`,              | whether to read a report; called before it is parsed where possible  |
/// | `bool accepts(RequestId)`             |                                                                      |
/// | `void begin(ReportSource, message)`   | a report, before its records; a chunk of a trace is a `TraceChunk`   |
/// | `bool wants<Record>()`                | whether to build records of a class (a handle, or a table)           |
/// | `void take(record, ReportSource,`     | a record; `view` distinguishes several records of one class from one |
/// | `string_view view)`                   | report                                                               |
///
/// `record_feed.cpp` instantiates it for each sink.
template <class Sink>
class RecordFeed {
public:
    /// `all_records`: every record of the report's family, whatever the report's case.
    explicit RecordFeed(Sink &sink, bool all_records = false)
        : sink_(sink)
        , all_records_(all_records)
    {
    }

    /// Returns the fault of the report; nothing when its records are passed on.
    [[nodiscard]] std::optional<std::string> feed(capture::v1::Frame const &frame);

private:
    /// Calls `build` with the message, and with its source.
    template <class Message, class Build>
    std::optional<std::string> read_rpc(std::string const &bytes, Build &&build);
    template <class Message, class Build>
    std::optional<std::string> read_protobuf(std::string const &bytes, capture::v1::Frame const &frame, Build &&build);
    template <class Message, class Use>
    std::optional<std::string> parsed(std::string const &bytes, Use &&use);
    /// Passes on the records that are built from the message alone, or from the message and the request id of the frame.
    template <class Message>
    std::optional<std::string> feed_rpc(std::string const &bytes);
    template <class Message>
    std::optional<std::string> feed_protobuf(std::string const &bytes, capture::v1::Frame const &frame);
    void feed_php(rpc::php::v1::NotifyRequest const &message, ReportSource const &source);
    void feed_glimmet(rpc::glimmet::v1::NotifyRequest const &message, ReportSource const &source);
    template <class Record>
    void feed_rpc_chunk(std::string const &bytes, capture::v1::Frame const &frame);
    template <class Record>
    void feed_protobuf_chunk(std::string const &bytes, capture::v1::Frame const &frame);
    bool begin_chunk(ReportSource const &source);
    /// Builds a record of a message, and of what travels beside it, if the sink wants it.
    template <class Record, class... Parts>
    void build(ReportSource const &source, std::string_view view, Parts &&...parts);

    Sink &sink_;
    bool all_records_;
    SqlTables sql_tables_;
    std::vector<char> block_ = std::vector<char>(262'144); ///< enough for most reports
    google::protobuf::Arena arena_{block_.data(), block_.size()};
    Loopback loopback_;
};

} // namespace tarnwick::program
