#pragma once

#include <tarnwick/data/php/request_id.h>
#include <tarnwick/data/php/zval.h>

#include <QtCore/QSharedData>

#include <string>

namespace google::protobuf {
template <class Element>
class RepeatedPtrField;
}
namespace tarnwick::rpc::php::v1 {
class PelorinArray;
}

namespace tarnwick::data::php::detail {

/// What the headers of a request and those of its response have in common.
///
/// | Accessor       | Meaning                                          | rpc                           | protobuf             |
/// |----------------|--------------------------------------------------|-------------------------------|----------------------|
/// | `request_id()` | request that they belong to                      | envelope, 0 when absent       | constructor argument |
/// | `headers()`    | names and values in their order, also repeated   | as sent, no elements when     | split from raw lines |
/// |                | ones; never null                                 | absent                        |                      |
///
/// A raw line is split at its first colon with a space behind it, and nothing is trimmed, decoded or merged: both halves
/// are strings of the bytes as sent. A line without such a colon is a name whose value is of kind `undefined`.
class Headers : public QSharedData {
public:
    Q_DISABLE_COPY_MOVE(Headers)

    [[nodiscard]] RequestId request_id() const noexcept { return request_id_; }
    [[nodiscard]] php::PelorinArray const &headers() const noexcept { return headers_; }

protected:
    Headers(RequestId request_id, rpc::php::v1::PelorinArray const &headers);
    Headers(RequestId request_id, google::protobuf::RepeatedPtrField<std::string> const &lines);
    ~Headers() = default;

private:
    RequestId request_id_;
    php::PelorinArray headers_;
};

} // namespace tarnwick::data::php::detail
