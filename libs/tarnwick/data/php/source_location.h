#pragma once

#include <tarnwick/data/description.h>
#include <tarnwick/export.h>

#include <QtCore/QMetaType>
#include <QtCore/QString>

#include <cstdint>
#include <utility>

namespace tarnwick::rpc::php::v1 {
class SourceLocation;
}

namespace tarnwick::data::php {

/// A location in PHP source code. Records store it as a `std::optional`: an absent location differs from one with an
/// empty file.
///
/// | Accessor       | Meaning                                        | rpc          | protobuf                       |
/// |----------------|------------------------------------------------|--------------|--------------------------------|
/// | `file()`       | file name as PHP reported it, not normalised   | may be empty | never empty, except as below   |
/// | `line()`       | line number                                    | 0 when unset | 0 when unset                   |
/// | `line_extra()` | second number, passed through unchanged        | 0 when unset | 0, except as below             |
///
/// The protobuf dialect has no message for a location: an empty file name means that there is none. Function statistics
/// are the exception. Their `kind` decides whether there is a location, and they have a second number.
///
/// Messages: `<tarnwick/rpc/php/v1/source_location.pb.h>`.
class TARNWICK_EXPORT SourceLocation {
public:
    SourceLocation() noexcept = default;
    explicit SourceLocation(rpc::php::v1::SourceLocation const &message);
    SourceLocation(QString file, std::uint32_t line, std::uint32_t line_extra) noexcept
        : file_(std::move(file))
        , line_(line)
        , line_extra_(line_extra)
    {
    }

    [[nodiscard]] QString const &file() const noexcept { return file_; }
    [[nodiscard]] std::uint32_t line() const noexcept { return line_; }
    [[nodiscard]] std::uint32_t line_extra() const noexcept { return line_extra_; }

private:
    QString file_;
    std::uint32_t line_ = 0;
    std::uint32_t line_extra_ = 0;
};

} // namespace tarnwick::data::php

template <>
struct tarnwick::data::Description<tarnwick::data::php::SourceLocation> {
    using Record = php::SourceLocation;
    static constexpr std::string_view name = "php.SourceLocation";
    using Sources = std::tuple<From<rpc::php::v1::SourceLocation>>;
    static constexpr std::tuple fields{
        Field{"file", &Record::file},
        Field{"line", &Record::line},
        Field{"line_extra", &Record::line_extra},
    };
};

Q_DECLARE_TYPEINFO(tarnwick::data::php::SourceLocation, Q_RELOCATABLE_TYPE);
Q_DECLARE_METATYPE(tarnwick::data::php::SourceLocation)
