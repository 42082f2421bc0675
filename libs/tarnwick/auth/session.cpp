#include <tarnwick/auth/session.h>

namespace PelorinPHPX {

using namespace Qt::StringLiterals;

SessionData::SessionData() = default;
SessionData::~SessionData() = default;

Session::Session(Session const &other) noexcept = default;
Session::Session(Session &&other) noexcept = default;
Session &Session::operator=(Session const &other) noexcept = default;
Session &Session::operator=(Session &&other) noexcept = default;
Session::~Session() = default;

QString Session::user_as_string() const
{
    auto const &session = **this;
    return session.user ? session.user->to_string() : u"<unknown>"_s;
}

} // namespace PelorinPHPX
