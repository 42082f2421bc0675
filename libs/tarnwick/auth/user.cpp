#include <tarnwick/auth/user.h>

namespace PelorinPHPX::Auth {

using namespace Qt::StringLiterals;

UserData::UserData() = default;
UserData::~UserData() = default;

User::User(User const &other) noexcept = default;
User::User(User &&other) noexcept = default;
User &User::operator=(User const &other) noexcept = default;
User &User::operator=(User &&other) noexcept = default;
User::~User() = default;

QString User::to_string() const
{
    auto const &user = **this;
    QString text;
    switch (user.kind) {
    case UserData::local:
        text = u"local://"_s;
        break;
    case UserData::ldap:
        text = u"ldap://"_s;
        break;
    case UserData::openid_connect:
        text = u"oidc://"_s;
        break;
    default:
        return u"unknown://"_s;
    }

    // Two separate formats: in a common one, a %1 in the name would be replaced by the id.
    text += user.name ? u"'%1'"_s.arg(*user.name) : u"<undef>"_s;
    if (user.id)
        text += u" (ID: %1)"_s.arg(*user.id);
    return text;
}

} // namespace PelorinPHPX::Auth
