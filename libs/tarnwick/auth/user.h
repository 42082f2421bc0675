#pragma once

#include <tarnwick/data/description.h>
#include <tarnwick/data/handle.h>
#include <tarnwick/export.h>

#include <QtCore/QMetaType>
#include <QtCore/QSharedData>
#include <QtCore/QString>

#include <cstdint>
#include <optional>
#include <unordered_set>

namespace PelorinPHPX::Auth {

/// Data of a user. Programs fill the fields; the library only reads `kind`, `name` and `id`, to print them.
///
/// | Field                          | Meaning                                                | Unfilled |
/// |--------------------------------|--------------------------------------------------------|----------|
/// | `kind`                         | source of the user, one of `Kind`; any other number    | 0        |
/// |                                | means `unknown`                                        |          |
/// | `id`                           | number of the user; 0 is a valid id                    | absent   |
/// | `name`                         | the user's name; may be empty if present               | absent   |
/// | `attribute_1`, `attribute_2`   | further texts                                          | absent   |
/// | `entries`                      | further numbers                                        | none     |
struct TARNWICK_EXPORT UserData : QSharedData {
    enum Kind : std::uint8_t {
        unknown = 0,
        local = 1,
        ldap = 2,
        openid_connect = 3,
    };

    UserData();
    Q_DISABLE_COPY_MOVE(UserData)
    ~UserData();

    std::uint8_t kind = unknown;
    std::optional<std::uint32_t> id;
    std::optional<QString> name;
    std::optional<QString> attribute_1;
    std::optional<QString> attribute_2;
    std::unordered_set<std::uint32_t> entries;
};

/// Shared handle of a `UserData`. A write through one handle is visible through all.
class TARNWICK_EXPORT User : public tarnwick::data::Handle<UserData> {
public:
    using Handle::Handle;
    using Kind = UserData::Kind;

    User() noexcept = default;
    User(User const &other) noexcept;
    User(User &&other) noexcept;
    User &operator=(User const &other) noexcept;
    User &operator=(User &&other) noexcept;
    ~User();

    /// Returns a text such as `ldap://'ann' (ID: 7)`: the kind, the name unescaped, and the id if there is one. Without
    /// a name the text is `ldap://<undef> (ID: 7)`. If the kind is unknown the text is `unknown://`, whatever else is
    /// set. REQUIRES: the handle is not null.
    [[nodiscard]] QString to_string() const;
};

} // namespace PelorinPHPX::Auth

template <>
struct tarnwick::data::Description<PelorinPHPX::Auth::UserData> {
    using Record = PelorinPHPX::Auth::UserData;
    static constexpr std::string_view name = "auth.User";
    static constexpr std::tuple fields{
        Field{"kind", &Record::kind},
        Field{"id", &Record::id},
        Field{"name", &Record::name},
        Field{"attribute_1", &Record::attribute_1},
        Field{"attribute_2", &Record::attribute_2},
        Field{"entries", &Record::entries},
    };
};

Q_DECLARE_METATYPE(PelorinPHPX::Auth::User)
