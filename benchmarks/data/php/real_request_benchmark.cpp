#include "support/captured_reports.h"
#include "support/record_benchmark.h"

#include <tarnwick/data/php/post_data.h>
#include <tarnwick/data/php/request_headers.h>
#include <tarnwick/data/php/response_body.h>
#include <tarnwick/data/php/response_headers.h>
#include <tarnwick/data/php/rinit.h>
#include <tarnwick/data/php/rshutdown.h>
#include <tarnwick/data/php/superglobals.h>

#include <pelorin/protobuf/Glimmet/bodies.pb.h>
#include <pelorin/protobuf/Glimmet/headers.pb.h>
#include <pelorin/protobuf/Glimmet/superglobals.pb.h>
#include <pelorin/protobuf/Monitor/superglobals.pb.h>
#include <pelorin/protobuf/PelorinPHP/rinit_data.pb.h>
#include <pelorin/protobuf/PelorinPHP/rshutdown_data.pb.h>
#include <tarnwick/rpc/php/v1/notify_request.pb.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

// The start and the end of real requests, from the committed captures: one message in the rpc dialect, four in the
// protobuf dialect, and four records in either. A request without a POST body has an empty message for it.

namespace tarnwick::data::php {
namespace {

using capture::v1::Frame;
using rpc::php::v1::NotifyRequest;
using namespace pelorin::protobuf;

struct StartMessages {
    PelorinPHP::RInitData start;
    Glimmet::RequestHeaders headers;
    Monitor::Superglobals superglobals;
    Glimmet::RawPostData body;

    static constexpr std::array frames{Frame::kRinit, Frame::kRequestHeaders, Frame::kMonitorSuperglobals,
                                       Frame::kRawPostData};
    [[nodiscard]] auto messages() { return std::tie(start, headers, superglobals, body); }
    [[nodiscard]] auto messages() const { return std::tie(start, headers, superglobals, body); }
};

struct EndMessages {
    PelorinPHP::RShutdownData end;
    Glimmet::ResponseHeaders headers;
    Glimmet::Superglobals superglobals;
    Glimmet::ResponseBody body;

    static constexpr std::array frames{Frame::kRshutdown, Frame::kResponseHeaders, Frame::kSuperglobals,
                                       Frame::kResponseBody};
    [[nodiscard]] auto messages() { return std::tie(end, headers, superglobals, body); }
    [[nodiscard]] auto messages() const { return std::tie(end, headers, superglobals, body); }
};

// NOLINTBEGIN(readability-identifier-naming): named as in messages
/// Several messages that are read, written and copied as one.
template <class Messages>
struct Report : Messages {
    using Wire = std::array<std::string, Messages::frames.size()>;

    [[nodiscard]] Wire SerializeAsString() const
    {
        return std::apply([](auto const &...message) { return Wire{message.SerializeAsString()...}; },
                          this->messages());
    }

    [[nodiscard]] bool ParseFromString(Wire const &wire)
    {
        return std::apply(
            [&](auto &...message) {
                auto bytes = wire.begin();
                return (message.ParseFromString(*bytes++) && ...);
            },
            this->messages());
    }
};

// NOLINTEND(readability-identifier-naming)

template <NotifyRequest::PayloadCase payload>
void fill(NotifyRequest &message, int number)
{
    static auto const found = [] {
        std::vector<NotifyRequest> messages;
        for (auto const &frame : bench::captured_frames()) {
            NotifyRequest report;
            if (!frame.has_rpc_php())
                continue;
            // The one report that is nested deeper than the parser reads by default is left out.
            if (report.ParseFromString(frame.rpc_php()) && report.payload_case() == payload)
                messages.push_back(std::move(report));
        }
        return messages;
    }();
    message = found.at(static_cast<std::size_t>(number) % found.size());
}

template <class Messages>
void fill(Report<Messages> &report, int number)
{
    static auto const found = [] {
        std::map<std::uint64_t, typename Report<Messages>::Wire> by_request;
        for (auto const &frame : bench::captured_frames()) {
            for (std::size_t i = 0; i < Messages::frames.size(); ++i) {
                if (frame.report_case() != Messages::frames[i])
                    continue;
                // The first of its kind: superglobals come again with events.
                auto &bytes = by_request[frame.request_id()][i];
                if (bytes.empty())
                    bytes = frame.GetReflection()->GetString(
                        frame, Frame::descriptor()->FindFieldByNumber(Messages::frames[i]));
            }
        }
        std::vector<Report<Messages>> reports;
        for (auto const &[id, wire] : by_request) {
            if (!reports.emplace_back().ParseFromString(wire))
                throw std::runtime_error("a captured report does not parse");
        }
        return reports;
    }();
    report = found.at(static_cast<std::size_t>(number) % found.size());
}

using Start = std::tuple<RInit, RequestHeaders, Superglobals, PostData>;
using End = std::tuple<RShutdown, ResponseHeaders, Superglobals, ResponseBody>;

template <class Record, class... Parts>
Record made(Parts const &...parts)
{
    return Record(new Record::Pointer::Type(parts...));
}

Start start_of(NotifyRequest const &message)
{
    return {made<RInit>(message), made<RequestHeaders>(message), made<Superglobals>(message, Superglobals::init_t()),
            made<PostData>(message)};
}

Start start_of(Report<StartMessages> const &report)
{
    RequestId const id(7);
    return {made<RInit>(report.start, id), made<RequestHeaders>(report.headers, id),
            made<Superglobals>(report.superglobals, id), made<PostData>(report.body, id)};
}

End end_of(NotifyRequest const &message)
{
    return {made<RShutdown>(message), made<ResponseHeaders>(message),
            made<Superglobals>(message, Superglobals::change_t()), made<ResponseBody>(message)};
}

End end_of(Report<EndMessages> const &report)
{
    RequestId const id(7);
    return {made<RShutdown>(report.end, id), made<ResponseHeaders>(report.headers, id),
            made<Superglobals>(report.superglobals, id, Superglobals::change_t()), made<ResponseBody>(report.body, id)};
}

[[maybe_unused]] bool const registered = [] {
    constexpr auto make_start = [](auto const &report) { return start_of(report); };
    constexpr auto make_end = [](auto const &report) { return end_of(report); };
    bench::add_record<NotifyRequest>("real request start/rpc", fill<NotifyRequest::kRinit>, make_start);
    bench::add_record<Report<StartMessages>>("real request start/protobuf", fill, make_start);
    bench::add_record<NotifyRequest>("real request end/rpc", fill<NotifyRequest::kRshutdown>, make_end);
    bench::add_record<Report<EndMessages>>("real request end/protobuf", fill, make_end);
    return true;
}();

} // namespace
} // namespace tarnwick::data::php
