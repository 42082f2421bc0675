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
    std::string written;
    std::string meant; ///< empty for none
    std::string prefix = "app.";
};

class Guess : public test::TableTest<GuessCase> {};

TEST_P(Guess, is_the_nearest_key)
{
    QSet<QString> const known{q("port"), q("db.path"), q("pp.x"), q("x")};
    auto const meant = probable_key(q(GetParam().written), q(GetParam().prefix), known);
    EXPECT_EQ(meant.value_or(QString()).toStdString(), GetParam().meant);
    EXPECT_EQ(meant.has_value(), !GetParam().meant.empty());
}

INSTANTIATE_TEST_SUITE_P(
    Keys, Guess,
    testing::Values(
        GuessCase{"WithoutThePrefix", "port", "app.port"}, GuessCase{"LetterMissing", "ap.port", "app.port"},
        GuessCase{"LetterTooMany", "apps.port", "app.port"}, GuessCase{"LetterWrong", "abp.port", "app.port"},
        GuessCase{"OtherCase", "APP.port", "app.port"}, GuessCase{"DashForThePoint", "app-port", "app.port"},
        GuessCase{"PointMissing", "appport", "app.port"}, GuessCase{"KeyWithPoints", "ap.db.path", "app.db.path"},
        GuessCase{"KnownOneBeforeAnother", "apppp.x", "app.pp.x"},
        GuessCase{"UnknownBehindANearPrefix", "ap.timeout", "app.timeout"}, GuessCase{"TooFar", "other.port", ""},
        GuessCase{"TwoLettersInAShortName", "aqq.port", ""},
        GuessCase{"TwoLettersInALongName", "sevrer.port", "server.port", "server."},
        GuessCase{"ShortNamesAreAllAlike", "b.port", "", "a."}, GuessCase{"UnknownWithoutThePrefix", "timeout", ""},
        GuessCase{"UnknownWithADash", "app-timeout", ""}, GuessCase{"NothingBehindThePrefix", "ap.", ""},
        GuessCase{"Empty", "", ""}),
    test::by_name);

struct NearestCase {
    char const *name;
    std::string written;
    std::string meant;       ///< empty for none
    std::string prefix = {}; // NOLINT(readability-redundant-member-init): rows leave it out
};

class Nearest : public test::TableTest<NearestCase> {};

TEST_P(Nearest, is_the_key_that_was_meant)
{
    QStringList const known{q("app.db.path"), q("host"), q("port"), q("timeout"), q("xy")};
    auto const meant = nearest_key(q(GetParam().written), q(GetParam().prefix), known);
    EXPECT_EQ(meant.value_or(QString()).toStdString(), GetParam().meant);
    EXPECT_EQ(meant.has_value(), !GetParam().meant.empty());
}

INSTANTIATE_TEST_SUITE_P(
    Keys, Nearest,
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
