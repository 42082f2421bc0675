#include "key_guess.h"

#include "support/by_name.h"
#include "support/config_files.h"

#include <gtest/gtest.h>

#include <string>

namespace tarnwick::program {
namespace {

using test::q;

struct GuessCase {
    char const *name;
    std::string written;
    std::string meant; ///< empty for none
    std::string prefix = "app.";
};

class Guess : public testing::TestWithParam<GuessCase> {};

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

} // namespace
} // namespace tarnwick::program
