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

/// A place in PHP source code. Records hold it as a `std::optional`, since no location and a location with an empty
/// file are different things.
///
/// | Accessor       | Meaning                                        | rpc          | protobuf                       |
/// |----------------|------------------------------------------------|--------------|--------------------------------|
/// | `file()`       | file name as PHP reported it, no path handling | may be empty | never empty, but see functions |
/// | `line()`       | line number                                    | 0 when unset | 0 when unset                   |
/// | `line_extra()` | second number beside the line, carried as is   | 0 when unset | 0, but see functions           |
///
/// In the protobuf dialect a location has no message of its own: an empty file means that there is no location. Only
/// the lines of function statistics have a field that decides, and a second number.
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
    static constexpr std::tuple fields{
        Field{"file", &Record::file},
        Field{"line", &Record::line},
        Field{"line_extra", &Record::line_extra},
    };
};

Q_DECLARE_TYPEINFO(tarnwick::data::php::SourceLocation, Q_RELOCATABLE_TYPE);
Q_DECLARE_METATYPE(tarnwick::data::php::SourceLocation)
