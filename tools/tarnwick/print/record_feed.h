#pragma once

#include "capture/loopback.h"
#include "print/record_printer.h"
#include "print/sql_tables.h"

#include <tarnwick/capture/v1/capture.pb.h>
#include <tarnwick/data/php/request_id.h>

#include <google/protobuf/arena.h>

#include <optional>
#include <string>
#include <string_view>

namespace tarnwick::rpc::glimmet::v1 {
class NotifyRequest;
}
namespace tarnwick::rpc::php::v1 {
class NotifyRequest;
}

namespace tarnwick::program {

/// Builds the records that a frame's report feeds and prints them.
class RecordFeed {
public:
    /// Limit of nested messages in a report. A PHP array takes three levels; PHP itself accepts 64 nested arrays from a
    /// request. Parsing, building and printing such a report need at most 256 KiB of stack. Parsing needs the most, some
    /// 190 bytes a message.
    static constexpr int max_depth = 1000;

    /// `all_records`: every record of the report's family, whatever the report's case.
    RecordFeed(RecordPrinter &printer, bool all_records)
        : printer_(printer)
        , all_records_(all_records)
    {
    }

    /// Returns the fault of the report; nothing when its records are printed.
    [[nodiscard]] std::optional<std::string> feed(capture::v1::Frame const &frame);

private:
    /// Calls `build` with the message.
    template <class Message, class Build>
    std::optional<std::string> parsed(std::string const &bytes, Build &&build);
    /// Prints the records that are built from the message and these arguments, whatever the message's case.
    template <class Message, class... Arguments>
    std::optional<std::string> parsed_into(std::string const &bytes, std::string_view dialect, Arguments... arguments);
    void print_php(rpc::php::v1::NotifyRequest const &message);
    template <class Record>
    void print_rpc_chunk(std::string const &bytes, capture::v1::Frame const &frame);
    template <class Record>
    void print_protobuf_chunk(std::string const &bytes, capture::v1::Frame const &frame);
    void print_glimmet(rpc::glimmet::v1::NotifyRequest const &message);
    /// Builds a record of a message, and of what travels beside it, and prints it.
    template <class Record, class... Parts>
    void print(std::string_view dialect, Parts &&...parts);
    /// The same for superglobals, of which a report can hold several views.
    template <class... Parts>
    void print_superglobals(std::string_view dialect, std::string_view view, Parts const &...parts);

    RecordPrinter &printer_;
    bool all_records_;
    SqlTables sql_tables_;
    google::protobuf::Arena arena_;
    Loopback loopback_;
};

} // namespace tarnwick::program
