#pragma once

#include <tarnwick/data/php/value_handles.h>
#include <tarnwick/data/time_pair.h>
#include <tarnwick/export.h>

#include <QtCore/QByteArray>
#include <QtCore/QSharedData>

#include <cstdint>
#include <string>
#include <utility>
#include <variant>

namespace pelorin::protobuf::PelorinPHP {
class ZVal;
}
namespace tarnwick::rpc::php::v1 {
class ZVal;
}

namespace tarnwick::data::php::detail {

/// A PHP value. In the rpc dialect the member that is set decides the kind; in the protobuf dialect `type` does, and the
/// content is the default where another member is set. Arrays, objects and resources come from the rpc dialect alone.
///
/// | Kind        | Content                                    | rpc | protobuf |
/// |-------------|--------------------------------------------|-----|----------|
/// | `undefined` | none: the message named no value           | any other case | any other type |
/// | `null`      | none: PHP's null                           | 1   | 1        |
/// | `bool_`     | `bool`                                     | 2   | 2        |
/// | `long_`     | `std::int64_t`                             | 3   | 4        |
/// | `double_`   | `double`                                   | 4   | 5        |
/// | `string`    | `std::string`, PHP's bytes, not decoded    | 5   | 3        |
/// | `array`     | `PelorinArray`, never null                 | 6   | never    |
/// | `object`    | `PelorinObject`, never null                | 7   | never    |
/// | `resource`  | `PelorinResource`, never null              | 8   | never    |
/// | `json`      | `QByteArray`, JSON text, neither parsed nor checked | 9 | 6 |
/// | `timestamp` | `TimePair`                                 | 10  | 7        |
class TARNWICK_EXPORT ZVal : public QSharedData {
public:
    using undefined_t = php::ZVal::undefined_t;
    using null_t = php::ZVal::null_t;
    using Value = php::ZVal::Value;
    using Kind = php::ZVal::Kind;

    /// Kind `undefined`.
    ZVal() noexcept;
    explicit ZVal(rpc::php::v1::ZVal const &message);
    explicit ZVal(pelorin::protobuf::PelorinPHP::ZVal const &message);

    /// REQUIRES: a handle in `value` is not null.
    explicit ZVal(Value value) noexcept
        : value_(std::move(value))
    {
    }
    /// The content is made in place: `ZVal(std::in_place_type<std::string>, "bytes")`.
    template <class Content, class... Arguments>
    explicit ZVal(std::in_place_type_t<Content> type, Arguments &&...arguments)
        : value_(type, std::forward<Arguments>(arguments)...)
    {
    }
    Q_DISABLE_COPY_MOVE(ZVal)

    [[nodiscard]] Value const &value() const noexcept { return value_; }
    [[nodiscard]] Kind kind() const noexcept { return static_cast<Kind>(value_.index()); }

    /// Writes the value into a message of the rpc dialect, over what is there. Kinds `undefined` and `null` write nothing.
    void to_protobuf(rpc::php::v1::ZVal &message) const;

private:
    Value value_;
};

} // namespace tarnwick::data::php::detail

Q_DECLARE_METATYPE(tarnwick::data::php::ZVal)

// A value is released with what it holds.
#include <tarnwick/data/php/pelorin_array.h>
#include <tarnwick/data/php/pelorin_object.h>
#include <tarnwick/data/php/pelorin_resource.h>
