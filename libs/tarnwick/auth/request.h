#pragma once

#include <tarnwick/data/description.h>
#include <tarnwick/data/handle.h>
#include <tarnwick/export.h>

#include <QtCore/QMetaType>
#include <QtCore/QSharedData>
#include <QtCore/QString>

#include <cstdint>
#include <optional>

namespace PelorinPHPX::Auth {

/// Data of an authentication request. Programs fill the fields and define their meaning; the library stores and prints
/// them.
///
/// | Field              | Meaning                             | Unfilled |
/// |--------------------|-------------------------------------|----------|
/// | `kind`             | number like the `kind` of a user    | 0        |
/// | `text_1`, `text_2` | texts that every request has        | null     |
/// | `optional_text`    | text that some requests have        | absent   |
struct TARNWICK_EXPORT RequestData : QSharedData {
    RequestData();
    Q_DISABLE_COPY_MOVE(RequestData)
    ~RequestData();

    std::uint8_t kind = 0;
    QString text_1;
    QString text_2;
    std::optional<QString> optional_text;
};

/// Shared handle of a `RequestData`. A write through one handle is visible through all.
class TARNWICK_EXPORT Request : public tarnwick::data::Handle<RequestData> {
public:
    using Handle::Handle;

    Request() noexcept = default;
    Request(Request const &other) noexcept;
    Request(Request &&other) noexcept;
    Request &operator=(Request const &other) noexcept;
    Request &operator=(Request &&other) noexcept;
    ~Request();
};

} // namespace PelorinPHPX::Auth

template <>
struct tarnwick::data::Description<PelorinPHPX::Auth::RequestData> {
    using Record = PelorinPHPX::Auth::RequestData;
    static constexpr std::string_view name = "auth.Request";
    static constexpr std::tuple fields{
        Field{"kind", &Record::kind},
        Field{"text_1", &Record::text_1},
        Field{"text_2", &Record::text_2},
        Field{"optional_text", &Record::optional_text},
    };
};

Q_DECLARE_METATYPE(PelorinPHPX::Auth::Request)
