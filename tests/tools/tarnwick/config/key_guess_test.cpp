#include "config/key_guess.h"

#include "support/config_files.h"
#include "support/table.h"

#include <gtest/gtest.h>

#include <string>

namespace tarnwick::program::key_guess_test {
namespace {

using test::q;

struct GuessCase {
    char const *name;
    std::string key;
    std::string suggestion; ///< empty for none
    std::string prefix = "app.";
};

class ProbableKey : public test::TableTest<GuessCase> {};

TEST_P(ProbableKey, suggests_the_nearest_key)
{
    QSet<QString> const known{q("port"), q("db.path"), q("pp.x"), q("x")};
    auto const suggestion = probable_key(q(GetParam().key), q(GetParam().prefix), known);
    EXPECT_EQ(suggestion.value_or(QString()).toStdString(), GetParam().suggestion);
    EXPECT_EQ(suggestion.has_value(), !GetParam().suggestion.empty());
}

INSTANTIATE_TEST_SUITE_P(
    Keys, ProbableKey,
    testing::Values(
        GuessCase{"without_the_prefix", "port", "app.port"}, GuessCase{"letter_missing", "ap.port", "app.port"},
        GuessCase{"letter_too_many", "apps.port", "app.port"}, GuessCase{"letter_wrong", "abp.port", "app.port"},
        GuessCase{"other_case", "APP.port", "app.port"}, GuessCase{"dash_for_the_point", "app-port", "app.port"},
        GuessCase{"point_missing", "appport", "app.port"}, GuessCase{"key_with_points", "ap.db.path", "app.db.path"},
        GuessCase{"known_one_before_another", "apppp.x", "app.pp.x"},
        GuessCase{"unknown_after_a_near_prefix", "ap.timeout", "app.timeout"}, GuessCase{"too_far", "other.port", ""},
        GuessCase{"two_letters_in_a_short_name", "aqq.port", ""},
        GuessCase{"two_letters_in_a_long_name", "sevrer.port", "server.port", "server."},
        GuessCase{"short_names_are_all_alike", "b.port", "", "a."},
        GuessCase{"unknown_without_the_prefix", "timeout", ""}, GuessCase{"unknown_with_a_dash", "app-timeout", ""},
        GuessCase{"nothing_after_the_prefix", "ap.", ""}, GuessCase{"empty", "", ""}),
    test::by_name);

struct NearestCase {
    char const *name;
    std::string key;
    std::string suggestion;  ///< empty for none
    std::string prefix = {}; // NOLINT(readability-redundant-member-init): rows leave it out
};

class NearestKey : public test::TableTest<NearestCase> {};

TEST_P(NearestKey, suggests_a_similar_key)
{
    QStringList const known{q("app.db.path"), q("host"), q("port"), q("timeout"), q("xy")};
    auto const suggestion = nearest_key(q(GetParam().key), q(GetParam().prefix), known);
    EXPECT_EQ(suggestion.value_or(QString()).toStdString(), GetParam().suggestion);
    EXPECT_EQ(suggestion.has_value(), !GetParam().suggestion.empty());
}

INSTANTIATE_TEST_SUITE_P(
    Keys, NearestKey,
    testing::Values(NearestCase{"letters_swapped", "prot", "port"}, NearestCase{"other_case", "Port", "port"},
                    NearestCase{"letter_missing", "timout", "timeout"}, NearestCase{"letter_too_many", "hosst", "host"},
                    NearestCase{"three_letters", "prt", "port"}, NearestCase{"two_letters_are_all_alike", "xz", ""},
                    NearestCase{"without_its_program", "db.path", "app.db.path"},
                    NearestCase{"too_far", "protocol", ""}, NearestCase{"empty", "", ""},
                    NearestCase{"prefix_misspelt", "ap.port", "port", "app."},
                    NearestCase{"prefix_and_no_such_key", "ap.nothing", "", "app."}),
    test::by_name);

} // namespace
} // namespace tarnwick::program::key_guess_test
