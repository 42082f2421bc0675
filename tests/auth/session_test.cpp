#include <tarnwick/auth/session.h>

#include "auth/expect_printed.h"
#include "support/allocations.h"
#include "support/table.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <optional>
#include <vector>

namespace PelorinPHPX::session_test {
namespace {

using Auth::User;
using Auth::UserData;
using tarnwick::test::by_name;
using tarnwick::test::frees_of;
using tarnwick::test::rows;
using tarnwick::test::TableTest;
using testing::ElementsAre;
using namespace Qt::StringLiterals;

User ann(UserData::Kind kind)
{
    User user(new UserData);
    user->kind = kind;
    user->name = u"ann"_s;
    user->id = 7;
    return user;
}

Session filled()
{
    Session session(new SessionData);
    session->user = ann(UserData::ldap);
    session->blob = QByteArray("\x00\xff", 2);
    session->word_1 = 1;
    session->word_2 = std::numeric_limits<std::uint64_t>::max();
    return session;
}

TEST(Session, is_empty_by_default)
{
    SessionData const session;
    EXPECT_EQ(session.ref.loadRelaxed(), 0);
    EXPECT_FALSE(session.user);
    EXPECT_TRUE(session.blob.isNull());
    EXPECT_EQ(session.word_1, 0U);
    EXPECT_EQ(session.word_2, 0U);
}

TEST(Session, fields_are_in_their_order)
{
    SessionData const session;
    std::vector<void const *> const fields{&session.ref, &session.user, &session.blob, &session.word_1,
                                           &session.word_2};
    EXPECT_TRUE(std::ranges::is_sorted(fields));
}

TEST(Session, releases_the_blob_and_then_the_user)
{
    auto session = filled();
    void const *const blob = session->blob.data_ptr().d_ptr();
    void const *const user = session->user->get();
    void const *const payload = session.get();
    EXPECT_THAT(frees_of([&] { session.reset(); }), ElementsAre(blob, user, payload));
}

struct TextCase {
    char const *name;
    std::optional<User> (*user)();
    QString text;
};

TextCase const texts[] = {
    {"without_a_user", [] { return std::optional<User>(); }, u"<unknown>"_s},
    {"with_a_user_just_made", [] { return std::optional<User>(new UserData); }, u"unknown://"_s},
    {"with_a_user_of_unknown_kind", [] { return std::optional(ann(UserData::unknown)); }, u"unknown://"_s},
    {"with_a_local_user", [] { return std::optional(ann(UserData::local)); }, u"local://'ann' (ID: 7)"_s},
    {"with_a_user_of_ldap", [] { return std::optional(ann(UserData::ldap)); }, u"ldap://'ann' (ID: 7)"_s},
    {"with_a_user_of_openid_connect", [] { return std::optional(ann(UserData::openid_connect)); },
     u"oidc://'ann' (ID: 7)"_s},
};

class SessionText : public TableTest<TextCase> {};

TEST_P(SessionText, is_the_text_of_the_user)
{
    Session const session(new SessionData);
    session->user = GetParam().user();
    EXPECT_EQ(session.user_as_string(), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(Session, SessionText, rows(texts), by_name);

TEST(Session, text_is_unknown_without_a_user)
{
    EXPECT_EQ(Session(new SessionData).user_as_string(), u"<unknown>"_s);
}

TEST(Session, text_follows_changes_of_the_user)
{
    auto const session = filled();
    session->user.value()->name = u"%1"_s;
    EXPECT_EQ(session.user_as_string(), u"ldap://'%1' (ID: 7)"_s);
    session->user.reset();
    EXPECT_EQ(session.user_as_string(), u"<unknown>"_s);
}

TEST(Session, does_not_delete_a_user_that_is_shared)
{
    auto const user = ann(UserData::local);
    {
        Session const session(new SessionData);
        session->user = user;
        EXPECT_EQ(user->ref.loadRelaxed(), 2);
    }
    EXPECT_EQ(user->ref.loadRelaxed(), 1);
    EXPECT_EQ(user.to_string(), u"local://'ann' (ID: 7)"_s);
}

TEST(Session, prints_every_field_and_the_user_in_it)
{
    auto const session = filled();
    auto const printed = fmt::format("auth.Session{{user: {}, blob: \"\\x00\\xff\", word_1: 1, word_2: {}}}",
                                     *session->user, std::numeric_limits<std::uint64_t>::max());
    tarnwick::test::expect_printed(session, printed);
}

TEST(Session, prints_absent_fields)
{
    EXPECT_EQ(fmt::format("{}", Session(new SessionData)),
              "auth.Session{user: none, blob: \"\", word_1: 0, word_2: 0}");
}

} // namespace
} // namespace PelorinPHPX::session_test
