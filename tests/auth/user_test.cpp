#include <tarnwick/auth/user.h>

#include "auth/expect_printed.h"
#include "support/table.h"

#include <gtest/gtest.h>

#include <QtCore/QLocale>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <optional>
#include <type_traits>
#include <vector>

namespace PelorinPHPX::Auth::user_test {
namespace {

using tarnwick::test::by_name;
using tarnwick::test::rows;
using tarnwick::test::TableTest;
using namespace Qt::StringLiterals;

static_assert(std::is_same_v<decltype(UserData::kind), std::uint8_t>);

constexpr auto largest_id = std::numeric_limits<std::uint32_t>::max();

User filled()
{
    User user(new UserData);
    user->kind = UserData::ldap;
    user->id = 7;
    user->name = u"ann"_s;
    user->attribute_1 = u""_s;
    user->attribute_2 = u"b"_s;
    user->entries = {30, 1, 200};
    return user;
}

TEST(User, is_empty_by_default)
{
    UserData const user;
    EXPECT_EQ(user.ref.loadRelaxed(), 0);
    EXPECT_EQ(user.kind, UserData::unknown);
    EXPECT_FALSE(user.id);
    EXPECT_FALSE(user.name);
    EXPECT_FALSE(user.attribute_1);
    EXPECT_FALSE(user.attribute_2);
    EXPECT_TRUE(user.entries.empty());
}

TEST(User, destroys_the_entries_before_the_texts)
{
    UserData const user;
    std::vector<void const *> const fields{&user.ref,         &user.kind,        &user.id,     &user.name,
                                           &user.attribute_1, &user.attribute_2, &user.entries};
    EXPECT_TRUE(std::ranges::is_sorted(fields));
}

struct TextCase {
    char const *name;
    int kind;
    std::optional<QString> user_name;
    std::optional<std::uint32_t> id;
    QString text;
};

TextCase const texts[] = {
    {"local_with_name_and_id", 1, u"admin"_s, 7, u"local://'admin' (ID: 7)"_s},
    {"local_with_a_name", 1, u"admin"_s, {}, u"local://'admin'"_s},
    {"local_with_an_id", 1, {}, 7, u"local://<undef> (ID: 7)"_s},
    {"local_alone", 1, {}, {}, u"local://<undef>"_s},
    {"ldap_with_name_and_id", 2, u"admin"_s, 7, u"ldap://'admin' (ID: 7)"_s},
    {"ldap_with_a_name", 2, u"admin"_s, {}, u"ldap://'admin'"_s},
    {"ldap_with_an_id", 2, {}, 7, u"ldap://<undef> (ID: 7)"_s},
    {"ldap_alone", 2, {}, {}, u"ldap://<undef>"_s},
    {"openid_connect_with_name_and_id", 3, u"admin"_s, 7, u"oidc://'admin' (ID: 7)"_s},
    {"openid_connect_with_a_name", 3, u"admin"_s, {}, u"oidc://'admin'"_s},
    {"openid_connect_with_an_id", 3, {}, 7, u"oidc://<undef> (ID: 7)"_s},
    {"openid_connect_alone", 3, {}, {}, u"oidc://<undef>"_s},
    {"unknown_with_name_and_id", 0, u"admin"_s, 7, u"unknown://"_s},
    {"unknown_with_a_name", 0, u"admin"_s, {}, u"unknown://"_s},
    {"unknown_with_an_id", 0, {}, 7, u"unknown://"_s},
    {"unknown_alone", 0, {}, {}, u"unknown://"_s},
    {"first_number_that_is_no_kind", 4, u"admin"_s, 7, u"unknown://"_s},
    {"last_number_that_is_no_kind", 255, u"admin"_s, 7, u"unknown://"_s},
    {"id_0", 1, u"admin"_s, 0, u"local://'admin' (ID: 0)"_s},
    {"id_above_a_thousand", 1, u"admin"_s, 1234567, u"local://'admin' (ID: 1234567)"_s},
    {"largest_id", 1, u"admin"_s, largest_id, u"local://'admin' (ID: 4294967295)"_s},
    {"empty_name", 1, u""_s, 7, u"local://'' (ID: 7)"_s},
    {"null_name", 1, QString(), 7, u"local://'' (ID: 7)"_s},
    {"name_with_a_quote", 1, u"a'b"_s, {}, u"local://'a'b'"_s},
    {"name_with_a_place_marker", 1, u"%1"_s, 7, u"local://'%1' (ID: 7)"_s},
    {"name_with_later_place_markers", 1, u"%2%L1%%"_s, 7, u"local://'%2%L1%%' (ID: 7)"_s},
    {"name_of_blanks", 1, u" a "_s, {}, u"local://' a '"_s},
    {"name_beyond_ascii", 1, u"\u00e9\U0001f600"_s, {}, u"local://'\u00e9\U0001f600'"_s},
    {"name_with_a_nul", 1, u"a\0b"_s, {}, u"local://'a\0b'"_s},
};

class UserText : public TableTest<TextCase> {};

TEST_P(UserText, has_kind_name_and_id)
{
    User const user(new UserData);
    user->kind = static_cast<std::uint8_t>(GetParam().kind);
    user->name = GetParam().user_name;
    user->id = GetParam().id;
    EXPECT_EQ(user.to_string(), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(User, UserText, rows(texts), by_name);

TEST(User, kinds_have_their_numbers)
{
    EXPECT_EQ(UserData::unknown, 0);
    EXPECT_EQ(UserData::local, 1);
    EXPECT_EQ(UserData::ldap, 2);
    EXPECT_EQ(UserData::openid_connect, 3);
}

TEST(User, text_is_unknown_while_the_kind_is)
{
    User const user(new UserData);
    EXPECT_EQ(user.to_string(), u"unknown://"_s);
    user->name = u"admin"_s;
    user->id = 7;
    EXPECT_EQ(user.to_string(), u"unknown://"_s);
    user->kind = 1;
    EXPECT_EQ(user.to_string(), u"local://'admin' (ID: 7)"_s);
}

TEST(User, text_depends_only_on_kind_name_and_id)
{
    auto const user = filled();
    EXPECT_EQ(user.to_string(), u"ldap://'ann' (ID: 7)"_s);
}

TEST(User, text_does_not_depend_on_the_locale)
{
    QLocale const before;
    QLocale::setDefault(QLocale(QLocale::German));
    User const user(new UserData);
    user->kind = UserData::local;
    user->id = largest_id;
    EXPECT_EQ(user.to_string(), u"local://<undef> (ID: 4294967295)"_s);
    QLocale::setDefault(before);
}

TEST(User, handles_share_changes)
{
    User const user(new UserData);
    User const copy(user); // NOLINT(performance-unnecessary-copy-initialization): the copy is what is tested
    copy->kind = UserData::openid_connect;
    EXPECT_EQ(user.to_string(), u"oidc://<undef>"_s);
    EXPECT_EQ(copy.get(), user.get());
}

TEST(User, prints_every_field)
{
    auto const *const printed = R"(auth.User{kind: 2, id: 7, name: "ann", attribute_1: "", attribute_2: "b", )"
                                "entries: [1, 30, 200]}";
    tarnwick::test::expect_printed(filled(), printed);
}

TEST(User, prints_absent_fields)
{
    EXPECT_EQ(fmt::format("{}", User(new UserData)),
              "auth.User{kind: 0, id: none, name: none, attribute_1: none, attribute_2: none, entries: []}");
}

} // namespace
} // namespace PelorinPHPX::Auth::user_test
