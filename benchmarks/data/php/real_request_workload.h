#pragma once

#include "support/captured_reports.h"
#include "support/php_values.h"
#include "support/workload.h"

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
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

// The start and the end of real requests from the committed captures: two messages in the rpc dialect, eight in the
// protobuf dialect, and eight records in either.

namespace tarnwick::bench {

struct RealRequest {
    static constexpr char const *name = "real_request";
    static constexpr std::size_t rounds = 16;
    using Frame = capture::v1::Frame;
    using Records =
        std::tuple<data::php::RInit, data::php::RequestHeaders, data::php::Superglobals, data::php::PostData,
                   data::php::RShutdown, data::php::ResponseHeaders, data::php::Superglobals, data::php::ResponseBody>;

    template <class Record, class... Message>
    static Record made(Message const &...message)
    {
        return Record(new Record::Pointer::Type(message...));
    }

    static std::size_t read(Records const &records)
    {
        auto const &[start, request_headers, at_start, post_data, end, response_headers, changed, body] = records;
        auto sum = static_cast<std::size_t>(start->info_text().size() + start->request_text_0().size());
        sum += static_cast<std::size_t>(end->response_status()) + static_cast<std::size_t>(end->memory_0());
        sum += bench::read(*request_headers->headers()) + bench::read(*response_headers->headers());
        sum += bench::read(*at_start->values()) + bench::read(*changed->values());
        return sum + static_cast<std::size_t>(post_data->text_0().size() + body->text_0().size());
    }

    /// Allocates only the payloads of all records.
    static void floor_payloads(Floor &floor)
    {
        [&]<class... Record>(std::tuple<Record...> const *) {
            (floor.block(sizeof(typename Record::Pointer::Type)), ...);
        }(static_cast<Records const *>(nullptr));
    }

    template <class Body>
    static void floor_body(Floor &floor, Body const &body)
    {
        floor.text(body.text_0());
        floor.text(body.text_1());
    }
};

struct RealRequestRpc : RealRequest {
    static constexpr char const *dialect = "rpc";
    using Message = rpc::php::v1::NotifyRequest;
    using Messages = std::tuple<Message, Message>;

    static Messages messages(int number)
    {
        static auto const found = [] {
            std::map<std::uint64_t, Messages> by_request;
            for (auto const &frame : captured_frames()) {
                Message report;
                // One report is nested deeper than the parser accepts by default; it is left out.
                if (!frame.has_rpc_php() || !report.ParseFromString(frame.rpc_php()))
                    continue;
                auto &request = by_request[report.request_id().id()];
                if (report.has_rinit())
                    std::get<0>(request) = std::move(report);
                else if (report.has_rshutdown())
                    std::get<1>(request) = std::move(report);
            }
            std::vector<Messages> whole;
            for (auto &[id, request] : by_request)
                if (std::get<0>(request).has_rinit() && std::get<1>(request).has_rshutdown())
                    whole.push_back(std::move(request));
            return whole;
        }();
        return found.at(static_cast<std::size_t>(number) % found.size());
    }

    static Records build(Message const &start, Message const &end)
    {
        using data::php::Superglobals;
        return {made<data::php::RInit>(start),
                made<data::php::RequestHeaders>(start),
                made<Superglobals>(start, Superglobals::init_t()),
                made<data::php::PostData>(start),
                made<data::php::RShutdown>(end),
                made<data::php::ResponseHeaders>(end),
                made<Superglobals>(end, Superglobals::change_t()),
                made<data::php::ResponseBody>(end)};
    }

