#pragma once

#include <tarnwick/auth/user.h>
#include <tarnwick/data/description.h>
#include <tarnwick/data/handle.h>
#include <tarnwick/export.h>

#include <QtCore/QByteArray>
#include <QtCore/QMetaType>
#include <QtCore/QSharedData>
#include <QtCore/QString>

#include <cstdint>
#include <optional>

namespace PelorinPHPX {

/// Data of a session, which may be bound to a user. Programs fill the fields; the library only reads `user`, to print
/// it.
///
/// | Field              | Meaning                                              | Unfilled |
/// |--------------------|------------------------------------------------------|----------|
/// | `user`             | the session's user; never null if present            | absent   |
/// | `blob`             | bytes of the session                                 | null     |
/// | `word_1`, `word_2` | two numbers, distinguished only by position          | 0        |
struct TARNWICK_EXPORT SessionData : QSharedData {
    SessionData();
    Q_DISABLE_COPY_MOVE(SessionData)
    ~SessionData();

    std::optional<Auth::User> user;
    QByteArray blob;
    std::uint64_t word_1 = 0;
    std::uint64_t word_2 = 0;
};

/// Shared handle of a `SessionData`. A write through one handle is visible through all.
class TARNWICK_EXPORT Session : public tarnwick::data::Handle<SessionData> {
public:
    using Handle::Handle;

    Session() noexcept = default;
    Session(Session const &other) noexcept;
    Session(Session &&other) noexcept;
    Session &operator=(Session const &other) noexcept;
    Session &operator=(Session &&other) noexcept;
    ~Session();

    /// Returns the user as `Auth::User::to_string()` does, or `<unknown>` without a user. REQUIRES: the handle is not
    /// null.
    [[nodiscard]] QString user_as_string() const;
};

} // namespace PelorinPHPX

template <>
struct tarnwick::data::Description<PelorinPHPX::SessionData> {
    using Record = PelorinPHPX::SessionData;
    static constexpr std::string_view name = "auth.Session";
    static constexpr std::tuple fields{
        Field{"user", &Record::user},
        Field{"blob", &Record::blob},
        Field{"word_1", &Record::word_1},
        Field{"word_2", &Record::word_2},
    };
};

Q_DECLARE_METATYPE(PelorinPHPX::Session)
