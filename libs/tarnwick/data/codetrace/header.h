#pragma once

#include <tarnwick/data/description.h>
#include <tarnwick/data/handle.h>
#include <tarnwick/data/php/request_id.h>
#include <tarnwick/export.h>

#include <QtCore/QMetaType>
#include <QtCore/QSharedData>

#include <array>
#include <cstddef>
#include <cstdint>

namespace pelorin::protobuf::CT {
class Header;
}
namespace tarnwick::rpc::codetrace::v1 {
class NotifyRequest;
}

namespace tarnwick::data::codetrace {
namespace detail {

/// The start of a code trace, and the header that a dump of the trace begins with. The constructors allocate nothing.
///
/// | Accessor        | Meaning, unit                    | rpc                            | protobuf             |
/// |-----------------|----------------------------------|--------------------------------|----------------------|
/// | `request_id()`  | traced request                   | envelope, 0 when absent        | constructor argument |
/// | `trace_kind()`  | 0, 1, 2, or 3 for unknown        | sent as 1, 2, 3; unknown if    | sent as 0, 1, 2;     |
/// |                 |                                  | unset, or without a header     | 0 when unset         |
/// | `dump_header()` | 40 bytes, ready to be written    | without a header: `C`, `T`, 1  | all fields as sent   |
/// |                 |                                  | and zeroes, also for the id    |                      |
///
/// Layout of the dump header. Numbers are big-endian:
///
/// | Offset | Bytes | Content                        |
/// |--------|-------|--------------------------------|
/// | 0      | 2     | `C`, `T`                       |
/// | 2      | 1     | low byte of `format_major`     |
/// | 3      | 1     | low byte of `format_minor`     |
/// | 4      | 4     | low 32 bits of the request id  |
/// | 8      | 4     | `word_8`                       |
/// | 12     | 4     | `word_12`                      |
/// | 16     | 4     | `word_16`                      |
/// | 20     | 4     | reserved: 0, to be ignored     |
/// | 24     | 8     | `long_24`                      |
/// | 32     | 8     | `long_32`                      |
///
/// Messages: `<tarnwick/rpc/codetrace/v1/notify_request.pb.h>` and `<pelorin/protobuf/CT/header.pb.h>`.
class TARNWICK_EXPORT Header : public QSharedData {
public:
    /// Kind of a trace, the same for both dialects, although they number the kinds differently.
    enum class TraceKind : std::uint8_t { kind_0, kind_1, kind_2, unknown };

    static constexpr std::size_t dump_header_size = 40;
    using DumpHeader = std::array<char, dump_header_size>;

    /// Reads a report of the rpc dialect. A report of another case yields only the request id.
    explicit Header(rpc::codetrace::v1::NotifyRequest const &message) noexcept;
    /// Reads a report of the protobuf dialect.
    Header(pelorin::protobuf::CT::Header const &message, php::RequestId request_id) noexcept;
    Q_DISABLE_COPY_MOVE(Header)

    [[nodiscard]] php::RequestId request_id() const noexcept { return request_id_; }
    [[nodiscard]] TraceKind trace_kind() const noexcept { return trace_kind_; }
    [[nodiscard]] DumpHeader const &dump_header() const noexcept { return dump_header_; }

private:
    php::RequestId request_id_;
    TraceKind trace_kind_ = TraceKind::unknown;
    DumpHeader dump_header_{'C', 'T', 1}; ///< version 1.0
};

} // namespace detail

/// Shared handle of an immutable `detail::Header`.
class Header : public Handle<detail::Header> {
public:
    using Handle::Handle;
    using TraceKind = detail::Header::TraceKind;
    using DumpHeader = detail::Header::DumpHeader;
    static constexpr std::size_t dump_header_size = detail::Header::dump_header_size;
};

} // namespace tarnwick::data::codetrace

template <>
struct tarnwick::data::Description<tarnwick::data::codetrace::detail::Header> {
    using Record = codetrace::detail::Header;
    static constexpr std::string_view name = "codetrace.Header";
    using Sources =
        std::tuple<From<rpc::codetrace::v1::NotifyRequest>, From<pelorin::protobuf::CT::Header, php::RequestId>>;
    static constexpr std::tuple fields{
        Field{"request_id", &Record::request_id},
        Field{"trace_kind", &Record::trace_kind},
        Field{"dump_header", &Record::dump_header},
    };
};

Q_DECLARE_METATYPE(tarnwick::data::codetrace::Header)