    static void floor(Floor &floor, Message const &start, Message const &end)
    {
        floor_payloads(floor);
        auto const &info = start.rinit().info();
        auto const &request = start.rinit().request();
        floor.text(info.text());
        if (info.has_version())
            floor.text(info.version().text());
        floor.text(request.text_0());
        floor.text(request.text_1());
        if (request.has_bytes_0())
            floor.byte_array(request.bytes_0());
        if (request.has_bytes_1())
            floor.byte_array(request.bytes_1());
        floor_array(floor, request.headers());
        if (request.has_post_data())
            floor_body(floor, request.post_data());
        floor_array(floor, start.rinit().superglobals());

        auto const &response = end.rshutdown().response();
        floor_array(floor, response.headers());
        if (response.has_body())
            floor_body(floor, response.body());
        floor_array(floor, end.rshutdown().superglobals());
    }

    template <class Tree>
    static Tree::Document tree(Message const &start, Message const &end)
    {
        auto const &info = start.rinit().info();
        auto const &request = start.rinit().request();
        auto const &response = end.rshutdown().response();
        auto const &memory = end.rshutdown().memory();
        typename Tree::Object report;
        Tree::template put<"request_id">(report, Tree::number(static_cast<std::int64_t>(start.request_id().id())));
        Tree::template put<"info">(report, Tree::text(info.text()));
        Tree::template put<"version">(report, Tree::text(info.version().text()));
        Tree::template put<"text_0">(report, Tree::text(request.text_0()));
        Tree::template put<"text_1">(report, Tree::text(request.text_1()));
        Tree::template put<"bytes_0">(report, Tree::bytes(request.bytes_0()));
        Tree::template put<"bytes_1">(report, Tree::bytes(request.bytes_1()));
        Tree::template put<"post_data">(report, Tree::text(request.post_data().text_0()));
        Tree::template put<"request_headers">(report, tree_of<Tree>(request.headers()));
        Tree::template put<"at_start">(report, tree_of<Tree>(start.rinit().superglobals()));
        Tree::template put<"duration">(report, Tree::number(end.rshutdown().duration().nanos()));
        Tree::template put<"status">(report, Tree::number(response.status()));
        Tree::template put<"memory_0">(report, Tree::number(memory.value_0()));
        Tree::template put<"memory_1">(report, Tree::number(memory.value_1()));
        Tree::template put<"memory_2">(report, Tree::number(memory.value_2()));
        Tree::template put<"response_headers">(report, tree_of<Tree>(response.headers()));
        Tree::template put<"body">(report, Tree::text(response.body().text_0()));
        Tree::template put<"changed">(report, tree_of<Tree>(end.rshutdown().superglobals()));
        return Tree::document(std::move(report));
    }
};

struct RealRequestProtobuf : RealRequest {
    static constexpr char const *dialect = "protobuf";
    using Start = pelorin::protobuf::PelorinPHP::RInitData;
    using RequestHeaders = pelorin::protobuf::Glimmet::RequestHeaders;
    using AtStart = pelorin::protobuf::Monitor::Superglobals;
    using PostData = pelorin::protobuf::Glimmet::RawPostData;
    using End = pelorin::protobuf::PelorinPHP::RShutdownData;
    using ResponseHeaders = pelorin::protobuf::Glimmet::ResponseHeaders;
    using Changed = pelorin::protobuf::Glimmet::Superglobals;
    using Body = pelorin::protobuf::Glimmet::ResponseBody;
    using Messages = std::tuple<Start, RequestHeaders, AtStart, PostData, End, ResponseHeaders, Changed, Body>;

    static constexpr std::array frames{Frame::kRinit,        Frame::kRequestHeaders, Frame::kMonitorSuperglobals,
                                       Frame::kRawPostData,  Frame::kRshutdown,      Frame::kResponseHeaders,
                                       Frame::kSuperglobals, Frame::kResponseBody};

