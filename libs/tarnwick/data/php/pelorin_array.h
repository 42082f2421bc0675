#pragma once

#include <tarnwick/data/php/zval.h>

#include <tarnwick/data/php/value_handles.h>
#include <tarnwick/export.h>

#include <QtCore/QSharedData>

#include <utility>

namespace pelorin::protobuf::PelorinPHP {
class PelorinArray;
}
namespace tarnwick::rpc::php::v1 {
class PelorinArray;
}

namespace tarnwick::data::php::detail {

/// A PHP array: keys and values in PHP's order, which is the message's. Keys are neither indexed nor tested: two elements
/// with one key stay two elements.
///
/// | Part of an element | Meaning             | Kinds that messages give                                          |
/// |--------------------|---------------------|-------------------------------------------------------------------|
/// | `first`            | the key, never null | `long_` or `string` as sent, also for digits; `undefined` if none |
/// | `second`           | the value, never null | any; `undefined` where the element had none                     |
class TARNWICK_EXPORT PelorinArray : public QSharedData {
public:
    using Elements = php::PelorinArray::Elements;

    PelorinArray() noexcept;
    explicit PelorinArray(rpc::php::v1::PelorinArray const &message);
    explicit PelorinArray(pelorin::protobuf::PelorinPHP::PelorinArray const &message);
    /// REQUIRES: no handle in `elements` is null.
    explicit PelorinArray(Elements elements) noexcept
        : elements_(std::move(elements))
    {
    }
    Q_DISABLE_COPY_MOVE(PelorinArray)

    [[nodiscard]] Elements const &elements() const noexcept { return elements_; }

    /// What `other` has and this array lacks, by keys alone, in the order of `other`: elements under a key that this array
    /// does not have, whole, and under a key whose value is an array on both sides their own difference, unless that is
    /// empty. Other values under a common key are not compared. The first element with a key counts. Keys of different
    /// kinds differ: 5 is not "5". The result shares the payloads of `other` and is never null.
    [[nodiscard]] php::PelorinArray diff_keys(PelorinArray const &other) const;

    /// Adds the elements behind those that the message has. A key that is neither `long_` nor `string` is left out; the
    /// value is present even when it writes nothing.
    void to_protobuf(rpc::php::v1::PelorinArray &message) const;

private:
    Elements elements_;
};

} // namespace tarnwick::data::php::detail

Q_DECLARE_METATYPE(tarnwick::data::php::PelorinArray)