    /// A request without a POST body has an empty message for it.
    static Messages messages(int number)
    {
        static auto const found = [] {
            std::map<std::uint64_t, Wire> by_request;
            std::set<std::uint64_t> ended;
            for (auto const &frame : captured_frames()) {
                for (std::size_t i = 0; i < frames.size(); ++i) {
                    if (frame.report_case() != frames[i])
                        continue;
                    auto &request = by_request.try_emplace(frame.request_id(), frames.size()).first->second;
                    // Only the first one: superglobals are sent again with events.
                    if (request[i].empty())
                        request[i] =
                            frame.GetReflection()->GetString(frame, Frame::descriptor()->FindFieldByNumber(frames[i]));
                    if (frames[i] == Frame::kRshutdown)
                        ended.insert(frame.request_id());
                }
            }
            std::vector<Messages> whole;
            for (auto const &[id, request] : by_request)
                if (ended.contains(id))
                    parse(request, whole.emplace_back());
            return whole;
        }();
        return found.at(static_cast<std::size_t>(number) % found.size());
    }

    static Records build(Start const &start, RequestHeaders const &request_headers, AtStart const &at_start,
                         PostData const &post_data, End const &end, ResponseHeaders const &response_headers,
                         Changed const &changed, Body const &body)
    {
        using data::php::Superglobals;
        data::php::RequestId const id(7);
        return {made<data::php::RInit>(start, id),
                made<data::php::RequestHeaders>(request_headers, id),
                made<Superglobals>(at_start, id),
                made<data::php::PostData>(post_data, id),
                made<data::php::RShutdown>(end, id),
                made<data::php::ResponseHeaders>(response_headers, id),
                made<Superglobals>(changed, id, Superglobals::change_t()),
                made<data::php::ResponseBody>(body, id)};
    }

    static void floor(Floor &floor, Start const &start, RequestHeaders const &request_headers, AtStart const &at_start,
                      PostData const &post_data, End const & /*end*/, ResponseHeaders const &response_headers,
                      Changed const &changed, Body const &body)
    {
        floor_payloads(floor);
        floor.text(start.info_text());
        floor.text(start.text_0());
        floor.text(start.text_1());
        if (!start.bytes_0().empty())
            floor.byte_array(start.bytes_0());
        floor_lines(floor, request_headers);
        floor_lines(floor, response_headers);
        floor_groups(floor, at_start, value_of);
        floor_groups(floor, changed, changed_value_of);
        floor_body(floor, post_data);
        floor_body(floor, body);
    }

    template <class Tree>
    static Tree::Document tree(Start const &start, RequestHeaders const &request_headers, AtStart const &at_start,
                               PostData const &post_data, End const &end, ResponseHeaders const &response_headers,
                               Changed const &changed, Body const &body)
    {
        auto report = report_object<Tree>();
        Tree::template put<"info">(report, Tree::text(start.info_text()));
        Tree::template put<"text_0">(report, Tree::text(start.text_0()));
        Tree::template put<"text_1">(report, Tree::text(start.text_1()));
        Tree::template put<"bytes_0">(report, Tree::bytes(start.bytes_0()));
        Tree::template put<"post_data">(report, Tree::text(post_data.text_0()));
        Tree::template put<"request_headers">(report, tree_of_lines<Tree>(request_headers));
        Tree::template put<"at_start">(report, tree_of_groups<Tree>(at_start, value_of));
        Tree::template put<"duration">(report, Tree::number(end.duration().nanos()));
        Tree::template put<"status">(report, Tree::number(end.response_status()));
        Tree::template put<"memory_0">(report, Tree::number(end.memory_0()));
        Tree::template put<"memory_1">(report, Tree::number(end.memory_1()));
        Tree::template put<"memory_2">(report, Tree::number(end.memory_2()));
        Tree::template put<"response_headers">(report, tree_of_lines<Tree>(response_headers));
        Tree::template put<"body">(report, Tree::text(body.text_0()));
        Tree::template put<"changed">(report, tree_of_groups<Tree>(changed, changed_value_of));
        return Tree::document(std::move(report));
    }

    static constexpr auto value_of = [](auto const &entry) { return &entry.value(); };
    /// The record omits entries that did not change.
    static constexpr auto changed_value_of = [](auto const &entry) {
        return entry.has_initial_value() ? &entry.value() : nullptr;
    };
};

} // namespace tarnwick::bench
